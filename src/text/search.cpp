// Searches and character sets.
#include <cstring>

#include "internal/alias.h"
#include "talvera/strutil.h"

extern "C" char *strncasestr(const char *haystack, const char *needle, int n) {
  if (needle == nullptr || *needle == '\0') return const_cast<char *>(haystack);
  const auto length = static_cast<long>(std::strlen(needle));
  if (haystack == nullptr || n < length) return nullptr;
  const char *match = strcasestr(haystack, needle);
  if (match == nullptr || match - haystack > n - length) return nullptr;
  return const_cast<char *>(match);
}
TALVERA_ALIAS(strnstr_nocase, strncasestr);
