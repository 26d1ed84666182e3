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
  static constexpr struct {
    std::string_view line;
    int size;
    std::string_view written;  // with the terminator
    int end;
  } kCases[] = {
      {"  alpha beta", 16, "alpha\0"sv, 8},
      {"alphabet", 4, "alp\0"sv, 8},
      {"alphabet", 8, "alphabe\0"sv, 8},
      {"alphabet", 9, "alphabet\0"sv, 8},
      {"one\n two", 16, "one\0"sv, 5},      // the line feed is consumed, and the blanks behind it
      {"one\n\ntwo", 16, "one\0"sv, 4},     // but one line feed only
      {"\none", 16, "\0"sv, 1},             // an empty word
      {"one\ntwo three", 4, "one\0"sv, 8},  // full: the rest is skipped, line feeds included
      {"onex\ntwo \t three", 4, "one\0"sv, 11},
      {"\xE4two", 16, "\0"sv, 1},
      {"one\xFFtwo", 16, "one\0"sv, 4},
      {"x", 1, "x\0"sv, 1},  // two bytes in a room of one
      {"xyz abc", 1, "x\0"sv, 4},
      {"xyz", 2, "x\0"sv, 3},
      {" \t ", 1, "\0"sv, 3},
      {"", 16, "\0"sv, 0},
      {" one", 0, "", 0},
      {" one", -1, "", 0},
  };
  for (const auto &test : kCases) {
    for (auto *get : {getword, get_word}) {
      SCOPED_TRACE(testing::Message() << test.line << " in " << test.size);
      const Text line(test.line);
      Room room(24);
      EXPECT_EQ(line.offset(get(line.get(), room.get(), test.size)), test.end);
      EXPECT_EQ(room.written(), test.written);
    }
  }
}

TEST(Scan, Strings) {
  static constexpr struct {
    std::string_view line;
    int size;
    int delim;
    std::string_view written;  // with the terminator
    int end;
  } kCases[] = {
      {"\"a b\" c", 16, ',', "a b\0"sv, 6},
      {"a,b", 16, ',', "a\0"sv, 1},
      {" \ta \t b", 16, ',', "a\0"sv, 6},
      {"a\nb", 16, ',', "a\nb\0"sv, 3},  // a line feed is no blank
      {"", 16, ',', "\0"sv, 0},
      {" \"", 16, ',', "\0"sv, 2},
      {"\" a,b\"", 16, ',', " a\0"sv, 3},        // the delimiter counts inside quotes
      {"a\"b c\"d e", 16, ',', "ab cd\0"sv, 8},  // quotes inside
      {"\"a\" b", 16, '"', "a\0"sv, 2},          // the delimiter is looked for first
      {",a", 16, ',', "\0"sv, 0},
      {"a b", 16, ' ', "a\0"sv, 1},  // and is not consumed
      {"^x41^X6a", 16, ',', "Aj\0"sv, 8},
      {"^x4", 16, ',', "\0"sv, 3},
      {"^x4g", 16, ',', "g\0"sv, 4},
      {"^xg", 16, ',', "g\0"sv, 3},
      {"^x414", 16, ',', "A4\0"sv, 5},
      {"a^x00b", 16, ',', "ab\0"sv, 6},
      {"^xfFx", 16, ',', "\xFFx\0"sv, 5},
      {"^x", 16, ',', "\0"sv, 2},
      {"^^^\"^ ^,", 16, ',', "^\" ,\0"sv, 8},
      {"\"^x20^\" \"", 16, ',', " \" \0"sv, 9},  // escapes in quotes
      {"a^", 16, ',', "a\0"sv, 2},
      {"a^b", 16, '^', "a\0"sv, 1},
      {"a\xE9z", 16, 0xE9, "a\0"sv, 1},
      {"a\xE9z", 16, static_cast<signed char>(0xE9), "a\0"sv, 1},
      {"a\xE9z", 16, 0, "a\xE9z\0"sv, 3},
      {"abcdef", 3, ',', "abc\0"sv, 3},  // the terminator on top of the size
      {"abc,", 3, ',', "abc\0"sv, 3},
      {"\"abc\"", 3, ',', "abc\0"sv, 4},  // no room: the quote is not looked at
      {"ab^x41c", 3, ',', "abA\0"sv, 6},
      {"abc", 0, ',', "\0"sv, 0},
      {" abc", -5, ',', "\0"sv, 1},
  };
  for (const auto &test : kCases) {
    for (auto *get : {getstring, get_string}) {
      SCOPED_TRACE(testing::Message() << test.line << " in " << test.size);
      const Text line(test.line);
      Room room(24);
      EXPECT_EQ(line.offset(get(line.get(), room.get(), test.size, test.delim)), test.end);
      EXPECT_EQ(room.written(), test.written);
    }
  }
}

TEST(Scan, StripsTrailingWhite) {
  static constexpr struct {
    std::string_view text, stripped;
  } kCases[] = {
      {"", ""},
      {"a", "a"},
      {" a b \t\r\n", " a b\0\0\0\0"sv},
      {" \t ", "\0\0\0"sv},
      {"a\x80 \x1F", "a\0\0\0"sv},
      {"a\x7F ", "a\x7F\0"sv},
  };
  for (const auto &test : kCases) {
    const Text text(test.text);
    strip_trailing_white(text.get());
    EXPECT_EQ(text.all(), test.stripped);
  }
  // The longest text that is stripped, and one that is too long.
  for (const std::size_t length : {32767U, 32768U, 65539U}) {
    const Text text(std::string(length, ' '));
    strip_trailing_white(text.get());
    EXPECT_EQ(*text.get(), length < 32768 ? '\0' : ' ') << length;
  }
}

}  // namespace
}  // namespace talvera::test
