// Building text: appenders, filter, case, two-pass builder. Every buffer is checked to its last
// byte.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "talvera/strutil.h"

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

}  // namespace
