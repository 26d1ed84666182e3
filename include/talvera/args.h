/** @file
 *  Words and ranges of command lines and configuration values.
 *
 *  @code
 *  char line[] = "forward 1000-1999 \"two words\"";
 *  char *argv[ARGS_SLOTS];
 *  int argc;
 *  long ttl;
 *  str_to_args(line, &argc, argv);
 *  for (int i = 0; i < argc; i++) puts(argv[i]);
 *  if (strtol_range(&ttl, "64", 1, 255) != 0) puts("a TTL is 1 to 255");
 *  @endcode
 *
 *  The splitters cut the caller's string in place, by writing terminators into it, and fill the
 *  caller's array with pointers into it; nothing is allocated. White space is the isspace() class
 *  of the POSIX locale.
 *
 *  Numbers convert as strtol() does where long has 32 bits, on every machine: what is beyond gives
 *  -2147483648 or 2147483647.
 */
#ifndef TALVERA_ARGS_H
#define TALVERA_ARGS_H

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

enum {
  ARGS_SLOTS = 20,              /**< slots of the plain splitters' argument arrays */
  ARGS_ERROR_RANGE = 2119,      /**< errno: a number is outside of its allowed range */
  ARGS_ERROR_INVALID_VI = 2002, /**< result: no virtual circuit there */
};

/** Takes the next token: a run of characters that are not white space, or what stands between two
 *  double quotes or two apostrophes (up to the end when the second is missing).
 *
 *  @param[in,out] cursor  where to go on; becomes what is behind the token and the character that
 *                         ended it, null when the string ended the token: that was the last one, do
 *                         not call again. Left when the result is null
 *  @return the token, terminated in place; null when white space alone is left
 */
TALVERA_API char *token_extract(char **cursor) TALVERA_NONNULL(1);

/** Splits at white space into 20 words at most; what follows the twentieth is not looked at.
 *
 *  A word that starts with a double quote or an apostrophe goes to the next one of the same kind,
 *  or to the end. The character behind the closing quote is taken as the separator whatever it is,
 *  which is meant: "ab"cd gives ab and d.
 *
 *  @param[in,out] s  text
 *  @param[out] argc  number of words
 *  @param[out] argv  the words; slots that are not used are null
 */
TALVERA_API void str_to_args(char *s, int *argc, char *argv[20]) TALVERA_NONNULL(2, 3);

/** Finds the delimiter of a text.
 *
 *  @param s  text to look through
 *  @return where in the table " -/" the first of its characters stands that occurs in @p s: space
 *          before "-" before "/", wherever they are in @p s; null when none does. A pointer into
 *          the table itself, so that as a string it goes on to the table's end
 */
TALVERA_API const char *str_get_delim(const char *s) TALVERA_NONNULL(1);

/** Splits at delimiters, as strtok_r() does: a run of them counts as one, there are no empty words.
 *  White space at the start is skipped. What follows the twentieth word is not looked at.
 *
 *  @param[in,out] s  text
 *  @param delims     the delimiting characters
 *  @param[out] argc  number of words
 *  @param[out] argv  the words: room for 20; slots that are not used are null
 *  @return null
 */
TALVERA_API char *str_to_args_by_delim(char *s, const char *delims, int *argc, char *argv[])
    TALVERA_NONNULL(2, 3, 4);

/** As str_to_args_by_delim(), with a limit of the caller's, which one word more may be stored than,
 *  which is meant.
 *
 *  @param[in,out] s  text
 *  @param delims     the delimiting characters
 *  @param[out] argc  number of words stored
 *  @param[out] argv  the words: room for @p max + 1, of which the first @p max are cleared before
 *  @param max        stop when more than this would be counted; below 0 nothing is stored
 *  @return the first word that was not stored, terminated in place; null when all were
 */
TALVERA_API char *str_to_args_by_delim1(char *s, const char *delims, int *argc, char *argv[],
                                        int max) TALVERA_NONNULL(2, 3, 4);

/** Reads a number, or two that only white space or a "+" separates: "80", "1000 2000", "1000+2000".
 *
 *  Decimal, hexadecimal with "0x", octal with a leading "0"; an empty string is 0. "1000-2000"
 *  fails, because the "-" is the second number's sign; so does any other separator. There is no
 *  bound of 65535.
 *
 *  @param s          text
 *  @param[out] low   the first number, also on failure
 *  @param[out] high  the second, or the first again when it is alone; also on failure
 *  @return 0; -1 with errno ARGS_ERROR_RANGE when anything follows or @p *high is below @p *low
 */
TALVERA_API int str_to_port_range(const char *s, int *low, int *high) TALVERA_NONNULL(1, 2, 3);

/** Reads a number (decimal, hexadecimal with "0x", octal with a leading "0") within bounds.
 *
 *  @param[out] value  the number; untouched on failure
 *  @param s           text; an empty one is 0
 *  @param min         least value
 *  @param max         greatest value
 *  @return 0; -1 with errno EINVAL when anything follows the number, ARGS_ERROR_RANGE when it is
 *          out of bounds
 */
TALVERA_API int strtol_range(long *value, const char *s, long min, long max) TALVERA_NONNULL(1, 2);

/** Writes a range of ports: "80" when both ends are the same, else "80-90".
 *
 *  @param[out] out  room for 12 bytes; untouched when the result is null
 *  @param low       first port, of which 16 bits count
 *  @param high      last port, of which 16 bits count
 *  @param delim     character between them
 *  @return @p out; null when @p high is below @p low, @p out is null, or @p delim is a control
 *          character below 32 or a byte from 128 up
 */
TALVERA_API char *range_to_portstr(char *out, unsigned int low, unsigned int high, int delim);

/** Reads an ATM virtual circuit, "vpi/vci" in decimal, from a list of words.
 *
 *  @param s         words, split as str_to_args() does, of which 79 characters count; not changed
 *  @param index     which word, from 0
 *  @param[out] vpi  virtual path; set also when only this much could be read
 *  @param[out] vci  virtual channel
 *  @return 0; ARGS_ERROR_INVALID_VI when there is no such word or it is no circuit
 */
TALVERA_API int atm_parse_vi(const char *s, int index, int *vpi, int *vci) TALVERA_NONNULL(1, 3, 4);

TALVERA_END_DECLS

#endif
