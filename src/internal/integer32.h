// Conversion of text to 32-bit integers: strtol() and strtoul() with the results of a 32-bit long
// on every machine. Leaves errno unchanged.
#pragma once

#include <cstdint>

#include "internal/ascii.h"

namespace talvera {

struct Integer32 {
  const char *end;            // end of the number; the start of the text if there is none
  std::uint32_t as_unsigned;  // strtoul(): a minus sign negates modulo 2^32; saturates at 2^32 - 1
  std::int32_t as_signed;     // strtol(): clamped to the range of the type
};

// Skips white space, then parses an optional sign and digits of `base`: 2 to 36; 16 accepts a "0x"
// prefix; 0 derives the base from the prefix: "0x" for 16, "0" for 8, otherwise 10.
[[gnu::noinline]] inline Integer32 parse_integer32(const char *text, unsigned base) {
  const char *end = text;
  const char *p = skip_spaces(text);
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  if ((base == 0 || base == 16) && *p == '0') {
    end = p + 1;  // the "0" is a number even if no digit follows the "x"
    if ((p[1] | 0x20) == 'x') {
      base = 16;
      p += 2;
    } else if (base == 0) {
      base = 8;
    }
  }
  if (base == 0) base = 10;
  std::uint32_t magnitude = 0;
  std::uint32_t overflow = 0;
  for (unsigned digit; (digit = digit_value(*p)) < base; end = ++p) {
    const std::uint64_t value = std::uint64_t{magnitude} * base + digit;
    overflow |= static_cast<std::uint32_t>(value >> 32);
    magnitude = static_cast<std::uint32_t>(value);
  }
  if (overflow != 0) magnitude = UINT32_MAX;
  // The largest magnitude of a signed number with this sign.
  const std::uint32_t limit = INT32_MAX + std::uint32_t{negative};
  const std::uint32_t clamped = magnitude < limit ? magnitude : limit;
  return {end, negative && overflow == 0 ? 0U - magnitude : magnitude,
          static_cast<std::int32_t>(negative ? 0U - clamped : clamped)};
}

// Parses a leading decimal number like atoi(); 0 if there is none.
[[gnu::noinline]] inline std::int32_t decimal32(const char *text) {
  return parse_integer32(text, 10).as_signed;
}

}  // namespace talvera
