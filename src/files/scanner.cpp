// Scanning the fields of a database file.
#include "files/scanner.h"

#include "internal/ascii.h"
#include "talvera/of.h"

namespace talvera::files {

void Scanner::advance() {
  next_ = next_character(file_);
}

inline void Scanner::skip_space() {
  while (is_space(next()))
    advance();
}

// Stores the value that a 32-bit strtol() gives for base 10, or strtoul() for base 16. Returns
// false if there is no digit; a "0x" without a digit after it counts as none.
[[gnu::always_inline]] inline bool Scanner::number(unsigned base, std::int32_t &value) {
  const int sign = next_;
  if (sign == '-' || sign == '+') advance();
  bool found = false;
  if (base == 16 && next_ == '0') {
    advance();
    found = (next_ | 0x20) != 'x';
    if (!found) advance();
  }
  const std::uint32_t most = UINT32_MAX / base;  // the greatest that can take another digit
  std::uint32_t magnitude = 0;
  bool overflow = false;
  for (std::uint32_t digit; (digit = digit_value(next())) < base; advance()) {
    found = true;
    overflow |= magnitude > most;
    magnitude = magnitude * base + digit;
    overflow |= magnitude < digit;
  }
  if (base == 16) {
    if (overflow) magnitude = UINT32_MAX;
  } else if (overflow || magnitude > INT32_MAX) {
    magnitude = sign == '-' ? 0x80000000 : INT32_MAX;
    overflow = true;
  }
  // A minus sign negates only a value that fits.
  value = static_cast<std::int32_t>(sign == '-' && !overflow ? 0 - magnitude : magnitude);
  return found;
}

inline bool Scanner::word(char *name) {
  if (next_ == EOF) return false;
  const char *const last = name + OF_NAME_SIZE - 1;
  for (; next_ != EOF && !is_space(next()); advance()) {
    if (name != last) *name++ = next();
  }
  return true;
}

bool Scanner::scan(const char *pattern, std::int32_t *numbers, char *name) {
  for (char field; (field = *pattern) != '\0'; ++pattern) {
    if (field == '#' || field == ':') {
      if (next_ != field) return false;
      advance();
    } else {
      skip_space();
      const bool found = field == 's' ? word(name) : number(field == 'x' ? 16 : 10, *numbers++);
      if (!found) return false;
    }
  }
  return true;
}

}  // namespace talvera::files
