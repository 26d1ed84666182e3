// Values in tables: parsing and formatting.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace talvera::test {

// A malformed row; the message becomes its outcome.
struct TableError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Value {
  enum Kind {
    kNumber,  // 12  -1  0x1F  'a'
    kReal,    // 2.5
    kBytes,   // "text"  b"bytes"  x"00FF"  u16(1)be32(2)  "a"*300  "begin"[16]  [16]
    kNull,    // null
    kUnset,   // _
    kSize,    // #  #-1: the size of the preceding (or else following) buffer
    kName,    // SIGTERM  list_comparator_int8_t
    kObject,  // $list
    kRecord,  // (1 2 3)
  };
  Kind kind = kUnset;
  std::int64_t number = 0;  // of kNumber; offset from kSize
  double real = 0;
  std::string bytes;     // content including a terminator; name of kName or kObject
  std::size_t size = 0;  // size of the buffer that holds the content
  std::vector<Value> fields = {};
};

std::vector<Value> parse_values(std::string_view text);

// Expands {a, b} and {1..9} to all combinations; {=} repeats the choice of the first brace.
std::vector<std::string> expand_braces(const std::string &text);

// Splits at separators outside quotes, parentheses and braces.
std::vector<std::string> split(std::string_view text, std::string_view separator);
std::string trimmed(std::string_view text);
// The replacement must not contain the part.
void replace_all(std::string &text, std::string_view part, const std::string &replacement);

// Formats bytes: "text" with a terminator, b"bytes" without one, and, with `prefer_hex`, x"00FF" if
// a byte is not printable.
std::string in_quotes(std::string_view bytes, bool prefer_hex = false);

// Joins tokens with `separator`, with runs of equal tokens, pairs or triples as token*2 or (one
// two)*2.
std::string collapsed(const std::vector<std::string> &tokens, const char *separator);

// "EIO", or the number of an unknown error.
std::string error_name(int error);
// Replaces the C library's error messages with <EIO> and the like.
std::string with_error_names(std::string text);

// Maps a list of names to their values.
std::map<std::string, std::int64_t> named(const char *list,
                                          std::initializer_list<std::int64_t> values);
// Constants available to rows: errors, limits, and those of CONSTANTS().
std::map<std::string, std::int64_t> &constants();
std::int64_t constant(const std::string &name);

}  // namespace talvera::test
