/** @file
 *  String routines; and, by their headers, all else for text: scanners, encoders, splitters.
 *
 *  @code
 *  const unsigned char mac[6] = {0x02, 0x5A, 0x30, 0x96, 0x02, 0xD0};
 *  char path[64] = "/tmp/", text[19];
 *  str_ncat(path, "leases", sizeof path - 1);
 *  hex_to_str_with_delim(mac, text, ':', 12);  // 02:5a:30:96:02:d0
 *  if (strmatch_lowercase("Host: gateway", "host:") != NULL) puts("a host line");
 *  @endcode
 *
 *  The routines declared here work on NUL-terminated 8-bit strings in buffers of the caller's; none
 *  of them allocates, logs or sets errno. Letter case is that of the C library's current locale.
 *  Where two names are given, they are the same function.
 */
#ifndef TALVERA_STRUTIL_H
#define TALVERA_STRUTIL_H

#include "talvera/api.h"
#include "talvera/args.h"
#include "talvera/encode.h"
#include "talvera/scan.h"

TALVERA_BEGIN_DECLS

/* ---- Searching, appending, changing and hexadecimal text ------------------------------------- */

/** Finds a string near the start of another, ignoring case.
 *
 *  @param haystack  terminated text: the search itself runs to its end; null gives null
 *  @param needle    text to find; null or empty gives @p haystack
 *  @param n         the match must lie wholly within the first @p n characters
 *  @return the first match, or null when there is none or it ends beyond @p n characters
 */
TALVERA_API char *strncasestr(const char *haystack, const char *needle, int n);
/** Same as strncasestr(). @copydetails strncasestr */
TALVERA_API char *strnstr_nocase(const char *haystack, const char *needle, int n);

/** Matches a prefix that is given in lower case.
 *
 *  A character of @p s matches if it, or its lower-case form, is the prefix's: so @p s may be in
 *  any case, while an upper-case letter in @p prefix matches only itself.
 *
 *  @param s       text, or null
 *  @param prefix  prefix in lower case, or null
 *  @return the position in @p s after the prefix, or null when it does not match; @p s when either
 *          is null or the prefix is empty
 */
TALVERA_API char *strmatch_lowercase(const char *s, const char *prefix);

/** Finds what does not belong to a set.
 *
 *  @param s    text to search
 *  @param set  the set of characters
 *  @return the first character of @p s that is not in @p set, or null when there is none
 */
TALVERA_API char *GN_StrNotInSet(const char *s, const char *set) TALVERA_NONNULL(1, 2);

/** Finds what belongs to a set.
 *
 *  @param s    text to search
 *  @param set  the set of characters
 *  @return the first character of @p s that is in @p set, or null when there is none
 */
TALVERA_API char *GN_StrCharInSet(const char *s, const char *set) TALVERA_NONNULL(1, 2);

/** Copies a string without the characters found in a set.
 *
 *  @param[out] dst  room for @p size bytes, and for 1 in any case; always terminated; may be
 *                   @p src
 *  @param src       text to copy
 *  @param drop      characters to leave out
 *  @param size      bytes of room: at most @p size - 1 characters are written
 */
TALVERA_API void strfilt(char *dst, const char *src, const char *drop, int size)
    TALVERA_NONNULL(1, 2, 3);

/** Appends a string.
 *
 *  @param[in,out] dst  text to extend; the room is the caller's affair
 *  @param src          text to append; null appends nothing and returns @p dst itself
 *  @return the new end of @p dst, its terminator
 */
TALVERA_API char *str_cat(char *dst, const char *src) TALVERA_NONNULL(1);
/** Same as str_cat(). @copydetails str_cat */
TALVERA_API char *strcatdest(char *dst, const char *src) TALVERA_NONNULL(1);

/** Appends a string up to a greatest length of the result.
 *
 *  What @p dst holds beyond @p n characters is cut off, all of it when @p n is 0 or less.
 *
 *  @param[in,out] dst  text to extend; room for @p n + 1 bytes (not @p n), and for 1 in any case
 *  @param src          text to append, as much of it as fits
 *  @param n            greatest length of the result in characters
 *  @return the new end of @p dst, its terminator
 */
TALVERA_API char *str_ncat(char *dst, const char *src, int n) TALVERA_NONNULL(1, 2);
/** Same as str_ncat(). @copydetails str_ncat */
TALVERA_API char *strncatdest(char *dst, const char *src, int n) TALVERA_NONNULL(1, 2);

/** Appends copies of a character.
 *
 *  @param[in,out] dst  text to extend; the room is the caller's affair
 *  @param ch           the character
 *  @param count        how many; 0 or less appends none
 *  @return the new end of @p dst, its terminator
 */
TALVERA_API char *str_nfill(char *dst, int ch, int count) TALVERA_NONNULL(1);
/** Same as str_nfill(). @copydetails str_nfill */
TALVERA_API char *strnfilldest(char *dst, int ch, int count) TALVERA_NONNULL(1);

/** Converts a string to upper case in place.
 *
 *  @param[in,out] s  text
 *  @return 0
 */
TALVERA_API int string_toupper(char *s) TALVERA_NONNULL(1);

/** Adds a string to a text that is built twice: first counted, then written.
 *
 *  Run the same calls once with @p buf null to learn the length, and again with room for it.
 *
 *  @param[out] buf     null to count only; else the text, of which @p *len characters are there and
 *                      to which @p str and a terminator are added
 *  @param[in,out] len  length so far, without the terminator; null does nothing
 *  @param str          text to add; null does nothing
 */
TALVERA_API void put_str(char *buf, int *len, const char *str);

/** @return the value, 0 to 15, of a hexadecimal digit in either case, or -1
 *  @param ch  character, of which the low 8 bits count */
TALVERA_API int hex(int ch);

/** Writes bytes as hexadecimal digits in lower case, high digit first.
 *
 *  @param in        (@p digits + 1) / 2 bytes
 *  @param[out] out  room for @p digits + @p digits / 2 + 1 bytes with a delimiter, for @p digits +
 *                   1 without; terminated
 *  @param delim     character between the bytes (written after the last one too, and overwritten by
 *                   what follows it); 0 for none
 *  @param digits    digits to write: with an odd number the last byte gives its high digit only;
 *                   0 or less gives an empty string
 */
TALVERA_API void GN_HexToString(const unsigned char *in, char *out, char delim, int digits)
    TALVERA_NONNULL(2);
/** Same as GN_HexToString(). @copydetails GN_HexToString */
TALVERA_API void hex_to_str_with_delim(const unsigned char *in, char *out, char delim, int digits)
    TALVERA_NONNULL(2);

/** GN_HexToString() without a delimiter.
 *
 *  @param in        (@p digits + 1) / 2 bytes
 *  @param[out] out  room for @p digits + 1 bytes; terminated
 *  @param digits    digits to write, as for GN_HexToString()
 */
TALVERA_API void hex_to_str(const unsigned char *in, char *out, int digits) TALVERA_NONNULL(2);

TALVERA_END_DECLS

#endif
