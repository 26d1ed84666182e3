// Splitting in place, numbers within bounds, port ranges and virtual circuits.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <vector>

#include "talvera/args.h"
#include "unit/text/buffers.h"

namespace talvera::test {
namespace {

using namespace std::string_view_literals;

using Words = std::vector<std::string>;

TEST(TokenExtract, TakesOneAfterTheOther) {
  // Text, tokens, whether the cursor ends as null; else the last call found white space alone.
  const std::tuple<const char *, Words, bool> cases[] = {
      {"  'a b' c", {"a b", "c"}, true},
      {"a\tb\v", {"a", "b"}, false},
      {"\"it's\"x 'y", {"it's", "x", "y"}, true},
      {"''\"\" ", {"", ""}, false},
      {"a'b c'", {"a'b", "c'"}, true},
      {"\"", {""}, true},
      {" \r\n", {}, false},
  };
  for (const auto &[line, expected, ends_with_null] : cases) {
    SCOPED_TRACE(line);
    const Text text(line);
    char *cursor = text.get();
    char *before = nullptr;
    Words tokens;
    while (cursor != nullptr) {
      before = cursor;
      const char *token = token_extract(&cursor);
      if (token == nullptr) break;
      tokens.emplace_back(token);
    }
    EXPECT_EQ(tokens, expected);
    EXPECT_EQ(cursor, ends_with_null ? nullptr : before);
  }
}

// An argument array whose slots are not null before, and what a splitter makes of it.
struct Split {
  static constexpr std::size_t kRoom = 24;

  explicit Split(std::string_view text) : text(text) {
    for (char *&slot : argv)
      slot = before;
  }
  // The slots up to the last one that was written to; "(null)" for a null.
  [[nodiscard]] Words slots() const {
    Words words;
    for (char *slot : argv) {
      if (slot == before) break;
      words.emplace_back(slot != nullptr ? slot : "(null)");
    }
    return words;
  }

