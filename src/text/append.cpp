// Building text: appending functions that return the new end, filtering, upper-casing, the two-pass
// builder.
#include <cctype>
#include <cstddef>
#include <cstring>

#include "internal/alias.h"
#include "talvera/strutil.h"

extern "C" void strfilt(char *buf, const char *src, const char *drop, int size) {
  for (int room = size; room > 1 && *src != '\0'; ++src) {
    if (std::strchr(drop, *src) != nullptr) continue;
    *buf++ = *src;
    --room;
  }
  *buf = '\0';
}

extern "C" char *str_cat(char *dst, const char *src) {
  if (src == nullptr) return dst;  // intentionally `dst` itself, not the end of its text
  return stpcpy(dst + std::strlen(dst), src);
}
TALVERA_ALIAS(strcatdest, str_cat);

extern "C" char *str_ncat(char *dst, const char *src, int n) {
  const std::size_t limit = n > 0 ? static_cast<std::size_t>(n) : 0;
  const std::size_t kept = strnlen(dst, limit);
  void *const after = memccpy(dst + kept, src, '\0', limit - kept);
  char *const end = after != nullptr ? static_cast<char *>(after) - 1 : dst + limit;
  *end = '\0';  // truncates text that already exceeded the limit
  return end;
}
TALVERA_ALIAS(strncatdest, str_ncat);

extern "C" char *str_nfill(char *dst, int ch, int count) {
  char *end = dst + std::strlen(dst);
  if (count > 0) {
    std::memset(end, ch, static_cast<std::size_t>(count));
    end += count;
  }
  *end = '\0';
  return end;
}
TALVERA_ALIAS(strnfilldest, str_nfill);

extern "C" int string_toupper(char *s) {
  for (; *s != '\0'; ++s)
    *s = static_cast<char>(std::toupper(static_cast<unsigned char>(*s)));
  return 0;
}

extern "C" void put_str(char *buf, int *length, const char *str) {
  if (length == nullptr || str == nullptr) return;
  if (buf == nullptr) {
    *length += static_cast<int>(std::strlen(str));
  } else {
    *length = static_cast<int>(stpcpy(buf + *length, str) - buf);
  }
}
