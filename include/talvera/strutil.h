/** @defgroup talvera_strutil Strings
 *  Searches, appends, converts and filters strings in the caller's buffers.
 *
 *  @include strutil.c
 *
 *  This header also includes those of @ref talvera_scan "scanning", @ref talvera_encode "encoding"
 *  and @ref talvera_args "arguments". The functions declared here work on NUL-terminated 8-bit
 *  strings; none of them allocates, logs or sets errno. Letter case follows the C library's current
 *  locale.
 *  @{ */
#ifndef TALVERA_STRUTIL_H
#define TALVERA_STRUTIL_H

#include "talvera/api.h"
#include "talvera/args.h"
#include "talvera/encode.h"
#include "talvera/scan.h"

TALVERA_BEGIN_DECLS

/** @name Searching
 *  @{ */

/** Finds a string near the start of another, ignoring case.
 *
 *  @param haystack  string to search, read past @p n characters if needed; null gives null
 *  @param needle    string to find; null or empty gives @p haystack
 *  @param n         the match must be entirely within the first @p n characters
 *  @return the first match; null when there is none or it extends past @p n characters
 */
TALVERA_API char *strncasestr(const char *haystack, const char *needle, int n);
/** Same as strncasestr(). @copydetails strncasestr */
TALVERA_API char *strnstr_nocase(const char *haystack, const char *needle, int n);

/** Matches a prefix that is given in lower case.
 *
 *  A character of @p s matches if it, or its lower-case form, equals the prefix's: @p s may be in
 *  any case, but an upper-case letter in @p prefix matches only itself.
 *
 *  @param s       string, or null
 *  @param prefix  prefix in lower case, or null
 *  @return the position in @p s after the prefix; null when it does not match; @p s when either is
 *          null or the prefix is empty
 */
TALVERA_API char *strmatch_lowercase(const char *s, const char *prefix);

/** Finds the first character that is not in a set.
 *
 *  @param s    string to search
 *  @param set  the set of characters
 *  @return the first character of @p s that is not in @p set; null when there is none
 */
TALVERA_API char *GN_StrNotInSet(const char *s, const char *set) TALVERA_NONNULL(1, 2);

/** Finds the first character that is in a set.
 *
 *  @param s    string to search
 *  @param set  the set of characters
 *  @return the first character of @p s that is in @p set; null when there is none
 */
TALVERA_API char *GN_StrCharInSet(const char *s, const char *set) TALVERA_NONNULL(1, 2);

/** @}
 *  @name Copying and appending
 *  @{ */

/** Copies a string without the characters in a set.
 *
 *  @param[out] buf  at least @p size bytes, and at least 1; always terminated; may be @p src
 *  @param src       string to copy
 *  @param drop      characters to leave out
 *  @param size      size of @p buf in bytes: at most @p size - 1 characters are written
 */
TALVERA_API void strfilt(char *buf, const char *src, const char *drop, int size)
    TALVERA_NONNULL(1, 2, 3);

/** Appends a string. The caller ensures that the buffer is large enough.
 *
 *  @param[in,out] dst  string to extend
 *  @param src          string to append; null appends nothing and returns @p dst itself
 *  @return the new end of @p dst, its terminator
 */
TALVERA_API char *str_cat(char *dst, const char *src) TALVERA_NONNULL(1);
/** Same as str_cat(). @copydetails str_cat */
TALVERA_API char *strcatdest(char *dst, const char *src) TALVERA_NONNULL(1);

/** Appends a string, up to a maximum length of the result.
 *
 *  Content of @p dst beyond @p n characters is cut off, all of it when @p n is 0 or less.
 *
 *  @param[in,out] dst  string to extend, in a buffer of at least @p n + 1 bytes (not @p n), and at
 *                      least 1
 *  @param src          string to append, as much of it as fits
 *  @param n            maximum length of the result in characters
 *  @return the new end of @p dst, its terminator
 */
TALVERA_API char *str_ncat(char *dst, const char *src, int n) TALVERA_NONNULL(1, 2);
/** Same as str_ncat(). @copydetails str_ncat */
TALVERA_API char *strncatdest(char *dst, const char *src, int n) TALVERA_NONNULL(1, 2);

/** Appends copies of a character. The caller ensures that the buffer is large enough.
 *
 *  @param[in,out] dst  string to extend
 *  @param ch           the character
 *  @param count        number of copies; 0 or less appends none
 *  @return the new end of @p dst, its terminator
 */
TALVERA_API char *str_nfill(char *dst, int ch, int count) TALVERA_NONNULL(1);
/** Same as str_nfill(). @copydetails str_nfill */
TALVERA_API char *strnfilldest(char *dst, int ch, int count) TALVERA_NONNULL(1);

/** Appends to a string that is built in two passes: the first counts, the second writes.
 *
 *  Starting from length 0, make the same calls once with @p buf null to learn the length; then,
 *  from length 0 again, with a buffer of at least that many bytes plus one.
 *
 *  @param[out] buf        null to count only; otherwise a string of @p *length characters, to which
 *                         @p str and a terminator are appended
 *  @param[in,out] length  length so far, without the terminator; null does nothing
 *  @param str             string to append; null does nothing
 */
TALVERA_API void put_str(char *buf, int *length, const char *str);

/** Converts a string to upper case in place.
 *
 *  @param[in,out] s  string
 *  @return 0
 */
TALVERA_API int string_toupper(char *s) TALVERA_NONNULL(1);

/** @}
 *  @name Hexadecimal text
 *  @{ */

/** Converts a hexadecimal digit.
 *
 *  @param ch  character in either case; only the low 8 bits count
 *  @return its value, 0 to 15; -1 when it is not a hexadecimal digit
 */
TALVERA_API int hex(int ch);

/** Writes bytes as lower-case hexadecimal digits, high digit first.
 *
 *  @param data      (@p digits + 1) / 2 bytes; may be null when @p digits is 0 or less
 *  @param[out] buf  at least @p digits + @p digits / 2 + 1 bytes with a delimiter, @p digits + 1
 *                   bytes without; terminated
 *  @param delim     character between the bytes, 0 for none; when @p digits is even, it is also
 *                   written after the last byte and then overwritten by the terminator
 *  @param digits    number of digits: when odd, the last byte gives only its high digit; 0 or less
 *                   gives an empty string
 */
TALVERA_API void GN_HexToString(const unsigned char *data, char *buf, char delim, int digits)
    TALVERA_NONNULL(2);
/** Same as GN_HexToString(). @copydetails GN_HexToString */
TALVERA_API void hex_to_str_with_delim(const unsigned char *data, char *buf, char delim, int digits)
    TALVERA_NONNULL(2);

/** Writes bytes as GN_HexToString() does, without a delimiter.
 *
 *  @param data      (@p digits + 1) / 2 bytes; may be null when @p digits is 0 or less
 *  @param[out] buf  at least @p digits + 1 bytes; terminated
 *  @param digits    number of digits, as for GN_HexToString()
 */
TALVERA_API void hex_to_str(const unsigned char *data, char *buf, int digits) TALVERA_NONNULL(2);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
