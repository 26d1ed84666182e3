// Scanning the fields of a database file.
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

Scanner::Digits Scanner::digits(std::uint32_t base, std::uint32_t limit, std::uint32_t &value) {
  Digits found = Digits::kNone;
  value = 0;
  for (std::uint32_t digit; (digit = digit_value(next())) < base; advance()) {
    if (found == Digits::kNone) found = Digits::kFit;
    const std::uint64_t more = std::uint64_t{value} * base + digit;
    value = static_cast<std::uint32_t>(more);
    if (more > limit || found == Digits::kOverflow) {
      found = Digits::kOverflow;
      value = limit;
    }
  }
  return found;
}

bool Scanner::decimal(std::int32_t &value) {
  skip_space();
  const bool negative = minus();
  std::uint32_t magnitude;
  if (digits(10, INT32_MAX + std::uint32_t{negative}, magnitude) == Digits::kNone) return false;
  value = static_cast<std::int32_t>(negative ? 0 - magnitude : magnitude);
  return true;
}

bool Scanner::hexadecimal(std::uint32_t &value) {
  skip_space();
  const bool negative = minus();
  const bool zero = character('0');
  const bool prefixed = zero && (character('x') || character('X'));
  std::uint32_t magnitude;
  const Digits found = digits(16, UINT32_MAX, magnitude);
  if (found == Digits::kNone && (!zero || prefixed)) return false;
  // As with strtoul(), a minus negates only a value that fits.
  value = negative && found != Digits::kOverflow ? 0 - magnitude : magnitude;
  return true;
}

bool Scanner::word(char *name, std::size_t size) {
  skip_space();
  if (next_ == EOF) return false;
  const char *const last = name + size - 1;
  for (; next_ != EOF && !is_space(next()); advance()) {
    if (name != last) *name++ = next();
  }
  return true;
}

}  // namespace talvera::files