  Text text;
  char before[8] = "before";
  int argc = -1;
  char *argv[kRoom];
};

// The words, and nulls up to `cleared` slots.
Words with_nulls(Words words, std::size_t cleared) {
  if (words.size() < cleared) words.resize(cleared, "(null)");
  return words;
}

TEST(StrToArgs, Splits) {
  const std::tuple<std::string_view, Words, std::string_view> cases[] = {
      // and the text after
      {"  one\ttwo \n three ", {"one", "two", "three"}, "  one\0two\0\n three\0"sv},
      {"\"ab\"cd ef", {"ab", "d", "ef"}, "\"ab\0\0d\0ef"sv},  // the "c" is lost
      {"'a b' \"c'd\" 'e", {"a b", "c'd", "e"}, "'a b\0\0\"c'd\0\0'e"sv},
      {"a'b c'd", {"a'b", "c'd"}, "a'b\0c'd"sv},
      {"'a'", {"a"}, "'a\0"sv},
      {"'' \"", {"", ""}, "'\0\0\""sv},
      {" \v ", {}, " \v "},
  };
  for (const auto &[text, words, cut] : cases) {
    SCOPED_TRACE(text);
    Split split(text);
    str_to_args(split.text.get(), &split.argc, split.argv);
    EXPECT_EQ(split.argc, static_cast<int>(words.size()));
    EXPECT_EQ(split.slots(), with_nulls(words, 20));
    EXPECT_EQ(split.text.all(), cut);
  }
}

TEST(StrToArgs, StopsAfterTwentyWords) {
  for (const char delimiter : {' ', ','}) {
    std::string text;
    for (char c = 'a'; c <= 'y'; ++c)
      text += {c, delimiter};
    Split split(text);
    if (delimiter == ' ') {
      str_to_args(split.text.get(), &split.argc, split.argv);
    } else {
      EXPECT_EQ(str_to_args_by_delim(split.text.get(), ",", &split.argc, split.argv), nullptr);
    }
    EXPECT_EQ(split.argc, 20);
    EXPECT_EQ(split.slots().size(), 20U);
    EXPECT_STREQ(split.argv[19], "t");
    EXPECT_EQ(split.argv[19] + 2, text.substr(40));
  }
}

TEST(StrToArgsByDelim, Splits) {
  const std::tuple<std::string_view, const char *, Words> cases[] = {
      {"a,b;c", ",;", {"a", "b", "c"}},
      {" \n,,a, b,,c ,", ",", {"a", " b", "c "}},
      {"a b", "", {"a b"}},
      {"g\xE9h\xFFi\x1F", "\xFF\xE9\x1F", {"g", "h", "i"}},
      {",,", ",", {}},
      {" ", ",", {}},
  };
  for (const auto &[text, delims, words] : cases) {
    SCOPED_TRACE(text);
    Split split(text);
    EXPECT_EQ(str_to_args_by_delim(split.text.get(), delims, &split.argc, split.argv), nullptr);
    EXPECT_EQ(split.argc, static_cast<int>(words.size()));
    EXPECT_EQ(split.slots(), with_nulls(words, 20));

    Split limited(text);
    char *const limited_text = limited.text.get();
    EXPECT_EQ(str_to_args_by_delim1(limited_text, delims, &limited.argc, limited.argv, 5), nullptr);
    EXPECT_EQ(limited.argc, static_cast<int>(words.size()));
    EXPECT_EQ(limited.slots(), with_nulls(words, 5));
  }
}

TEST(StrToArgsByDelim, TellsWhatIsBeyondTheLimit) {
  const std::tuple<const char *, int, Words, const char *> cases[] = {
      {"a,b,c,d,e", 2, {"a", "b", "c"}, "d"},  // one more than the limit
      {"a,b,c,", 2, {"a", "b", "c"}, nullptr},
      {"a,b", 0, {"a"}, "b"},
      {"a,b", -1, {}, "a"},
  };
  for (const auto &[text, max, words, next] : cases) {
    SCOPED_TRACE(testing::Message() << text << " " << max);
    Split split(text);
    EXPECT_STREQ(str_to_args_by_delim1(split.text.get(), ",", &split.argc, split.argv, max), next);
    EXPECT_EQ(split.argc, static_cast<int>(words.size()));
    EXPECT_EQ(split.slots(), words);
  }
}

TEST(StrGetDelim, PriorityAndTable) {
  const char *const space = str_get_delim("10/20-30 40");
  ASSERT_STREQ(space, " -/");
  EXPECT_EQ(str_get_delim("10/20-30"), space + 1);
  EXPECT_EQ(str_get_delim("10/20"), space + 2);
  EXPECT_EQ(str_get_delim("10\t20"), nullptr);
  EXPECT_EQ(str_get_delim(""), nullptr);
}

TEST(PortRange, Reads) {
  const std::tuple<const char *, int, int, int> cases[] = {
      // result, low, high
      {"80", 0, 80, 80},
      {"0x50 100", 0, 80, 100},
      {"1000+2000", 0, 1000, 2000},
      {"010\n0X1f", 0, 8, 31},
      {"80 80", 0, 80, 80},
      {"100 80", -1, 100, 80},
      {"1000-2000", -1, 1000, -2000},
      {"-5-3", 0, -5, -3},
      {"1000:2000", -1, 1000, 0},
      {"80 ", -1, 80, 0},
      {"1 2 3", -1, 1, 2},
      {"08", 0, 0, 8},  // octal ends before the 8, where the second number begins
      {"x", -1, 0, 0},
      {"", 0, 0, 0},
      {"-4294967297 99999999999999999999", 0, INT_MIN, 2147483647},
  };
  for (const auto &[text, result, expected_low, expected_high] : cases) {
    SCOPED_TRACE(text);
    int low = -77;
    int high = -77;
    errno = 0;
    EXPECT_EQ(str_to_port_range(Text(text).get(), &low, &high), result);
    EXPECT_EQ(errno, result == 0 ? 0 : 2119);
    EXPECT_EQ(low, expected_low);
    EXPECT_EQ(high, expected_high);
  }
}

TEST(StrtolRange, Reads) {
  // Text, bounds, error or 0, value.
  const std::tuple<const char *, long, long, int, long> cases[] = {
      {"5", 5, 5, 0, 5},
      {"4", 5, 9, 2119, 77},
      {"10", 5, 9, 2119, 77},
      {" -0x10", -16, 0, 0, -16},
      {"017", 0, 20, 0, 15},
      {"99x", 0, 9, 22, 77},
      {"", 0, 9, 0, 0},
      {"9999999999", 0, LONG_MAX, 0, 2147483647},
      {"-9999999999", LONG_MIN, 0, 0, -2147483647 - 1},
  };
  for (const auto &[text, min, max, error, expected] : cases) {
    SCOPED_TRACE(text);
    long value = 77;
    errno = 0;
    EXPECT_EQ(strtol_range(&value, Text(text).get(), min, max), error == 0 ? 0 : -1);
    EXPECT_EQ(errno, error);
    EXPECT_EQ(value, expected);
  }
}

TEST(PortRange, Writes) {
  const std::tuple<unsigned, unsigned, int, const char *> cases[] = {
      // null: refused
      {80, 80, '-', "80"},          {10000, 65535, ' ', "10000 65535"},
      {1, 2, 127, "1\1772"},        {70000, 70000, '-', "4464"},
      {65535, 65536, '-', nullptr},  // 65535 to 0
      {65536, 1, '-', "0-1"},       {10, 10, 31, nullptr},
      {10, 20, 128, nullptr},       {10, 20, 0x12D, "10-20"},
  };
  for (const auto &[low, high, delim, text] : cases) {
    SCOPED_TRACE(testing::Message() << low << " " << high << " " << delim);
    Room room(12);
    char *const result = range_to_portstr(room.get(), low, high, delim);
    EXPECT_EQ(result, text != nullptr ? room.get() : nullptr);
    EXPECT_EQ(room.written(), text != nullptr ? terminated(text) : "");
  }
  EXPECT_EQ(range_to_portstr(nullptr, 1, 2, '-'), nullptr);
}

TEST(AtmParseVi, Reads) {
  const std::string padding(71, ' ');
  const std::tuple<std::string, int, int, int, int> cases[] = {
      // index; result, vpi, vci
      {"0/35 8/81", 1, 0, 8, 81},
      {"0/35 8/81", 0, 0, 0, 35},
      {"0/35 8/81", 2, 2002, -7, -7},
      {"0/35 8/81", -1, 2002, -7, -7},
      {"-1/+2x", 0, 0, -1, 2},
      {"'8/ 81'", 0, 0, 8, 81},
      {"'8 /81'", 0, 2002, 8, -7},
      {"010/0x5", 0, 0, 10, 0},
      {"8/", 0, 2002, 8, -7},
      {"/81", 0, 2002, -7, -7},
      {"4294967297/-4294967297", 0, 0, 2147483647, INT_MIN},
      {padding + "8/123456", 0, 0, 8, 123456},  // 79 characters
      {padding + " 8/123456", 0, 0, 8, 12345},  // the 80th is cut
  };
  for (const auto &[line, index, result, expected_vpi, expected_vci] : cases) {
    SCOPED_TRACE(testing::Message() << line << " at " << index);
    const Text text(line);
    int vpi = -7;
    int vci = -7;
    EXPECT_EQ(atm_parse_vi(text.get(), index, &vpi, &vci), result);
    EXPECT_EQ(vpi, expected_vpi);
    EXPECT_EQ(vci, expected_vci);
    EXPECT_EQ(text.all(), line);
  }
}

}  // namespace
}  // namespace talvera::test
