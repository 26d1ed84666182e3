// Hexadecimal digits and text.
#include <gtest/gtest.h>

#include <climits>

#include "talvera/strutil.h"
#include "unit/text/buffers.h"

namespace talvera::test {
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
  const std::tuple<char, int, const char *> cases[] = {
      {':', 6, "ab:cd:0f"}, {':', 3, "ab:c"},  {':', 1, "a"},      {':', 0, ""},
      {':', -1, ""},        {'\0', 4, "abcd"}, {'\0', 5, "abcd0"}, {'\0', INT_MIN, ""},
  };
  const unsigned char bytes[] = {0xAB, 0xCD, 0x0F};
  for (const auto &[delimiter, digits, text] : cases) {
    Room room(16);
    GN_HexToString(bytes, room.get(), delimiter, digits);
    EXPECT_EQ(room.written(), terminated(text));
  }
  Room room(16);
  hex_to_str(bytes, room.get(), 5);
  EXPECT_EQ(room.written(), terminated("abcd0"));
  EXPECT_EQ(hex_to_str_with_delim, GN_HexToString);
}

}  // namespace
}  // namespace talvera::test
