// Classes of 8-bit characters, those of the POSIX locale whatever locale the program has set.
#pragma once

#include <cstdint>

namespace talvera {

constexpr bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

// Space, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool is_space(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// Value of a decimal digit or a letter (10 to 35 in either case), the digits of bases up to 36; 255
// for any other character.
constexpr std::uint8_t digit_value(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
  const char lower = static_cast<char>(c | 0x20);
  if (lower >= 'a' && lower <= 'z') return static_cast<std::uint8_t>(lower - 'a' + 10);
  return 255;
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
