// Scans the fields of a database file from a stream. As with scanf(), white space before a field is
// skipped; numbers saturate at 32-bit limits on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "internal/streams.h"

namespace talvera::files {

class Scanner {
 public:
  explicit Scanner(std::FILE *file) : file_(file), next_(next_character(file)) {}

  // Each returns whether the field is present. A mismatch may consume the start of the field.
  bool character(char wanted);
  bool decimal(std::int32_t &value);
  bool hexadecimal(std::uint32_t &value);
  // A run of characters other than white space, truncated to fit into `name` of `size` bytes, which
  // must be zero.
  bool word(char *name, std::size_t size);

 private:
  void advance();
  // The lookahead character; EOF becomes a character that is neither white space nor a digit.
  [[nodiscard]] char next() const { return static_cast<char>(next_); }
  void skip_space();
  // An optional sign; true for a minus.
  bool minus();
  enum class Digits { kNone, kFit, kOverflow };
  // Digits of `base`; a value above `limit` becomes `limit`.
  Digits digits(std::uint32_t base, std::uint32_t limit, std::uint32_t &value);

  std::FILE *file_;
  int next_;  // lookahead character, or EOF
};

}  // namespace talvera::files
