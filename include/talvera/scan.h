/** @file
 *  Scanners: skip, take words, strings, numbers and addresses along a line of text.
 *
 *  Each scanner takes a pointer into a NUL-terminated 8-bit string and returns where it stopped, so
 *  that calls chain along a line:
 *
 *  @code
 *  char text[] = "timeout 30", *line = text, name[16];
 *  unsigned long value;
 *  line = get_word(line, name, sizeof name);
 *  line = get_number(line, &value, 10);
 *  @endcode
 *
 *  One that finds nothing of its kind returns the pointer that it was given; nothing is logged and
 *  errno tells nothing. A string is never read before its start nor behind its terminator.
 *
 *  Two classes of characters must not be confused: blank is space and tab; white space is the
 *  isspace() class of the POSIX locale (space, tab, line feed, vertical tab, form feed, carriage
 *  return), whatever locale the program has set. Where a text says "below 33", bytes are read as
 *  signed characters, so that every byte from 128 up is below 33 as well: such bytes end words and
 *  are stripped as trailing white.
 *
 *  Numbers are those of the gateway, whose long has 32 bits, on every machine: an unsigned long
 *  receives 0 to 4294967295, a long -2147483648 to 2147483647.
 *
 *  Where two names are given, both are the same function.
 */
#ifndef TALVERA_SCAN_H
#define TALVERA_SCAN_H

#include <net/ethernet.h>
#include <netinet/in.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Skips white space.
 *
 *  @param s  text, or null
 *  @return the first character of @p s that is not white space, which may be the terminator; a
 *          constant empty string when @p s is null
 */
TALVERA_API char *skip_space(char *s);

/** Skips blanks.
 *
 *  @param s  text, or null
 *  @return the first character of @p s that is not blank, which may be the terminator; a constant
 *          empty string when @p s is null
 */
TALVERA_API char *skip_blank(char *s);
/** Same as skip_blank(). @copydetails skip_blank */
TALVERA_API char *skipwhitespace(char *s);

/** Skips to white space.
 *
 *  @param s  text
 *  @return the first white space in @p s, or its terminator
 */
TALVERA_API char *skip_nonspace(char *s) TALVERA_NONNULL(1);

/** Skips to a blank.
 *
 *  @param s  text
 *  @return the first blank in @p s, or its terminator
 */
TALVERA_API char *skip_nonblank(char *s) TALVERA_NONNULL(1);
/** Same as skip_nonblank(). @copydetails skip_nonblank */
TALVERA_API char *skipnonwhitespace(char *s) TALVERA_NONNULL(1);

/** Takes a word.
 *
 *  Blanks before it are skipped. It ends before the first character below 33, which is consumed,
 *  and so are the blanks behind it. Once @p size - 1 characters are taken, also when the word ends
 *  just there, all up to the next blank is skipped, line feeds and what follows them included.
 *
 *  @param s         text; null is read as empty
 *  @param[out] buf  receives the word, terminated; untouched when @p size is below 1
 *  @param size      bytes of room, terminator included; with 1 up to 2 bytes are written, a
 *                   character and the terminator, which is meant
 *  @return where the next word can be taken; @p s when @p size is below 1
 */
TALVERA_API char *getword(char *s, char *buf, int size);
/** Same as getword(). @copydetails getword */
TALVERA_API char *get_word(char *s, char *buf, int size);

/** Takes a string that may be quoted and hold escapes.
 *
 *  Blanks before it are skipped. A double quote switches quoting on and off and is not part of the
 *  string; inside quotes a blank is. Escapes, in quotes and outside: "^x" and two hexadecimal
 *  digits give that byte (nothing when it is 0 or there are fewer digits), "^" and any other
 *  character give that character; a "^" at the very end gives nothing.
 *
 *  @param s         text; null is read as empty
 *  @param[out] buf  receives the string, terminated: room for @p size + 1 bytes, the terminator
 *                   comes on top of @p size
 *  @param size      characters to take at most; below 1 none
 *  @param delim     character (its low 8 bits) that ends the string, also inside quotes; 0 for none
 *  @return where the string ended: the delimiter, the first character for which there was no room,
 *          behind the blanks that followed, or the terminator
 */
TALVERA_API char *getstring(char *s, char *buf, int size, int delim) TALVERA_NONNULL(2);
/** Same as getstring(). @copydetails getstring */
TALVERA_API char *get_string(char *s, char *buf, int size, int delim) TALVERA_NONNULL(2);

/** Overwrites all characters below 33 at the end of @p s with terminators.
 *
 *  @param s  text shorter than 32768 characters; a longer one is left as it is
 */
TALVERA_API void strip_trailing_white(char *s) TALVERA_NONNULL(1);

