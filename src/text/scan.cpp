// Scanners of words and strings in a line.
#include "talvera/scan.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/alias.h"
#include "internal/ascii.h"

namespace talvera::text {
namespace {

// Bytes from 128 up are negative here on every machine, so they intentionally end words.
bool below_33(char c) {
  return static_cast<signed char>(c) < 33;
}

// Returned for a null string. May be in read-only memory: an empty string has no characters to
// change.
char *static_empty() {
  return const_cast<char *>("");
}

// Parses the escape sequence after a "^" and returns its end. Sets `*byte` to 0 for an invalid
// escape.
char *take_escape(char *p, char *byte) {
  *byte = *p;
  if (*p == '\0') return p;
  if ((*p++ | 0x20) != 'x') return p;

  unsigned value = 0;
  int digits = 0;
  for (; digits < 2 && is_hex_digit(*p); ++digits)
    value = value * 16 + digit_value(*p++);
  *byte = digits == 2 ? static_cast<char>(value) : '\0';
  return p;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *skip_space(char *s) {
  return s == nullptr ? static_empty() : talvera::skip_spaces(s);
}

extern "C" char *skip_blank(char *s) {
  if (s == nullptr) return static_empty();
  while (talvera::is_blank(*s))
    ++s;
  return s;
}
TALVERA_ALIAS(skipwhitespace, skip_blank);

extern "C" char *skip_nonspace(char *s) {
  while (*s != '\0' && !talvera::is_space(*s))
    ++s;
  return s;
}

extern "C" char *skip_nonblank(char *s) {
  while (*s != '\0' && !talvera::is_blank(*s))
    ++s;
  return s;
}
TALVERA_ALIAS(skipnonwhitespace, skip_nonblank);

extern "C" char *getword(char *s, char *buf, int size) {
  if (size < 1) return s;
  char *p = skip_blank(s);
  while (!below_33(*p)) {
    *buf++ = *p++;
    // Intentionally checked after the copy: size 1 still stores a character and the terminator.
    if (--size <= 1) {
      p = skip_nonblank(p);
      break;
    }
  }
  if (*p != '\0') ++p;
  p = skip_blank(p);
  *buf = '\0';  // last: if `buf` is `s`, this overwrites the character after the word
  return p;
}
TALVERA_ALIAS(get_word, getword);

extern "C" char *getstring(char *s, char *buf, int size, int delim) {
  char *p = skip_blank(s);
  bool quoted = *p == '"';
  if (quoted) ++p;

  while (*p != '\0' && *p != static_cast<char>(delim) && size > 0) {
    char c = *p++;
    if (c == '"') {
      quoted = !quoted;
      continue;
    }
    if (!quoted && talvera::is_blank(c)) {
      p = skip_blank(p);
      break;
    }
    if (c == '^') {
      p = take_escape(p, &c);
      if (c == '\0') continue;
    }
    *buf++ = c;
    --size;
  }
  *buf = '\0';  // intentionally buf[size] after `size` characters
  return p;
}
TALVERA_ALIAS(get_string, getstring);

extern "C" void strip_trailing_white(char *s) {
  const std::size_t length = std::strlen(s);
  if (length > INT16_MAX) return;
  for (std::size_t i = length; i > 0 && below_33(s[i - 1]); --i)
    s[i - 1] = '\0';
}
