// Fields of a database file.
#include "files/scanner.h"

#include "internal/ascii.h"

namespace talvera::files {

void Scanner::advance() {
  next_ = next_character(file_);
}

void Scanner::skip_space() {
  while (is_space(next()))
    advance();
}

bool Scanner::character(char wanted) {
  if (next_ != wanted) return false;
  advance();
  return true;
}

bool Scanner::minus() {
  const bool negative = next_ == '-';
  if (negative || next_ == '+') advance();
  return negative;
}

bool Scanner::digits(std::uint32_t base, std::uint64_t limit, std::uint64_t &value) {
  if (digit_value(next()) >= base) return false;
  value = 0;
  for (; digit_value(next()) < base; advance()) {
    value = value * base + digit_value(next());
    if (value > limit) value = limit;
  }
  return true;
}

bool Scanner::decimal(std::int32_t &value) {
  skip_space();
  const bool negative = minus();
  std::uint64_t magnitude;
  if (!digits(10, negative ? 0x80000000U : 0x7FFFFFFFU, magnitude)) return false;
  value = static_cast<std::int32_t>(negative ? 0 - magnitude : magnitude);
  return true;
}

bool Scanner::hexadecimal(std::uint32_t &value) {
  skip_space();
  const bool negative = minus();
  const bool zero = character('0');
  const bool prefixed = zero && (character('x') || character('X'));
  std::uint64_t magnitude = 0;
  if (!digits(16, UINT32_MAX + UINT64_C(1), magnitude) && (!zero || prefixed)) return false;
  // As with strtoul() the minus counts only for what fits.
  if (magnitude > UINT32_MAX) {
    value = UINT32_MAX;
  } else {
    value = static_cast<std::uint32_t>(negative ? 0 - magnitude : magnitude);
  }
  return true;
}

bool Scanner::word(std::span<char> name) {
  skip_space();
  if (next_ == EOF) return false;
  std::size_t length = 0;
  for (; next_ != EOF && !is_space(next()); advance()) {
    if (length + 1 < name.size()) name[length++] = next();
  }
  return true;
}

}  // namespace talvera::files
