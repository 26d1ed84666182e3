// Text to integers of 32 bits, as strtol and strtoul convert where long has 32 bits: the same
// result on machines whose long is wider. errno is left alone.
#pragma once

#include <cstdint>

#include "internal/ascii.h"

namespace talvera {

struct Integer32 {
  const char *end;          // first character that is not part of the number; the start if none is
  std::uint32_t magnitude;  // the greatest value when the number is too large
  bool negative;
  bool overflow;

  // What strtoul gives: a negative number is negated modulo 2^32, unless too large.
  [[nodiscard]] std::uint32_t to_unsigned() const {
    return negative && !overflow ? 0U - magnitude : magnitude;
  }

  // What strtol gives: the nearest value of the type.
  [[nodiscard]] std::int32_t to_signed() const {
    constexpr std::uint32_t kMinimum = 0x80000000U;  // its magnitude
    if (negative) return magnitude < kMinimum ? -static_cast<std::int32_t>(magnitude) : INT32_MIN;
    return magnitude < kMinimum ? static_cast<std::int32_t>(magnitude) : INT32_MAX;
  }
};

// Skips white space, takes a sign, then digits of `base`: 2 to 36, 16 with or without "0x", or
// 0 for what a prefix says: "0x" for 16, "0" for 8, else 10.
[[gnu::noinline]] inline Integer32 parse_integer32(const char *text, unsigned base) {
  Integer32 result{text, 0, false, false};
  const char *p = skip_spaces(text);
  if (*p == '-' || *p == '+') result.negative = *p++ == '-';
  if ((base == 0 || base == 16) && *p == '0' && (p[1] | 0x20) == 'x' && is_hex_digit(p[2])) {
    base = 16;
    p += 2;
  } else if (base == 0) {
    base = *p == '0' ? 8 : 10;
  }
  for (unsigned digit; (digit = digit_value(*p)) < base; result.end = ++p) {
    const std::uint64_t value = std::uint64_t{result.magnitude} * base + digit;
    if (value > UINT32_MAX) result.overflow = true;
    result.magnitude = result.overflow ? UINT32_MAX : static_cast<std::uint32_t>(value);
  }
  return result;
}

}  // namespace talvera
