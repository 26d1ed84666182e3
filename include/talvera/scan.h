/** @defgroup talvera_scan Scanning
 *  Parses words, strings, numbers and addresses along a line of text.
 *
 *  @include scan.c
 *
 *  Each scanner takes a pointer into a NUL-terminated 8-bit string and returns where it stopped, so
 *  that calls chain along a line. A scanner of numbers or addresses that finds none returns the
 *  pointer it was given and does not set errno. Nothing is logged. No scanner reads before the
 *  start of the string or past its terminator.
 *
 *  Blanks are space and tab. White space is the isspace() class of the POSIX locale (space, tab,
 *  line feed, vertical tab, form feed, carriage return), whatever locale the program has set. Where
 *  an entry says "below 33", bytes are read as signed characters, so bytes of 128 and above are
 *  below 33 too: they end words, and are stripped as trailing white space.
 *
 *  Numbers have 32 bits on every machine: an unsigned long receives 0 to 4294967295, a long
 *  -2147483648 to 2147483647.
 *  @{ */
#ifndef TALVERA_SCAN_H
#define TALVERA_SCAN_H

#include <net/ethernet.h>
#include <netinet/in.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Skipping
 *  @{ */

/** Skips white space.
 *
 *  @param s  string, or null
 *  @return the first character of @p s that is not white space, possibly the terminator; a constant
 *          empty string when @p s is null
 */
TALVERA_API char *skip_space(char *s);

/** Skips blanks.
 *
 *  @param s  string, or null
 *  @return the first character of @p s that is not a blank, possibly the terminator; a constant
 *          empty string when @p s is null
 */
TALVERA_API char *skip_blank(char *s);
/** Same as skip_blank(). @copydetails skip_blank */
TALVERA_API char *skipwhitespace(char *s);

/** Skips to white space.
 *
 *  @param s  string
 *  @return the first white-space character in @p s, or its terminator
 */
TALVERA_API char *skip_nonspace(char *s) TALVERA_NONNULL(1);

/** Skips to a blank.
 *
 *  @param s  string
 *  @return the first blank in @p s, or its terminator
 */
TALVERA_API char *skip_nonblank(char *s) TALVERA_NONNULL(1);
/** Same as skip_nonblank(). @copydetails skip_nonblank */
TALVERA_API char *skipnonwhitespace(char *s) TALVERA_NONNULL(1);

/** @}
 *  @name Words and strings
 *  @{ */

/** Parses a word.
 *
 *  Leading blanks are skipped. The word ends before the first character below 33, which is consumed
 *  together with the blanks after it. Once @p size - 1 characters have been read, even when the
 *  word ends there, everything up to the next blank is skipped, line feeds included.
 *
 *  @param s         string; null reads as empty
 *  @param[out] buf  receives the word, terminated; unchanged when @p size is below 1; may be @p s
 *  @param size      size of @p buf in bytes; intentionally, a size of 1 still writes up to 2 bytes,
 *                   a character and the terminator
 *  @return where the next word can be read; @p s when @p size is below 1
 */
TALVERA_API char *getword(char *s, char *buf, int size);
/** Same as getword(). @copydetails getword */
TALVERA_API char *get_word(char *s, char *buf, int size);

/** Parses a string, which may be quoted and contain escapes.
 *
 *  Leading blanks are skipped. A double quote switches quoting on or off and is not part of the
 *  string; blanks inside quotes are, and a blank outside quotes ends the string. Escapes work
 *  inside quotes and outside: "^x" or "^X" and two hexadecimal digits give that byte (nothing when
 *  it is 0 or digits are missing); "^" and any other character give that character; a "^" at the
 *  very end gives nothing.
 *
 *  @param s         string; null reads as empty
 *  @param[out] buf  receives the string, terminated; at least @p size + 1 bytes, and at least 1
 *  @param size      maximum number of characters, without the terminator; below 1 none
 *  @param delim     character (low 8 bits) that ends the string, even inside quotes; 0 for none. A
 *                   double quote that begins the string does not end it
 *  @return where the string ended: at the delimiter, at the first character that did not fit, after
 *          the blanks that end it, or at the terminator
 */
TALVERA_API char *getstring(char *s, char *buf, int size, int delim) TALVERA_NONNULL(2);
/** Same as getstring(). @copydetails getstring */
TALVERA_API char *get_string(char *s, char *buf, int size, int delim) TALVERA_NONNULL(2);

/** Replaces all characters below 33 at the end of a string with terminators.
 *
 *  @param[in,out] s  string of fewer than 32768 characters; a longer one is left unchanged
 */
TALVERA_API void strip_trailing_white(char *s) TALVERA_NONNULL(1);

/** @}
 *  @name Numbers
 *  @{ */

/** Checks that a whole string is one unsigned decimal number.
 *
 *  White space may surround the number; trailing white space is stripped from the caller's string,
 *  as strip_trailing_white() does. An empty string is 0. A string that converts to the maximum is
 *  valid only when it is exactly the maximum, in plain decimal, which rejects larger numbers.
 *  Intentionally, nothing else is checked for range: "-5" gives 4294967291.
 *
 *  @param[in,out] s   string
 *  @param[out] value  the converted number, even when the string is invalid
 *  @return 0 when valid; -1 with errno EINVAL when not
 */
TALVERA_API int ValidateUlong(char *s, unsigned long *value) TALVERA_NONNULL(1, 2);
/** Checks that a whole string is one signed decimal number, as ValidateUlong() does; intentionally,
 *  "-99999999999" gives -2147483648.
 *
 *  @param[in,out] s   string
 *  @param[out] value  the converted number, even when the string is invalid
 *  @return 0 when valid; -1 with errno EINVAL when not
 */
TALVERA_API int ValidateLong(char *s, long *value) TALVERA_NONNULL(1, 2);

/** Parses a number.
 *
 *  Leading blanks are skipped. A "-" negates the number modulo 2^32. A "+" is accepted neither as
 *  the first character nor, intentionally, as the second: "5+3" fails as a whole. Digits are 0 to 9
 *  and letters in either case. Overflow wraps at 32 bits.
 *
 *  @param s           string; null reads as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @param base        up to 36; base 16 accepts a prefix "0x" or "0X". Base 0 is hexadecimal with a
 *                     mandatory prefix: a number without it fails
 *  @return the first character after the number; @p s when no digit was read
 */
TALVERA_API char *getnum(char *s, unsigned long *value, int base) TALVERA_NONNULL(2);
/** Same as getnum(). @copydetails getnum */
TALVERA_API char *get_number(char *s, unsigned long *value, int base) TALVERA_NONNULL(2);

/** Parses a hexadecimal number, as getnum() does in base 16.
 *
 *  @param s           string; null reads as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return the first character after the number; @p s when no digit was read
 */
TALVERA_API char *gethex(char *s, unsigned long *value) TALVERA_NONNULL(2);
/** Same as gethex(). @copydetails gethex */
TALVERA_API char *get_hex(char *s, unsigned long *value) TALVERA_NONNULL(2);

/** Parses a decimal number, as getnum() does, and interprets it as a signed 32-bit number.
 *
 *  @param s           string; null reads as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return the first character after the number; @p s when no digit was read
 */
TALVERA_API char *getlong(char *s, long *value) TALVERA_NONNULL(2);
/** Same as getlong(). @copydetails getlong */
TALVERA_API char *get_long(char *s, long *value) TALVERA_NONNULL(2);
/** Parses a decimal number into an int, as getlong() does.
 *
 *  @param s           string; null reads as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return the first character after the number; @p s when no digit was read
 */
TALVERA_API char *getint(char *s, int *value) TALVERA_NONNULL(2);
/** Same as getint(). @copydetails getint */
TALVERA_API char *get_int(char *s, int *value) TALVERA_NONNULL(2);

/** Parses a decimal number, as getnum() does, and stores its low 16 bits.
 *
 *  @param s           string; null reads as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return the first character after the number; @p s when no digit was read
 */
TALVERA_API char *getushort(char *s, unsigned short *value) TALVERA_NONNULL(2);
/** Same as getushort(). @copydetails getushort */
TALVERA_API char *get_ushort(char *s, unsigned short *value) TALVERA_NONNULL(2);

/** Checks whether a string is hexadecimal: digits, with an optional prefix "0x", "0X", "x" or "X".
 *  Intentionally, a prefix alone counts too.
 *
 *  @param s  the string, or null
 *  @return 1 when it is; 0 when it is not, is empty, or is null
 */
TALVERA_API int isxstring(const char *s);
/** Same as isxstring(). @copydetails isxstring */
TALVERA_API int StringIsHexDigits(const char *s);

/** @}
 *  @name Addresses
 *  @{ */

/** Parses an IPv4 address: a dotted quad as inet_pton() accepts it, starting at @p s (blanks are
 *  not skipped) and ending before white space.
 *
 *  @param s          string
 *  @param[out] addr  the address in network byte order; unchanged on failure
 *  @return the first white-space character after the address, or the terminator; @p s on failure
 */
TALVERA_API char *getip(char *s, struct in_addr *addr) TALVERA_NONNULL(1, 2);
/** Same as getip(). @copydetails getip */
TALVERA_API char *get_ip(char *s, struct in_addr *addr) TALVERA_NONNULL(1, 2);

/** Parses a MAC address as ether_aton_r() accepts it: six groups of one or two hexadecimal digits,
 *  separated by ":", starting at @p s (blanks are not skipped) and ending before white space, at
 *  most 19 characters. Characters after a sixth group of two digits are ignored; after one of a
 *  single digit nothing may follow.
 *
 *  @param s         string
 *  @param[out] mac  the address; unchanged on failure
 *  @return the first white-space character after the address, or the terminator; @p s on failure
 */
TALVERA_API char *get_mac(char *s, struct ether_addr *mac) TALVERA_NONNULL(1, 2);
/** Same as get_mac(). @copydetails get_mac */
TALVERA_API char *getether(char *s, struct ether_addr *mac) TALVERA_NONNULL(1, 2);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
