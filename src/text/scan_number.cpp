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
  return c == 'x' || c == 'X';
}

// Scans a number for all getnum() variants, modulo 2^32.
char *take_number(char *s, std::uint32_t *value, int base) {
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
  std::uint32_t number = 0;
  for (int digit; (digit = digit_value(*p)) < base && digit < 36; ++p)
    number = number * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digit);
  if (p == digits) return s;
  *value = negative ? 0U - number : number;
  return p;
}

// Checks that a conversion consumed the whole text and that the type's greatest value comes from
// exactly the text `greatest`, not from an overflow. 0, or -1 with errno set.
[[gnu::noinline]] int validate(const char *text, const char *end, bool is_greatest,
                               const char *greatest) {
  const bool valid =
      *end == '\0' && (!is_greatest || std::strcmp(skip_spaces(text), greatest) == 0);
  return valid ? 0 : fail(EINVAL);
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *getnum(char *s, unsigned long *value, int base) {
  std::uint32_t number;
  char *const end = take_number(s, &number, base);
  *value = number;
  return end;
}
TALVERA_ALIAS(get_number, getnum);

extern "C" char *gethex(char *s, unsigned long *value) {
  return getnum(s, value, 16);
}
TALVERA_ALIAS(get_hex, gethex);

extern "C" char *getlong(char *s, long *value) {
  std::uint32_t number;
  char *const end = take_number(s, &number, 10);
  *value = static_cast<std::int32_t>(number);
  return end;
}
TALVERA_ALIAS(get_long, getlong);

extern "C" char *getint(char *s, int *value) {
  std::uint32_t number;
  char *const end = take_number(s, &number, 10);
  *value = static_cast<int>(number);
  return end;
}
TALVERA_ALIAS(get_int, getint);

extern "C" char *getushort(char *s, unsigned short *value) {
  std::uint32_t number;
  char *const end = take_number(s, &number, 10);
  *value = static_cast<unsigned short>(number);
  return end;
}
TALVERA_ALIAS(get_ushort, getushort);

extern "C" int ValidateUlong(char *s, unsigned long *value) {
  strip_trailing_white(s);
  const talvera::Integer32 number = talvera::parse_integer32(s, 10);
  *value = number.as_unsigned;
  return validate(s, number.end, *value == UINT32_MAX, "4294967295");
}

extern "C" int ValidateLong(char *s, long *value) {
  strip_trailing_white(s);
  const talvera::Integer32 number = talvera::parse_integer32(s, 10);
  *value = number.as_signed;
  return validate(s, number.end, *value == INT32_MAX, "2147483647");
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
