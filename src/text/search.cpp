// Substring search, prefix match and character sets.
#include <cctype>
#include <cstring>

#include "internal/alias.h"
#include "talvera/strutil.h"

extern "C" char *strncasestr(const char *haystack, const char *needle, int n) {
  if (needle == nullptr || *needle == '\0') return const_cast<char *>(haystack);
  const auto length = static_cast<long>(std::strlen(needle));
  if (haystack == nullptr || n < length) return nullptr;
  const long last = n - length;  // greatest offset of a match
  const char *match = strcasestr(haystack, needle);
  if (match == nullptr || match - haystack > last) return nullptr;
  return const_cast<char *>(match);
}
TALVERA_ALIAS(strnstr_nocase, strncasestr);

extern "C" char *strmatch_lowercase(const char *s, const char *prefix) {
  if (s == nullptr || prefix == nullptr) return const_cast<char *>(s);
  for (; *prefix != '\0'; ++s, ++prefix) {
    const auto expected = static_cast<unsigned char>(*prefix);
    const auto c = static_cast<unsigned char>(*s);
    if (c != expected && std::tolower(c) != expected) return nullptr;
  }
  return const_cast<char *>(s);
}

extern "C" char *GN_StrNotInSet(const char *s, const char *set) {
  s += std::strspn(s, set);
  return *s != '\0' ? const_cast<char *>(s) : nullptr;
}

extern "C" char *GN_StrCharInSet(const char *s, const char *set) {
  return const_cast<char *>(std::strpbrk(s, set));
}
