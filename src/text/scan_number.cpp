// Scanners of numbers in a line, and validation of strings that hold one number.
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "internal/alias.h"
#include "internal/ascii.h"
#include "internal/fail.h"
#include "internal/integer32.h"
#include "talvera/scan.h"

namespace talvera::text {
namespace {

bool is_x(char c) {
  return (c | 0x20) == 'x';
}

// Converts a whole string. Accepts the type's maximum only without a sign or leading zeros, because
// overflow also yields it. Returns 0, or -1 with errno set.
int validate(char *s, unsigned long *value, bool is_signed) {
  strip_trailing_white(s);
  const Integer32 number = parse_integer32(s, 10);
  const char *greatest_text = "4294967295";
  std::uint32_t greatest = UINT32_MAX;
  *value = number.as_unsigned;
  if (is_signed) {
    greatest_text = "2147483647";
    greatest = INT32_MAX;
    *value = static_cast<std::uint32_t>(number.as_signed);
  }
  const bool valid =
      *number.end == '\0' && (*value != greatest || std::strcmp(skip_space(s), greatest_text) == 0);
  return valid ? 0 : fail(EINVAL);
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *getnum(char *s, unsigned long *value, int base) {
  char *p = skip_blank(s);
  *value = 0;
  const bool negative = *p == '-';
  if (negative) {
    ++p;
  } else if (*p != '\0' && p[1] == '+') {
    return s;  // intentional: a "+" as the second character makes the number invalid
  }
  if ((base == 0 || base == 16) && *p == '0' && is_x(p[1])) {
    base = 16;
    p += 2;
  }

  const char *const digits = p;
  std::uint32_t number = 0;  // wraps
  for (int digit; (digit = talvera::digit_value(*p)) < base && digit < 36; ++p)
    number = number * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digit);
  if (p == digits) return s;
  *value = negative ? 0U - number : number;
  return p;
}
TALVERA_ALIAS(get_number, getnum);

extern "C" char *gethex(char *s, unsigned long *value) {
  return getnum(s, value, 16);
}
TALVERA_ALIAS(get_hex, gethex);

extern "C" char *getlong(char *s, long *value) {
  char *const end = getnum(s, reinterpret_cast<unsigned long *>(value), 10);
  *value = static_cast<std::int32_t>(*value);  // extends the sign where long has 64 bits
  return end;
}
TALVERA_ALIAS(get_long, getlong);

extern "C" char *getint(char *s, int *value) {
  unsigned long number;
  char *const end = getnum(s, &number, 10);
  *value = static_cast<int>(number);
  return end;
}
TALVERA_ALIAS(get_int, getint);

extern "C" char *getushort(char *s, unsigned short *value) {
  unsigned long number;
  char *const end = getnum(s, &number, 10);
  *value = static_cast<unsigned short>(number);
  return end;
}
TALVERA_ALIAS(get_ushort, getushort);

extern "C" int ValidateUlong(char *s, unsigned long *value) {
  return validate(s, value, false);
}

extern "C" int ValidateLong(char *s, long *value) {
  const int result = validate(s, reinterpret_cast<unsigned long *>(value), true);
  *value = static_cast<std::int32_t>(*value);  // extends the sign where long has 64 bits
  return result;
}

extern "C" int isxstring(const char *s) {
  if (s == nullptr || *s == '\0') return 0;
  if (*s == '0') ++s;
  if (is_x(*s)) ++s;
  while (talvera::is_hex_digit(*s))
    ++s;
  return *s == '\0' ? 1 : 0;
}
TALVERA_ALIAS(StringIsHexDigits, isxstring);
