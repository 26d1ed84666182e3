// Searches within a bound.
#include <gtest/gtest.h>

#include <climits>

#include "talvera/strutil.h"

namespace {

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
