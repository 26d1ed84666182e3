// Text to integers of 32 bits, as strtol and strtoul convert where long has 32 bits: the same
// result on machines whose long is wider. errno is left alone.
#pragma once

#include <cstdint>

#include "internal/ascii.h"

namespace talvera {

struct Integer32 {
  const char *end;  // first character that is not part of the number; the start if none is
  std::uint32_t as_unsigned;  // what strtoul gives: negated modulo 2^32, unless too large
  std::int32_t as_signed;     // what strtol gives: the nearest value of the type
};

// Skips white space, takes a sign, then digits of `base`: 2 to 36, 16 with or without "0x", or
// 0 for what a prefix says: "0x" for 16, "0" for 8, else 10.
[[gnu::noinline]] inline Integer32 parse_integer32(const char *text, unsigned base) {
  const char *end = text;
  const char *p = skip_spaces(text);
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  if ((base == 0 || base == 16) && *p == '0' && (p[1] | 0x20) == 'x' && is_hex_digit(p[2])) {
    base = 16;
    p += 2;
  } else if (base == 0) {
    base = *p == '0' ? 8 : 10;
  }
  std::uint32_t magnitude = 0;
  bool overflow = false;
  for (unsigned digit; (digit = digit_value(*p)) < base; end = ++p) {
    const std::uint64_t value = std::uint64_t{magnitude} * base + digit;
    overflow |= value > UINT32_MAX;
    magnitude = static_cast<std::uint32_t>(value);
  }
  if (overflow) magnitude = UINT32_MAX;
  // The most that a signed number of this sign can be.
  const std::uint32_t most = INT32_MAX + std::uint32_t{negative};
  const std::uint32_t nearest = magnitude < most ? magnitude : most;
  return {end, negative && !overflow ? 0U - magnitude : magnitude,
          static_cast<std::int32_t>(negative ? 0U - nearest : nearest)};
}

// The number that a text begins with, as atoi() reads it; 0 if there is none.
[[gnu::noinline]] inline std::int32_t decimal32(const char *text) {
  return parse_integer32(text, 10).as_signed;
}

}  // namespace talvera
