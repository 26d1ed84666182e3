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
  static const struct {
    const char *text;
    Words tokens;
    bool ends_with_null;  // of the cursor; else the last call found white space alone
  } kCases[] = {
      {"  'a b' c", {"a b", "c"}, true},
      {"a\tb\v", {"a", "b"}, false},
      {"a", {"a"}, true},
      {"\"it's\"x 'y", {"it's", "x", "y"}, true},
      {"''\"\" ", {"", ""}, false},
      {"a'b c'", {"a'b", "c'"}, true},
      {"\"", {""}, true},
      {" \r\n", {}, false},
      {"", {}, false},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(test.text);
    const Text text(test.text);
    char *cursor = text.get();
    Words tokens;
    while (cursor != nullptr) {
      char *const before = cursor;
      const char *token = token_extract(&cursor);
      if (token == nullptr) {
        EXPECT_EQ(cursor, before);
        break;
      }
      tokens.emplace_back(token);
    }
    EXPECT_EQ(tokens, test.tokens);
    EXPECT_EQ(cursor == nullptr, test.ends_with_null);
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
  static const struct {
    std::string_view text;
    Words words;
    std::string_view cut;  // the text after
  } kCases[] = {
      {"  one\ttwo \n three ", {"one", "two", "three"}, "  one\0two\0\n three\0"sv},
      {"\"ab\"cd ef", {"ab", "d", "ef"}, "\"ab\0\0d\0ef"sv},  // the "c" is lost
      {"'a b' \"c'd\" 'e", {"a b", "c'd", "e"}, "'a b\0\0\"c'd\0\0'e"sv},
      {"a'b c'd", {"a'b", "c'd"}, "a'b\0c'd"sv},
      {"'a'", {"a"}, "'a\0"sv},
      {"''  b", {"", "b"}, "'\0\0 b"sv},
      {"'' \"", {"", ""}, "'\0\0\""sv},
      {" \v ", {}, " \v "},
      {"", {}, ""},
      {"\xA0x", {"\xA0x"}, "\xA0x"},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(test.text);
    Split split(test.text);
    str_to_args(split.text.get(), &split.argc, split.argv);
    EXPECT_EQ(split.argc, static_cast<int>(test.words.size()));
    EXPECT_EQ(split.slots(), with_nulls(test.words, 20));
    EXPECT_EQ(split.text.all(), test.cut);
  }
}

// 25 words with `delimiter` between them.
std::string many(char delimiter) {
  std::string text;
  for (char c = 'a'; c <= 'y'; ++c)
    text += {c, delimiter};
  return text;
}

TEST(StrToArgs, StopsAfterTwentyWords) {
  Split split(many(' '));
  str_to_args(split.text.get(), &split.argc, split.argv);
  EXPECT_EQ(split.argc, 20);
  EXPECT_EQ(split.slots().size(), 20U);
  EXPECT_STREQ(split.argv[19], "t");
  EXPECT_STREQ(split.argv[19] + 2, "u v w x y ");

  Split fields(many(','));
  EXPECT_EQ(str_to_args_by_delim(fields.text.get(), ",", &fields.argc, fields.argv), nullptr);
  EXPECT_EQ(fields.argc, 20);
  EXPECT_EQ(fields.slots().size(), 20U);
  EXPECT_STREQ(fields.argv[19], "t");
  EXPECT_STREQ(fields.argv[19] + 2, "u,v,w,x,y,");
}

TEST(StrToArgsByDelim, Splits) {
  static const struct {
    std::string_view text;
    const char *delims;
    Words words;
  } kCases[] = {
      {"a,b;c", ",;", {"a", "b", "c"}},
      {" \n,,a, b,,c ,", ",", {"a", " b", "c "}},
      {"a b", "", {"a b"}},
      {"a\xE9"
       "b\xFF"
       "c\x1F",
       "\xFF\xE9\x1F",
       {"a", "b", "c"}},
      {",,", ",", {}},
      {" ", ",", {}},
      {"", ",", {}},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(test.text);
    Split split(test.text);
    EXPECT_EQ(str_to_args_by_delim(split.text.get(), test.delims, &split.argc, split.argv),
              nullptr);
    EXPECT_EQ(split.argc, static_cast<int>(test.words.size()));
    EXPECT_EQ(split.slots(), with_nulls(test.words, 20));

    Split limited(test.text);
    EXPECT_EQ(
        str_to_args_by_delim1(limited.text.get(), test.delims, &limited.argc, limited.argv, 5),
        nullptr);
    EXPECT_EQ(limited.argc, static_cast<int>(test.words.size()));
    EXPECT_EQ(limited.slots(), with_nulls(test.words, 5));
  }
}

