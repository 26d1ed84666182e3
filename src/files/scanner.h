// Reads the fields of a database file from a stream. As with scanf, white space before a field does
// not count; numbers saturate at the limits of 32 bits on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "internal/streams.h"

namespace talvera::files {

class Scanner {
 public:
  explicit Scanner(std::FILE *file) : file_(file), next_(next_character(file)) {}

  // Each tells whether the field was there. What was not is left unread but for its beginning.
  bool character(char wanted);
  bool decimal(std::int32_t &value);
  bool hexadecimal(std::uint32_t &value);
  // A run of what is not white space, cut to fit with a terminator into `name` of
  // `size` bytes, which are all zero.
  bool word(char *name, std::size_t size);

 private:
  void advance();
  // Behind the last character one that is neither white space nor a digit.
  [[nodiscard]] char next() const { return static_cast<char>(next_); }
  void skip_space();
  // A sign, if there is one; tells whether it is a minus.
  bool minus();
  enum class Digits { kNone, kFit, kTooMany };
  // Digits below `base`, up to `limit`; more gives the limit.
  Digits digits(std::uint32_t base, std::uint32_t limit, std::uint32_t &value);

  std::FILE *file_;
  int next_;  // the character to be read next, or EOF
};

}  // namespace talvera::files
