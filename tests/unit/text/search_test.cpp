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
  EXPECT_EQ(strncasestr(text, "hello", 4), nullptr);
  EXPECT_EQ(strncasestr(text, "o", 5), text + 4);
  EXPECT_EQ(strncasestr(text, "worlds", INT_MAX), nullptr);
  // Nothing to look for is found at the start, whatever the bound.
  EXPECT_EQ(strncasestr(text, "", -1), text);
  EXPECT_EQ(strncasestr(text, nullptr, 0), text);
  EXPECT_EQ(strncasestr(nullptr, nullptr, 5), nullptr);
  EXPECT_EQ(strncasestr(nullptr, "x", 5), nullptr);
  EXPECT_EQ(strncasestr(text, "H", 0), nullptr);
  EXPECT_EQ(strncasestr(text, "H", -1), nullptr);
  EXPECT_EQ(strnstr_nocase, strncasestr);
}

}  // namespace
