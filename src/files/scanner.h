// Scans the fields of a database file from a stream. As with scanf(), white space before a field is
// skipped; numbers saturate at 32-bit limits on every machine.
#pragma once

#include <cstdint>
#include <cstdio>

#include "internal/streams.h"

namespace talvera::files {

class Scanner {
 public:
  explicit Scanner(std::FILE *file) : file_(file) { advance(); }

  // Scans the fields of `pattern`: 'd' stands for a decimal number, 'x' for a hexadecimal one,
  // stored in turn in `numbers`; 's' for a run of characters other than white space, truncated to
  // fit into the OF_NAME_SIZE bytes of `name`, which must be zero; any other character for itself.
  // Returns whether all are present. A mismatch may consume the start of a field.
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