TEST(StrToArgsByDelim, TellsWhatIsBeyondTheLimit) {
  static const struct {
    const char *text;
    int max;
    Words words;
    const char *next;
  } kCases[] = {
      {"a,b,c,d", 2, {"a", "b", "c"}, "d"},  // one more than the limit
      {"a,b,c,d,e", 2, {"a", "b", "c"}, "d"},
      {"a,b,c,", 2, {"a", "b", "c"}, nullptr},
      {"a,b", 0, {"a"}, "b"},
      {"a,b", -1, {}, "a"},
      {"", -1, {}, nullptr},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(testing::Message() << test.text << " " << test.max);
    Split split(test.text);
    EXPECT_STREQ(str_to_args_by_delim1(split.text.get(), ",", &split.argc, split.argv, test.max),
                 test.next);
    EXPECT_EQ(split.argc, static_cast<int>(test.words.size()));
    EXPECT_EQ(split.slots(), test.words);
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
  static constexpr struct {
    const char *text;
    int result, low, high;
  } kCases[] = {
      {"80", 0, 80, 80},
      {"0x50 100", 0, 80, 100},
      {"1000+2000", 0, 1000, 2000},
      {"010\n0X1f", 0, 8, 31},
      {" +7", 0, 7, 7},
      {"80 80", 0, 80, 80},
      {"100 80", -1, 100, 80},
      {"1000-2000", -1, 1000, -2000},
      {"-5-3", 0, -5, -3},
      {"1000:2000", -1, 1000, 0},
      {"80 ", -1, 80, 0},
      {"1 2 3", -1, 1, 2},
      {"08", 0, 0, 8},  // octal ends before the 8, where the second number begins
      {"0xg", -1, 0, 0},
      {"x", -1, 0, 0},
      {"", 0, 0, 0},
      {"70000 99999", 0, 70000, 99999},
      {"1 4294967297", 0, 1, 2147483647},
      {"-4294967297 99999999999999999999", 0, INT_MIN, 2147483647},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(test.text);
    int low = -77;
    int high = -77;
    errno = 0;
    EXPECT_EQ(str_to_port_range(Text(test.text).get(), &low, &high), test.result);
    EXPECT_EQ(errno, test.result == 0 ? 0 : 2119);
    EXPECT_EQ(low, test.low);
    EXPECT_EQ(high, test.high);
  }
}

TEST(StrtolRange, Reads) {
  static constexpr struct {
    const char *text;
    long min, max;
    int error;  // 0: success
    long value;
  } kCases[] = {
      {"5", 5, 5, 0, 5},
      {"4", 5, 9, 2119, 0},
      {"10", 5, 9, 2119, 0},
      {" -0x10", -16, 0, 0, -16},
      {"017", 0, 20, 0, 15},
      {"5x", 0, 9, 22, 0},
      {"5 ", 0, 9, 22, 0},
      {"99x", 0, 9, 22, 0},
      {"-", -9, 9, 22, 0},
      {"", 0, 9, 0, 0},
      {"", 1, 9, 2119, 0},
      {"9999999999", 0, LONG_MAX, 0, 2147483647},
      {"-9999999999", LONG_MIN, 0, 0, -2147483647 - 1},
      {"2147483648", 0, 2147483647, 0, 2147483647},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(test.text);
    long value = 77;
    errno = 0;
    EXPECT_EQ(strtol_range(&value, Text(test.text).get(), test.min, test.max),
              test.error == 0 ? 0 : -1);
    EXPECT_EQ(errno, test.error);
    EXPECT_EQ(value, test.error == 0 ? test.value : 77);
  }
}

TEST(PortRange, Writes) {
  static constexpr struct {
    unsigned low, high;
    int delim;
    const char *text;  // null: refused
  } kCases[] = {
      {80, 80, '-', "80"},
      {10, 20, ':', "10:20"},
      {0, 65535, ' ', "0 65535"},
      {65534, 65535, 127,
       "65534\x7F"
       "65535"},
      {70000, 70000, '-', "4464"},
      {65535, 65536, '-', nullptr},  // 65535 to 0
      {65536, 1, '-', "0-1"},
      {20, 10, '-', nullptr},
      {10, 20, '\t', nullptr},
      {10, 20, 31, nullptr},
      {10, 10, 31, nullptr},
      {10, 20, 128, nullptr},
      {10, 20, 0x12D, "10-20"},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(testing::Message() << test.low << " " << test.high << " " << test.delim);
    Room room(12);
    char *const result = range_to_portstr(room.get(), test.low, test.high, test.delim);
    EXPECT_EQ(result, test.text != nullptr ? room.get() : nullptr);
    EXPECT_EQ(room.written(), test.text != nullptr ? terminated(test.text) : "");
  }
  EXPECT_EQ(range_to_portstr(nullptr, 1, 2, '-'), nullptr);
}

TEST(AtmParseVi, Reads) {
  const std::string padding(71, ' ');
  const struct {
    std::string text;
    int index;
    int result, vpi, vci;
  } kCases[] = {
      {"0/35 8/81", 1, 0, 8, 81},
      {"0/35 8/81", 0, 0, 0, 35},
      {"0/35 8/81", 2, 2002, -7, -7},
      {"0/35 8/81", 20, 2002, -7, -7},
      {"0/35 8/81", -1, 2002, -7, -7},
      {"-1/+2x", 0, 0, -1, 2},
      {"'8/ 81'", 0, 0, 8, 81},
      {"'8 /81'", 0, 2002, 8, -7},
      {"010/0x5", 0, 0, 10, 0},
      {"8:81", 0, 2002, 8, -7},
      {"8/", 0, 2002, 8, -7},
      {"/81", 0, 2002, -7, -7},
      {"'' 1/2", 0, 2002, -7, -7},
      {"", 0, 2002, -7, -7},
      {"4294967297/-4294967297", 0, 0, 2147483647, INT_MIN},
      {padding + "8/123456", 0, 0, 8, 123456},  // 79 characters
      {padding + " 8/123456", 0, 0, 8, 12345},  // the 80th is cut
      {padding + padding + "8/81", 0, 2002, -7, -7},
  };
  for (const auto &test : kCases) {
    SCOPED_TRACE(testing::Message() << test.text << " at " << test.index);
    const Text text(test.text);
    int vpi = -7;
    int vci = -7;
    EXPECT_EQ(atm_parse_vi(text.get(), test.index, &vpi, &vci), test.result);
    EXPECT_EQ(vpi, test.vpi);
    EXPECT_EQ(vci, test.vci);
    EXPECT_EQ(text.all(), test.text);
  }
}

}  // namespace
}  // namespace talvera::test
