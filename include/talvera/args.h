/** @defgroup talvera_args Arguments
 *  Splits command lines in place, and reads bounded numbers, port ranges and virtual circuits.
 *
 *  @include args.c
 *
 *  The splitters write terminators into the caller's string and fill the caller's array with
 *  pointers into it; nothing is allocated. White space is the isspace() class of the POSIX locale.
 *
 *  Numbers convert as strtol() converts them where long has 32 bits, on every machine: values out
 *  of range become -2147483648 or 2147483647.
 *  @{ */
#ifndef TALVERA_ARGS_H
#define TALVERA_ARGS_H

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Sizes and error codes. */
enum {
  ARGS_SLOTS = 20,              /**< slots in an argument array */
  ARGS_ERROR_RANGE = 2119,      /**< errno: a number is out of range */
  ARGS_ERROR_INVALID_VI = 2002, /**< result: not a virtual circuit */
};

/** Extracts the next token: a run of characters other than white space, or the characters between
 *  two double quotes or two apostrophes (up to the end of the string when the second is missing).
 *
 *  @param[in,out] cursor  where to start; set to the character after the one that ended the token,
 *                         or to null when the token ended at the end of the string: it was the last
 *                         one, and the function must not be called again. Unchanged when the result
 *                         is null
 *  @return the token, terminated in place; null when only white space is left
 */
TALVERA_API char *token_extract(char **cursor) TALVERA_NONNULL(1);

/** Splits at white space into at most 20 words; anything after the twentieth is ignored.
 *
 *  A word that starts with a double quote or an apostrophe ends at the next one of the same kind,
 *  or at the end. Intentionally, the character after the closing quote is dropped, whatever it is:
 *  "ab"cd gives ab and d.
 *
 *  @param[in,out] s  string to split; null gives no words
 *  @param[out] argc  number of words
 *  @param[out] argv  the words; unused slots are null
 */
TALVERA_API void str_to_args(char *s, int *argc, char *argv[20]) TALVERA_NONNULL(2, 3);

/** Finds which delimiter a string contains.
 *
 *  @param s  string to search
 *  @return a pointer into the constant string " -/", at the first of its characters that occurs
 *          anywhere in @p s: a space takes precedence over "-", and "-" over "/". As a string it
 *          extends to the end of that constant. Null when none occurs
 */
TALVERA_API const char *str_get_delim(const char *s) TALVERA_NONNULL(1);

/** Splits at delimiters, as strtok_r() does: a run of delimiters counts as one, and there are no
 *  empty words. Leading white space is skipped. Anything after the twentieth word is ignored.
 *
 *  @param[in,out] s  string to split; null gives no words
 *  @param delims     delimiter characters
 *  @param[out] argc  number of words
 *  @param[out] argv  array of 20 slots for the words; unused slots are null
 *  @return null
 */
TALVERA_API char *str_to_args_by_delim(char *s, const char *delims, int *argc, char *argv[])
    TALVERA_NONNULL(2, 3, 4);

/** Splits at delimiters as str_to_args_by_delim() does, with a caller-supplied limit; intentionally
 *  stores up to @p max + 1 words.
 *
 *  @param[in,out] s  string to split; null gives no words
 *  @param delims     delimiter characters
 *  @param[out] argc  number of words stored
 *  @param[out] argv  array of @p max + 1 slots for the words; unused ones are null, except that the
 *                    last, if unused, is unchanged
 *  @param max        limit; when negative no word is stored
 *  @return the first word that was not stored, terminated in place; null when all were
 */
TALVERA_API char *str_to_args_by_delim1(char *s, const char *delims, int *argc, char *argv[],
                                        int max) TALVERA_NONNULL(2, 3, 4);

/** Reads a number, or two separated by white space or "+": "80", "1000 2000", "1000+2000".
 *
 *  Numbers are decimal, hexadecimal with "0x" or octal with a leading "0"; an empty string is 0.
 *  "1000-2000" fails, because "-" is the sign of the second number; so does any other separator.
 *  "080" is the range 0 to 80, because 8 is not an octal digit. Numbers above 65535 are accepted.
 *
 *  @param s          string
 *  @param[out] low   first number, set on failure too
 *  @param[out] high  second number, or the first when there is only one; set on failure too
 *  @return 0; -1 with errno ARGS_ERROR_RANGE when other characters follow or @p *high is below
 *          @p *low
 */
TALVERA_API int str_to_port_range(const char *s, int *low, int *high) TALVERA_NONNULL(1, 2, 3);

/** Reads a number (decimal, hexadecimal with "0x", octal with a leading "0") within bounds.
 *
 *  @param[out] value  the number; unchanged on failure
 *  @param s           string; an empty string is 0
 *  @param min         smallest value accepted
 *  @param max         largest value accepted
 *  @return 0; -1 with errno EINVAL when other characters follow the number, ARGS_ERROR_RANGE when
 *          it is out of bounds
 */
TALVERA_API int strtol_range(long *value, const char *s, long min, long max) TALVERA_NONNULL(1, 2);

/** Formats a port range: "80" when both ends are the same, otherwise "80-90".
 *
 *  @param[out] buf  at least 12 bytes; unchanged when the result is null
 *  @param low       first port; only the low 16 bits count
 *  @param high      last port; only the low 16 bits count
 *  @param delim     character between them
 *  @return @p buf; null when @p high is below @p low, @p buf is null, or @p delim is a control
 *          character below 32 or a byte of 128 or more
 */
TALVERA_API char *range_to_portstr(char *buf, unsigned int low, unsigned int high, int delim);

/** Reads an ATM virtual circuit, "vpi/vci" in decimal, from a list of words. Anything after it in
 *  its word is ignored.
 *
 *  @param s         words, split as str_to_args() does; only the first 79 characters count
 *  @param index     index of the word, from 0
 *  @param[out] vpi  virtual path identifier; set even when no channel follows
 *  @param[out] vci  virtual channel identifier
 *  @return 0; ARGS_ERROR_INVALID_VI when there is no such word or it is not a circuit
 */
TALVERA_API int atm_parse_vi(const char *s, int index, int *vpi, int *vci) TALVERA_NONNULL(1, 3, 4);

TALVERA_END_DECLS

#endif
/** @} */
