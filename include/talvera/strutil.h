/* String routines.
 *
 * All work on NUL-terminated 8-bit strings in buffers of the caller's; none allocates, logs or sets
 * errno. Letter case is that of the C library's current locale. Where two names are given, they are
 * the same function.
 */
#ifndef TALVERA_STRUTIL_H
#define TALVERA_STRUTIL_H

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/* ---- Searching, appending, changing and hexadecimal text ------------------------------------ */

/** Finds a string near the start of another, ignoring case.
 *
 *  @param haystack  terminated text: the search itself runs to its end; null gives null
 *  @param needle    text to find; null or empty gives @p haystack
 *  @param n         the match must lie wholly within the first @p n characters
 *  @return the first match, or null when there is none or it ends beyond @p n characters
 */
TALVERA_API char *strncasestr(const char *haystack, const char *needle, int n);
TALVERA_API char *strnstr_nocase(const char *haystack, const char *needle, int n);

TALVERA_END_DECLS

#endif
