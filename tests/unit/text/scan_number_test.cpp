// Numbers and addresses in text.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "talvera/scan.h"
#include "unit/text/buffers.h"

namespace talvera::test {
namespace {

constexpr unsigned long kUntouched = 77;

// Overflow wraps. A "+" is never taken, and in second place it spoils the number.
TEST(ScanNumber, AnyBase) {
  const std::tuple<const char *, int, unsigned long, int> cases[] = {
      // value; end, 0: failed
      {"0x1F", 0, 31, 4},
      {"0X1f g", 0, 31, 4},
      {"17", 0, 0, 0},
      {"1fg", 16, 31, 2},
      {"0xg", 16, 0, 0},
      {"0", 16, 0, 1},
      {"0x1", 10, 0, 1},
      {"-0x10", 0, 4294967280, 5},
      {"-12abc", 10, 4294967284, 3},
      {" \t42 ", 10, 42, 4},
      {"\n42", 10, 0, 0},
      {"  -", 10, 0, 0},
      {"+5", 10, 0, 0},
      {"5+3", 10, 0, 0},
      {"53+", 10, 53, 2},
      {"-5+3", 10, 4294967291, 2},
      {"zz", 36, 1295, 2},
      {"Zz", 36, 1295, 2},
      {"yz", 35, 34, 1},
      {"01201", 2, 1, 2},
      {"000", 1, 0, 3},
      {"zz:", 300, 10535, 2},
      {"1", -10, 0, 0},
      {"[", 36, 0, 0},
      {"{", 36, 0, 0},
      {"4294967295", 10, 4294967295, 10},
      {"-4294967297", 10, 4294967295, 11},
      {"123456789abcdef", 16, 0x89ABCDEF, 15},
      {"", 10, 0, 0},
  };
  for (const auto &[text, base, expected, end] : cases) {
    for (auto *get : {getnum, get_number}) {
      SCOPED_TRACE(testing::Message() << text << " base " << base);
      const Text line(text);
      unsigned long value = kUntouched;
      EXPECT_EQ(line.offset(get(line.get(), &value, base)), end);
      EXPECT_EQ(value, expected);
    }
  }
  unsigned long value = kUntouched;
  EXPECT_EQ(getnum(nullptr, &value, 10), nullptr);
  EXPECT_EQ(value, 0U);
}

// What each type makes of a number, and what it stores when there is none.
template <typename Value>
void expect_stored(char *(*get)(char *, Value *), const char *text, Value expected) {
  SCOPED_TRACE(text);
  const Text line(text);
  struct {
    Value value;
    Value guard;
  } stored = {static_cast<Value>(kUntouched), static_cast<Value>(kUntouched)};
  const char *const end = get(line.get(), &stored.value);
  EXPECT_EQ(stored.value, expected);
  EXPECT_EQ(stored.guard, static_cast<Value>(kUntouched));
  EXPECT_EQ(line.offset(end), *text == 'x' ? 0 : static_cast<std::ptrdiff_t>(std::strlen(text)));
}

TEST(ScanNumber, AnyType) {
  for (auto *get : {gethex, get_hex}) {
    expect_stored<unsigned long>(get, " ff", 255);
    expect_stored<unsigned long>(get, "0xFFFFFFFF", 4294967295);
  }
  for (auto *get : {getlong, get_long}) {
    expect_stored<long>(get, "-12", -12);
    expect_stored<long>(get, "4294967295", -1);
    expect_stored<long>(get, "x1", 0);
  }
  for (auto *get : {getint, get_int}) {
    expect_stored<int>(get, "4294967290", -6);
    expect_stored<int>(get, "x1", 0);
  }
  for (auto *get : {getushort, get_ushort}) {
    expect_stored<unsigned short>(get, "70000", 4464);
    expect_stored<unsigned short>(get, "x1", 0);
  }
}

// The greatest value must be written as just that. The caller's text is stripped.
template <typename Value>
void expect_valid(int (*validate)(char *, Value *), const char *given, int result, Value expected) {
  SCOPED_TRACE(given);
  const Text text(given);
  auto value = static_cast<Value>(kUntouched);
  EXPECT_EQ(validate(text.get(), &value), result);
  EXPECT_EQ(value, expected);
  EXPECT_EQ(std::strlen(text.get()), std::string_view(given).find_last_not_of(" \t\r\n") + 1);
}

TEST(Validate, Ulong) {
  const std::tuple<const char *, int, unsigned long> cases[] = {
      {" \v+12 \r\n", 0, 12},
      {"0012", 0, 12},
      {" \t", 0, 0},
      {"12x", -1, 12},
      {"0x1", -1, 0},
      {"+-1", -1, 0},
      {"4294967294", 0, 4294967294},
      {" \n4294967295 ", 0, 4294967295},
      {"04294967295", -1, 4294967295},
      {"4294967296", -1, 4294967295},
      {"18446744073709551617", -1, 4294967295},
      {"-1", -1, 4294967295},
      {"-5", 0, 4294967291},
      {"-4294967295", 0, 1},
      {"-4294967296", -1, 4294967295},
  };
  for (const auto &[given, result, expected] : cases)
    expect_valid(ValidateUlong, given, result, expected);
}

TEST(Validate, Long) {
  const std::tuple<const char *, int, long> cases[] = {
      {" -5 ", 0, -5},
      {"", 0, 0},
      {"12-", -1, 12},
      {"2147483646", 0, 2147483646},
      {"\t2147483647\t", 0, 2147483647},
      {"+2147483647", -1, 2147483647},
      {"2147483648", -1, 2147483647},
      {"4294967296", -1, 2147483647},
      {"-2147483647", 0, -2147483647},
      {"-2147483648", 0, -2147483647 - 1},
      {"-2147483649", 0, -2147483647 - 1},
      {"-99999999999", 0, -2147483647 - 1},
  };
  for (const auto &[given, result, expected] : cases)
    expect_valid(ValidateLong, given, result, expected);
}

TEST(ScanAddress, Ip) {
  const std::pair<const char *, int> cases[] = {
      // end; 0: failed
      {"192.168.1.1 rest", 11}, {"192.168.1.1\nrest", 11}, {"255.255.255.255", 15},
      {" 192.168.1.1", 0},      {"192.168.1", 0},          {"192.168.1.256", 0},
      {"192.168.1.1,", 0},      {"255.255.255.2555", 0},  // 16 characters
  };
  for (const auto &[text, end] : cases) {
    for (auto *get : {getip, get_ip}) {
      SCOPED_TRACE(text);
      const Text line(text);
      in_addr address = {0x01020304};
      EXPECT_EQ(line.offset(get(line.get(), &address)), end);
      const std::string taken(text, static_cast<std::size_t>(end));
      EXPECT_EQ(address.s_addr, end == 0 ? 0x01020304 : inet_addr(taken.c_str()));
    }
  }
}

TEST(ScanAddress, Mac) {
  using Mac = std::array<unsigned char, 6>;
  constexpr Mac kBefore = {9, 9, 9, 9, 9, 9};
  const std::tuple<const char *, int, Mac> cases[] = {
      // end; 0: failed
      {"00:1A:2b:3c:4d:5e rest", 17, {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}},
      {"0:1:2:a:B:c\trest", 11, {0, 1, 2, 10, 11, 12}},
      {"00:1A:2b:3c:4d:5e:6", 19, {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}},
      {"0:1:2:a:B:c:7", 0, kBefore},
      {" 00:1A:2b:3c:4d:5e", 0, kBefore},
      {"00:1A:2b:3c:4d", 0, kBefore},
      {"00-1A-2b-3c-4d-5e", 0, kBefore},
      {"00:1A:2b:3c:4d:5e:66", 0, kBefore},  // 20 characters
  };
  for (const auto &[text, end, expected] : cases) {
    for (auto *get : {get_mac, getether}) {
      SCOPED_TRACE(text);
      const Text line(text);
      ether_addr mac;
      std::memcpy(&mac, kBefore.data(), 6);
      EXPECT_EQ(line.offset(get(line.get(), &mac)), end);
      EXPECT_THAT(mac.ether_addr_octet, testing::ElementsAreArray(expected));
    }
  }
}

TEST(ScanNumber, HexStrings) {
  for (auto *is_hex : {isxstring, StringIsHexDigits}) {
    EXPECT_EQ(is_hex(nullptr), 0);
    EXPECT_EQ(is_hex(""), 0);
    for (const char *text :
         {"0", "x", "X", "0x", "0X", "0x1F", "xaF", "00", "123456789abcdefABCDEF"})
      EXPECT_EQ(is_hex(Text(text).get()), 1) << text;
    for (const char *text : {"0xg", "xx", "0xx", "x0x1", "00x1", " 1", "1 ", "-1"})
      EXPECT_EQ(is_hex(Text(text).get()), 0) << text;
    int digits = 0;
    for (int value = 1; value < 256; ++value)
      digits += is_hex(Text(std::string{'1', static_cast<char>(value)}).get());
    EXPECT_EQ(digits, 22);
  }
}

}  // namespace
}  // namespace talvera::test
