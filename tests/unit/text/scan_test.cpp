// Scanners of words and strings.
#include <gtest/gtest.h>

#include "talvera/scan.h"
#include "unit/text/buffers.h"

namespace talvera::test {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kSpaces = " \t\n\v\f\r";

TEST(Scan, EveryByteInItsClass) {
  for (int value = 1; value < 256; ++value) {
    const char c = static_cast<char>(value);
    const bool blank = kBlanks.find(c) != std::string_view::npos;
    const bool space = kSpaces.find(c) != std::string_view::npos;
    const bool ends_word = value < 33 || value >= 128;
    SCOPED_TRACE(value);

    const Text line(std::string{c, 'w', c, c});
    char *const s = line.get();
    EXPECT_EQ(line.offset(skip_space(s)), space ? 1 : 0);
    for (auto *skip : {skip_blank, skipwhitespace})
      EXPECT_EQ(line.offset(skip(s)), blank ? 1 : 0);
    EXPECT_EQ(line.offset(skip_nonspace(s + 1)), space ? 2 : 4);
    for (auto *skip : {skip_nonblank, skipnonwhitespace})
      EXPECT_EQ(line.offset(skip(s + 1)), blank ? 2 : 4);

    Room word(8);
    getword(s + 1, word.get(), 8);
    EXPECT_EQ(word.written(), terminated(ends_word ? "w" : std::string_view(s + 1, 3)));
    const std::string stripped = ends_word ? std::string{c, 'w', '\0', '\0'} : line.all();
    strip_trailing_white(s + 1);
    EXPECT_EQ(line.all(), stripped);
  }
}

TEST(Scan, NullIsEmpty) {
  Room room(4);
  EXPECT_STREQ(skip_space(nullptr), "");
  EXPECT_STREQ(skip_blank(nullptr), "");
  EXPECT_STREQ(getword(nullptr, room.get(), 4), "");
  EXPECT_EQ(room.written(), "\0"sv);
  EXPECT_STREQ(getstring(nullptr, room.get(), 4, ','), "");
}

TEST(Scan, Words) {
  const std::tuple<std::string_view, int, std::string_view, int> cases[] = {
      {"  alpha beta", 16, "alpha\0"sv, 8},
      {"alphabet", 8, "alphabe\0"sv, 8},
      {"alphabet", 9, "alphabet\0"sv, 8},
      {"one\n two", 16, "one\0"sv, 5},   // the line feed is consumed, and the blanks behind it
      {"one\n\ntwo", 16, "one\0"sv, 4},  // but one line feed only
      {"\none", 16, "\0"sv, 1},          // an empty word
      {"onex\ntwo \t three", 4, "one\0"sv, 11},  // full: the rest is skipped, line feeds included
      {"xyz abc", 1, "x\0"sv, 4},                // two bytes in a room of one
      {" \t ", 1, "\0"sv, 3},
      {" one", 0, "", 0},
  };
  for (const auto &[text, size, written, end] : cases) {
    for (auto *get : {getword, get_word}) {
      SCOPED_TRACE(testing::Message() << text << " in " << size);
      const Text line(text);
      Room room(24);
      EXPECT_EQ(line.offset(get(line.get(), room.get(), size)), end);
      EXPECT_EQ(room.written(), written);
    }
  }
}

TEST(Scan, Strings) {
  const std::tuple<std::string_view, int, int, std::string_view, int> cases[] = {
      {"\"a b\" c", 16, ',', "a b\0"sv, 6},
      {"a,b", 16, ',', "a\0"sv, 1},
      {" \ta \t b", 16, ',', "a\0"sv, 6},
      {"a\nb", 16, ',', "a\nb\0"sv, 3},  // a line feed is no blank
      {"", 16, ',', "\0"sv, 0},
      {"\" a,b\"", 16, ',', " a\0"sv, 3},        // the delimiter counts inside quotes
      {"a\"b c\"d e", 16, ',', "ab cd\0"sv, 8},  // quotes inside
      {"\"a\" b", 16, '"', "a\0"sv, 2},          // the delimiter is looked for first
      {"a b", 16, ' ', "a\0"sv, 1},              // and is not consumed
      {"^x41^X6a", 16, ',', "Aj\0"sv, 8},
      {"^x4g", 16, ',', "g\0"sv, 4},
      {"^xg", 16, ',', "g\0"sv, 3},
      {"^x414", 16, ',', "A4\0"sv, 5},
      {"a^x00b", 16, ',', "ab\0"sv, 6},
      {"^^^\"^ ^,", 16, ',', "^\" ,\0"sv, 8},
      {"\"^x20^\" \"", 16, ',', " \" \0"sv, 9},  // escapes in quotes
      {"a^", 16, ',', "a\0"sv, 2},
      {"a^b", 16, '^', "a\0"sv, 1},
      {"a\xE9z", 16, 0xE9, "a\0"sv, 1},
      {"abcdef", 3, ',', "abc\0"sv, 3},   // the terminator on top of the size
      {"\"abc\"", 3, ',', "abc\0"sv, 4},  // no room: the quote is not looked at
      {" abc", -5, ',', "\0"sv, 1},
  };
  for (const auto &[text, size, delim, written, end] : cases) {
    for (auto *get : {getstring, get_string}) {
      SCOPED_TRACE(testing::Message() << text << " in " << size);
      const Text line(text);
      Room room(24);
      EXPECT_EQ(line.offset(get(line.get(), room.get(), size, delim)), end);
      EXPECT_EQ(room.written(), written);
    }
  }
}

TEST(Scan, StripsTrailingWhite) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""}, {" a b \t\r\n", " a b\0\0\0\0"sv}, {" \t ", "\0\0\0"sv}};
  for (const auto &[before, stripped] : cases) {
    const Text text(before);
    strip_trailing_white(text.get());
    EXPECT_EQ(text.all(), stripped);
  }
  // The longest text that is stripped, and two that are too long.
  for (const std::size_t length : {32767U, 32768U, 65539U}) {
    const Text text(std::string(length, ' '));
    strip_trailing_white(text.get());
    EXPECT_EQ(*text.get(), length < 32768 ? '\0' : ' ') << length;
  }
}

}  // namespace
}  // namespace talvera::test
