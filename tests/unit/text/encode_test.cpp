// Base64, character references and MAC addresses of users.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "talvera/encode.h"
#include "unit/text/buffers.h"

namespace talvera::test {
namespace {

using namespace std::string_view_literals;

// Bytes in a heap block of just their size.
std::unique_ptr<char[]> exact(std::string_view bytes) {
  std::unique_ptr<char[]> block(new char[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), block.get());
  return block;
}

std::string encoded(std::string_view bytes) {
  const auto block = exact(bytes);
  auto size = static_cast<unsigned>((bytes.size() + 2) / 3 * 4 + 1);
  Room room(size);
  EXPECT_EQ(base64_encode(reinterpret_cast<const unsigned char *>(block.get()),
                          static_cast<unsigned>(bytes.size()), room.get(), &size),
            0);
  EXPECT_EQ(room.written().size(), size + 1);
  return room.written().substr(0, size);
}

// Decodes into a room of `capacity`; "(failed)" and what was written, if it fails.
std::string decoded(std::string_view text, unsigned capacity) {
  const auto block = exact(text);
  Room room(capacity);
  unsigned size = capacity;
  const int result =
      base64_decode(block.get(), static_cast<unsigned>(text.size()), room.bytes(), &size);
  if (result == 0) {
    EXPECT_EQ(room.written().size(), size);
    return room.written();
  }
  EXPECT_EQ(result, -1);
  EXPECT_EQ(size, capacity);
  return "(failed)" + room.written();
}

constexpr std::pair<std::string_view, std::string_view> kBase64[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"\xFF\xFF\xFF\xFF", "/////w=="},
    {"\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61\x96\x9B\x71\xD7"
     "\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3"
     "\xDF\xBF"sv,
     "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"},
};

TEST(Base64, ThereAndBack) {
  for (const auto &[bytes, text] : kBase64) {
    EXPECT_EQ(encoded(bytes), text);
    EXPECT_EQ(decoded(text, static_cast<unsigned>(bytes.size())), bytes);
  }
}

TEST(Base64, TellsTheRoomItNeeds) {
  unsigned size = 8;
  EXPECT_EQ(base64_encode(nullptr, 4, nullptr, &size), -1);
  EXPECT_EQ(size, 9U);
  size = 0;
  EXPECT_EQ(base64_encode(nullptr, 0, nullptr, &size), -1);
  EXPECT_EQ(size, 1U);
  Room more(40);
  size = 40;
  EXPECT_EQ(base64_encode(reinterpret_cast<const unsigned char *>("Ma"), 2, more.get(), &size), 0);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(more.written(), terminated("TWE="));
  // Lengths whose text is too long for the type of its size.
  for (const unsigned length : {3221225470U, 4294967295U}) {
    size = 4294967295;
    EXPECT_EQ(base64_encode(nullptr, length, nullptr, &size), -1);
    EXPECT_EQ(size, 4294967295U) << length;
  }
}

TEST(Base64, SkipsWhatIsOutsideOfTheAlphabet) {
  for (int value = 0; value < 256; ++value) {
    const char c = static_cast<char>(value);
    if (std::isalnum(value) != 0 || c == '+' || c == '/' || c == '=') continue;
    const std::string text = {'T', c, c, 'W', 'F', c, 'u', c, 'T', 'W', 'F', 'u', c};
    EXPECT_EQ(decoded(text, 6), "ManMan") << value;
  }
  EXPECT_EQ(decoded("T\nWFuTWFuTWFu", 9), "ManManMan");
  EXPECT_EQ(decoded(" \n-_", 0), "");
}

// Whole groups and single characters go out without overtaking what is still to be read.
TEST(Base64, DecodesInPlace) {
  for (const char *text :
       {"TWFueSBoYW5kcyBtYWtlIGxpZ2h0IHdvcmsu", "TWFue\nSBoYW5k\r\ncyBtYWtlIGxpZ2h0IHdvcmsu"}) {
    const Text buffer(text);
    auto *const bytes = reinterpret_cast<unsigned char *>(buffer.get());
    auto size = static_cast<unsigned>(std::strlen(text));
    EXPECT_EQ(base64_decode(buffer.get(), size, bytes, &size), 0);
    EXPECT_EQ(buffer.all().substr(0, size), "Many hands make light work.");
  }
}

TEST(Base64, RefusesIncompleteGroupsAndSmallRooms) {
  EXPECT_EQ(decoded("TWE", 9), "(failed)");
  EXPECT_EQ(decoded("TWFuT", 9), "(failed)Man");
  EXPECT_EQ(decoded("TWFuTWFu", 5), "(failed)Man");
  EXPECT_EQ(decoded("TWE=", 1), "(failed)");
}

// A group with pads shortens those behind it, down to one byte.
TEST(Base64, PadsCountForTheRest) {
  EXPECT_EQ(decoded("TWE=TWFu", 9), "MaMa");
  EXPECT_EQ(decoded("TWE=TWE=TWFu", 4), "MaMM");
  EXPECT_EQ(decoded("T=E=====TWFu", 3), "L\0M"sv);
  EXPECT_EQ(decoded("====", 0), "(failed)");
}

TEST(Entities, EncodesTheSixAlone) {
  for (int value = 1; value < 256; ++value) {
    const char c = static_cast<char>(value);
    char reference[8];
    std::snprintf(reference, sizeof reference, "&#x%02x;", static_cast<unsigned>(value));
    const std::string one =
        "<>/\"'&"sv.find(c) != std::string_view::npos ? reference : std::string{c};
    // At every place within the words that long runs are taken by.
    for (std::size_t before = 0; before < 10; ++before) {
      const std::string start(before, 'x');
      const Text text(start + c + "0123456789abcdef");
      Room room(64);
      EXPECT_EQ(entities_hex_encode(room.get(), 64 * 6, text.get()), 0);
      EXPECT_EQ(room.written(), terminated(start + one + "0123456789abcdef")) << value;
    }
  }
}

TEST(Entities, RoomAndResult) {
  const std::tuple<const char *, unsigned, int, std::string_view> cases[] = {
      {"a<b", 10, 0, "a&#x3c;b\0"sv},
      {"a<b", 9, -1, "a&#x3c;b\0"sv},  // just filled counts as cut
      {"a<b", 8, -1, "a&#x3c;\0"sv},
      {"a<b", 7, 0, "a-b\0"sv},  // no room for the reference
      {"a<b", 4, -1, "a-b\0"sv},
      {"a<b", 3, -1, "a-\0"sv},
      {"<<", 13, -1, "&#x3c;&#x3c;\0"sv},
      {"<<", 12, 0, "&#x3c;-\0"sv},
      {"abcdefghijklmnop<", 23, -1, "abcdefghijklmnop&#x3c;\0"sv},
      {"abcdefghijklmnop<", 22, 0, "abcdefghijklmnop-\0"sv},
      {"", 2, 0, "\0"sv},
      {"", 1, -1, "\0"sv},
      {"a", 0, -1, ""},
  };
  for (const auto &[in, size, result, written] : cases) {
    SCOPED_TRACE(testing::Message() << in << " in " << size);
    const Text text(in);
    Room room(size);
    EXPECT_EQ(entities_hex_encode(room.get(), size, text.get()), result);
    EXPECT_EQ(room.written(), written);

    if (std::strlen(in) >= size) continue;
    Room own(size);
    std::strcpy(own.get(), in);
    EXPECT_EQ(entities_hex_encode_in_place(size, own.get()), result);
    EXPECT_STREQ(own.get(), written.data());
  }
  Room room(4);
  EXPECT_EQ(entities_hex_encode(room.get(), 4, nullptr), -1);
  EXPECT_EQ(room.written(), "\0"sv);
  EXPECT_EQ(entities_hex_encode(room.get(), 4294967295U, "a"), 0);
}

TEST(Entities, InPlace) {
  char text[8] = "a<b";
  std::memset(text, '<', sizeof text);  // not terminated within its size
  EXPECT_EQ(entities_hex_encode_in_place(sizeof text, text), -1);
  EXPECT_STREQ(text, "&#x3c;-");
}

TEST(ParseMacaddr, ResultsBytesAndTheLinePrinted) {
  // Text, allowed: zero, multicast; result, and in hexadecimal the bytes as far as they are stored.
  const std::tuple<const char *, int, int, int, const char *> cases[] = {
      {"00:1A:2b:3c:4d:5e", 0, 0, 0, "001A2B3C4D5E"},
      {" 00-1a-2b-3c-4d-5e ", 0, 0, 0, "001A2B3C4D5E"},
      {"\t0 :\n1\v: 2:a:B :f\r\f", 0, 0, 0, "0001020A0B0F"},
      {"00:1a-2b:3c:4d:5e", 0, 0, -2, "001A"},
      {"000:1a:2b:3c:4d:5e", 0, 0, -2, ""},
      {"00:1a:2b:3c:4d:5e:", 0, 0, -2, "001A2B3C4D5E"},
      {"00:1a:2b:3c:4d", 0, 0, -2, "001A2B3C4D"},
      {"00::2b:3c:4d:5e", 0, 0, -2, "00"},
      {"00.1a.2b.3c.4d.5e", 0, 0, -2, "00"},
      {"", 1, 1, -2, ""},
      {nullptr, 1, 1, -2, ""},
      {"01:00:5e:00:00:01", 1, 0, -3, "01005E000001"},
      {"01:00:5e:00:00:01", 0, 2, 0, "01005E000001"},
      {"fe:ff:ff:ff:ff:ff", 0, 0, 0, "FEFFFFFFFFFF"},
      {"00:00:00:00:00:00", 0, 1, -4, "000000000000"},
      {"0:0:0:0:0:0", 2, 0, 0, "000000000000"},
      {"0:0:0:0:0:1", 0, 0, 0, "000000000001"},
  };
  for (const auto &[text, zero, multicast, result, bytes] : cases) {
    SCOPED_TRACE(text != nullptr ? text : "null");
    Room mac(6);
    testing::internal::CaptureStdout();
    EXPECT_EQ(parse_macaddr(text, zero, multicast, mac.bytes()), result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Parse MAC error " + std::to_string(result) + "\n");
    std::string stored;
    for (const char byte : mac.written())
      stored += {"0123456789ABCDEF"[byte >> 4 & 15], "0123456789ABCDEF"[byte & 15]};
    EXPECT_EQ(stored, bytes);
  }
}

}  // namespace
}  // namespace talvera::test
