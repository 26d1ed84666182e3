// Building text: appenders, filter, case, two-pass builder, every buffer checked to its last byte;
// hexadecimal digits and text; searches within a bound.
#include <gtest/gtest.h>

#include <climits>

#include "talvera/strutil.h"
#include "unit/text/buffers.h"

namespace talvera::test {
namespace {

using namespace std::string_literals;

// A buffer that holds `text` and, behind it, '#' to its size of 12.
std::string buffer_with(const std::string &text) {
  std::string buffer(12, '#');
  buffer.replace(0, text.size() + 1, text.c_str(), text.size() + 1);
  return buffer;
}

TEST(Append, UpToAGreatestLength) {
  // Text before, what is added, the greatest length; the buffer after, from its start on.
  const std::tuple<std::string, const char *, int, std::string> cases[] = {
      {"ab", "cdef", 4, "abcd\0#"s},     {"ab", "c", 4, "abc\0#"s},
      {"abc", "x", 3, "abc\0#"s},        {"abcdef", "x", 3, "abc\0ef\0#"s},
      {"", "xyz", 2, "xy\0#"s},          {"abc", "xyz", 0, "\0bc\0#"s},
      {"ab", "", 9, "ab\0#"s},           {"abc", "xyz", -5, "\0bc\0#"s},
      {"ab", "cd", INT_MAX, "abcd\0#"s},
  };
  for (const auto &[before, added, n, after] : cases) {
    std::string buffer = buffer_with(before);
    const std::string expected = after + buffer.substr(after.size());
    char *end = str_ncat(buffer.data(), added, n);
    EXPECT_EQ(buffer, expected) << before << '+' << added << ' ' << n;
    EXPECT_EQ(end, buffer.data() + buffer.find('\0'));
  }
  EXPECT_EQ(strncatdest, str_ncat);
}

TEST(Append, WholeStringsAndFill) {
  std::string buffer = buffer_with("ab");
  char *const start = buffer.data();
  EXPECT_EQ(str_cat(str_cat(start, "cd"), "e"), start + 5);
  EXPECT_EQ(buffer, "abcde\0######"s);
  EXPECT_EQ(str_cat(start, nullptr), start);  // not the end
  EXPECT_EQ(str_cat(start, ""), start + 5);
  EXPECT_EQ(strcatdest, str_cat);

  EXPECT_EQ(str_nfill(start, '.', 3), start + 8);
  EXPECT_EQ(buffer, "abcde...\0###"s);
  EXPECT_EQ(str_nfill(start, '!', 0), start + 8);
  EXPECT_EQ(str_nfill(start, '!', -2), start + 8);
  EXPECT_EQ(buffer, "abcde...\0###"s);
  EXPECT_EQ(strnfilldest, str_nfill);
}

TEST(Append, Filter) {
  const std::tuple<const char *, const char *, int, const char *> cases[] = {
      {"a-b c", "- ", 16, "abc"}, {"a-b c", "- ", 3, "ab"}, {"a-b c", "- ", 4, "abc"},
      {"a-b c", "", 6, "a-b c"},  {"--", "-", 16, ""},      {"abc", "-", 1, ""},
      {"abc", "-", 0, ""},        {"abc", "-", -7, ""},     {"\xE9-\xE8", "\xE8", 16, "\xE9-"},
  };
  for (const auto &[text, drop, size, result] : cases) {
    std::string buffer = buffer_with("");
    strfilt(buffer.data(), text, drop, size);
    EXPECT_EQ(buffer, buffer_with(result)) << text << ' ' << size;
  }
  char in_place[] = "1:2:3";
  strfilt(in_place, in_place, ":", sizeof in_place);
  EXPECT_STREQ(in_place, "123");
}

TEST(Append, UpperCase) {
  char text[] = "az AZ-09\xE9";
  EXPECT_EQ(string_toupper(text), 0);
  EXPECT_STREQ(text, "AZ AZ-09\xE9");
}

TEST(Append, TwoPassBuilder) {
  int length = 2;
  put_str(nullptr, &length, "abc");
  EXPECT_EQ(length, 5);

  std::string buffer = buffer_with("xy");
  length = 2;
  put_str(buffer.data(), &length, "abc");
  EXPECT_EQ(length, 5);
  put_str(buffer.data(), &length, "");
  put_str(buffer.data(), &length, nullptr);
  put_str(buffer.data(), nullptr, "abc");
  EXPECT_EQ(length, 5);
  EXPECT_EQ(buffer, buffer_with("xyabc"));
  // The length decides where to write, not the text that is there.
  length = 1;
  put_str(buffer.data(), &length, "Z");
  EXPECT_EQ(buffer, "xZ\0bc\0######"s);
}

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

TEST(Search, IgnoresCaseWithinABound) {
  const char text[] = "Hello World";
  EXPECT_EQ(strncasestr(text, "WORLD", 11), text + 6);
  EXPECT_EQ(strncasestr(text, "WORLD", 10), nullptr);
  EXPECT_EQ(strncasestr(text, "hello", 5), text);
  EXPECT_EQ(strncasestr(text, "worlds", INT_MAX), nullptr);
  // Nothing to look for is found at the start, whatever the bound.
  EXPECT_EQ(strncasestr(text, "", -1), text);
  EXPECT_EQ(strncasestr(text, nullptr, 0), text);
  EXPECT_EQ(strncasestr(nullptr, nullptr, 5), nullptr);
  EXPECT_EQ(strncasestr(nullptr, "x", 5), nullptr);
  EXPECT_EQ(strncasestr(text, "H", -1), nullptr);
  EXPECT_EQ(strnstr_nocase, strncasestr);
}

TEST(Search, PrefixInLowerCase) {
  const char text[] = "GET /x";
  EXPECT_EQ(strmatch_lowercase(text, "get"), text + 3);
  EXPECT_EQ(strmatch_lowercase(text, "GET"), text + 3);
  EXPECT_EQ(strmatch_lowercase("get", "GET"), nullptr);
  EXPECT_EQ(strmatch_lowercase(text, "get /x1"), nullptr);
  EXPECT_EQ(strmatch_lowercase(text, ""), text);
  EXPECT_EQ(strmatch_lowercase(text, nullptr), text);
  EXPECT_EQ(strmatch_lowercase(nullptr, "get"), nullptr);
  const char latin[] = "\xC9t\xE9";
  EXPECT_EQ(strmatch_lowercase(latin, "\xC9t\xE9"), latin + 3);
  EXPECT_EQ(strmatch_lowercase(latin, "\xE9t"), nullptr);
}

TEST(Search, Sets) {
  const char text[] = "  a-b";
  EXPECT_EQ(GN_StrNotInSet(text, " "), text + 2);
  EXPECT_EQ(GN_StrNotInSet(text, ""), text);
  EXPECT_EQ(GN_StrNotInSet(text, "ab- "), nullptr);
  EXPECT_EQ(GN_StrCharInSet(text, "b-"), text + 3);
  EXPECT_EQ(GN_StrCharInSet(text, "xyz"), nullptr);
}

}  // namespace
}  // namespace talvera::test
