// ASCII character classes and digit values, independent of the program's locale.
#pragma once

#include <cstdint>

namespace talvera {

constexpr bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

// Space, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool is_space(char c) {
  return c == ' ' || static_cast<std::uint32_t>(c) - '\t' <= '\r' - '\t';
}

// Value of a digit in bases up to 36: 0 to 9, then letters of either case as 10 to 35; 255 for any
// other character. Inlined because a call would cost more.
[[gnu::always_inline]] constexpr std::uint32_t digit_value(char c) {
  const std::uint32_t digit = static_cast<std::uint32_t>(c) - '0';
  if (digit < 10) return digit;
  const std::uint32_t letter = (c & 0xDF) - 'A';
  return letter < 26 ? letter + 10 : 255;
}

inline constexpr char kHexDigits[] = "0123456789abcdef";

constexpr bool is_hex_digit(char c) {
  return digit_value(c) < 16;
}

template <typename Char>
constexpr Char *skip_spaces(Char *s) {
  while (is_space(*s))
    ++s;
  return s;
}

}  // namespace talvera