/** Checks that a whole string is one decimal number.
 *
 *  White space may surround it; what is white at its end is stripped from the caller's string, as
 *  strip_trailing_white() does. An empty string is 0. The greatest value is valid only in its plain
 *  spelling, so that a greater number, which converts to it, is told from it; no such test is made
 *  for others: ValidateUlong() takes "-5" as 4294967291, ValidateLong() takes "-99999999999" as
 *  -2147483648, which is meant.
 *
 *  @param[in,out] s   text
 *  @param[out] value  what the text converts to, also when it is invalid
 *  @return 0 when valid, -1 with errno EINVAL when not
 */
TALVERA_API int ValidateUlong(char *s, unsigned long *value) TALVERA_NONNULL(1, 2);
/** As ValidateUlong(), for signed numbers.
 *
 *  @param[in,out] s   text
 *  @param[out] value  what the text converts to, also when it is invalid
 *  @return 0 when valid, -1 with errno EINVAL when not
 */
TALVERA_API int ValidateLong(char *s, long *value) TALVERA_NONNULL(1, 2);

/** Takes a number.
 *
 *  Blanks before it are skipped, a "-" negates it, modulo 2^32; a "+" is not accepted, neither in
 *  front nor as the second character ("5+3" fails whole, which is meant). Digits are 0 to 9 and a
 *  to z in either case. Overflow wraps at 32 bits.
 *
 *  @param s           text; null is read as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @param base        up to 36. With 16 a prefix "0x" or "0X" is skipped. 0 means hexadecimal with
 *                     that prefix and nothing else: a number without it fails
 *  @return the first character that is not part of the number, or @p s when no digit was read
 */
TALVERA_API char *getnum(char *s, unsigned long *value, int base) TALVERA_NONNULL(2);
/** Same as getnum(). @copydetails getnum */
TALVERA_API char *get_number(char *s, unsigned long *value, int base) TALVERA_NONNULL(2);

/** getnum() with base 16.
 *
 *  @param s           text; null is read as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return as getnum()
 */
TALVERA_API char *gethex(char *s, unsigned long *value) TALVERA_NONNULL(2);
/** Same as gethex(). @copydetails gethex */
TALVERA_API char *get_hex(char *s, unsigned long *value) TALVERA_NONNULL(2);

/** getnum() with base 10, read as signed 32 bits.
 *
 *  @param s           text; null is read as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return as getnum()
 */
TALVERA_API char *getlong(char *s, long *value) TALVERA_NONNULL(2);
/** Same as getlong(). @copydetails getlong */
TALVERA_API char *get_long(char *s, long *value) TALVERA_NONNULL(2);
/** As getlong(), into an int.
 *
 *  @param s           text; null is read as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return as getnum()
 */
TALVERA_API char *getint(char *s, int *value) TALVERA_NONNULL(2);
/** Same as getint(). @copydetails getint */
TALVERA_API char *get_int(char *s, int *value) TALVERA_NONNULL(2);

/** getnum() with base 10, of which the lower 16 bits are stored.
 *
 *  @param s           text; null is read as empty
 *  @param[out] value  the number; 0 when no digit was read
 *  @return as getnum()
 */
TALVERA_API char *getushort(char *s, unsigned short *value) TALVERA_NONNULL(2);
/** Same as getushort(). @copydetails getushort */
TALVERA_API char *get_ushort(char *s, unsigned short *value) TALVERA_NONNULL(2);

/** Takes an IPv4 address, dotted quad as of inet_pton(), that begins at @p s (no blanks are
 *  skipped) and ends before white space.
 *
 *  @param s          text
 *  @param[out] addr  the address, network byte order; untouched on failure
 *  @return behind the address, or @p s on failure
 */
TALVERA_API char *getip(char *s, struct in_addr *addr) TALVERA_NONNULL(1, 2);
/** Same as getip(). @copydetails getip */
TALVERA_API char *get_ip(char *s, struct in_addr *addr) TALVERA_NONNULL(1, 2);

/** Takes a MAC address as of ether_aton_r(): six groups of one or two hexadecimal digits, joined by
 *  ":". It begins at @p s (no blanks are skipped) and ends before white space, 19 characters at
 *  most. Behind a sixth group of two digits nothing is looked at; behind one of a single digit
 *  nothing may follow.
 *
 *  @param s         text
 *  @param[out] mac  the address; untouched on failure
 *  @return behind the address, or @p s on failure
 */
TALVERA_API char *get_mac(char *s, struct ether_addr *mac) TALVERA_NONNULL(1, 2);
/** Same as get_mac(). @copydetails get_mac */
TALVERA_API char *getether(char *s, struct ether_addr *mac) TALVERA_NONNULL(1, 2);

/** Tells whether a string is hexadecimal.
 *
 *  @param s  the string, or null
 *  @return 1 when @p s is a hexadecimal string: digits alone, or behind a prefix "0x", "0X", "x" or
 *          "X", which count alone too, which is meant; 0 when not, and for null and the empty
 *          string
 */
TALVERA_API int isxstring(const char *s);
/** Same as isxstring(). @copydetails isxstring */
TALVERA_API int StringIsHexDigits(const char *s);

TALVERA_END_DECLS

#endif
