// Values in a table: how they are written and shown.
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

// A row that makes no sense; its text becomes the row's outcome.
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
    kSize,    // #  #-1: the size of the buffer in the argument before (or else after) it
    kName,    // SIGTERM  list_comparator_int8_t
    kObject,  // $list
    kRecord,  // (1 2 3)
  };
  Kind kind = kUnset;
  std::int64_t number = 0;  // of kNumber; what is added to kSize
  double real = 0;
  std::string bytes;     // content with its terminator; the name of kName and kObject
  std::size_t size = 0;  // bytes of the buffer that holds the content
  std::vector<Value> fields = {};
};

std::vector<Value> parse_values(std::string_view text);

// All texts that come of {a, b} and {1..9}; {=} is the first brace's choice once more.
std::vector<std::string> expand_braces(const std::string &text);

// Splits at a separator that stands outside of quotes, parentheses and braces.
std::vector<std::string> split(std::string_view text, std::string_view separator);
std::string trimmed(std::string_view text);

// Bytes as a table writes them: "text" with a terminator, b"bytes" without one; with `prefer_hex`
// as x"00FF" when a byte is not printable.
std::string in_quotes(std::string_view bytes, bool prefer_hex = false);

// Runs of equal tokens, or of equal pairs and triples, as token*2 or (one two)*2; the others as
// they are, with `separator` between.
std::string collapsed(const std::vector<std::string> &tokens, const char *separator);

// "EIO"; the number of an unusual error.
std::string error_name(int error);
// A text with the messages of the C library's errors as <EIO>.
std::string with_error_names(std::string text);

// A list of names as a map to their values.
std::map<std::string, std::int64_t> named(const char *list,
                                          std::initializer_list<std::int64_t> values);
// Constants that rows may name: errors, limits, and those of CONSTANTS().
std::map<std::string, std::int64_t> &constants();
std::int64_t constant(const std::string &name);

}  // namespace talvera::test
