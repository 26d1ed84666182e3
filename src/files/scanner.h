// Scans the fields of a database file from a stream. As with scanf(), white space before a number
// or name is skipped; numbers saturate at 32-bit limits on every machine.
#pragma once

#include <cstdint>
#include <cstdio>

#include "internal/streams.h"

namespace talvera::files {

class Scanner {
 public:
  explicit Scanner(std::FILE *file) : file_(file) { advance(); }

  // Scans fields as in `pattern`: 'd' is a decimal and 'x' a hexadecimal number, stored in the next
  // element of `numbers`; 's' is a run of characters other than white space, truncated to fit
  // `name`, whose OF_NAME_SIZE bytes must be zero; '#' and ':' match themselves. Returns whether
  // all fields are present. A mismatch may consume the start of a field.
  bool scan(const char *pattern, std::int32_t *numbers, char *name = nullptr);

 private:
  void advance();
  // The lookahead character; EOF becomes a character that is neither white space nor a digit.
  [[nodiscard]] char next() const { return static_cast<char>(next_); }
  void skip_space();
  bool number(unsigned base, std::int32_t &value);
  bool word(char *name);

  std::FILE *file_;
  int next_;  // lookahead character, or EOF
};

}  // namespace talvera::files
