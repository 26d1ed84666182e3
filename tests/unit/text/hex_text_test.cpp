// Hexadecimal digits and text.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "talvera/strutil.h"

namespace {

TEST(HexText, DigitValues) {
  const std::string digits = "0123456789abcdefABCDEF";
  for (int ch = -128; ch < 256; ++ch) {
    const auto at = ch != 0 ? digits.find(static_cast<char>(ch)) : std::string::npos;
    const int value = at == std::string::npos ? -1 : static_cast<int>(at < 16 ? at : at - 6);
    EXPECT_EQ(hex(ch), value) << ch;
  }
  EXPECT_EQ(hex(0x100 + 'F'), 15);  // taken as a character
}

TEST(HexText, Bytes) {
  struct Case {
    char delimiter;
    int digits;
    const char *text;
  };
  const Case cases[] = {
      {':', 4, "ab:cd"},
      {':', 3, "ab:c"},
      {':', 2, "ab"},
      {':', 1, "a"},
      {':', 6, "ab:cd:0f"},
      {':', 0, ""},
      {':', -1, ""},
      {':', -4, ""},
      {'\0', 4, "abcd"},
      {'\0', 3, "abc"},
      {'\0', 5, "abcd0"},
      {'\0', 6, "abcd0f"},
      {'\0', 0, ""},
      {'\0', INT_MIN, ""},
      {'\xE9', 3,
       "ab\xE9"
       "c"},
  };
  const unsigned char bytes[] = {0xAB, 0xCD, 0x0F};
  for (const Case &c : cases) {
    std::string expected(16, '#');
    expected.replace(1, std::string(c.text).size() + 1, c.text, std::string(c.text).size() + 1);
    std::string buffer(16, '#');
    GN_HexToString(bytes, buffer.data() + 1, c.delimiter, c.digits);
    // With a delimiter one byte behind the text may have been written: within the room asked for.
    EXPECT_STREQ(buffer.c_str(), expected.c_str()) << c.digits;
    const int digits = c.digits > 0 ? c.digits : 0;
    const std::size_t room = 1 + digits + (c.delimiter != 0 ? digits / 2 : 0) + 1;
    EXPECT_EQ(buffer.substr(room), expected.substr(room)) << c.digits;
    if (c.delimiter == '\0') {
      buffer.assign(16, '#');
      hex_to_str(bytes, buffer.data() + 1, c.digits);
      EXPECT_EQ(buffer, expected);
    }
  }
  EXPECT_EQ(hex_to_str_with_delim, GN_HexToString);
}

}  // namespace
