/* The shell command `talvera`: declarations shared by its groups of actions.
 *
 * To add a group, write NAME.c, which ends in
 *
 *     static const struct action actions[] = {{"act", "[--json] FILE", "does this", ...}, {0}};
 *     const struct group group_NAME = {"NAME", "what the group is about", actions};
 *
 * and add NAME to the list in CMakeLists.txt. To add an action, add a handler and a table entry,
 * from which help, completion and man page are printed and arguments are parsed. Show a new action
 * in tests/sessions/NAME.session.
 */
#ifndef TOOL_H
#define TOOL_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "talvera/api.h"

/* ---- Tables ---------------------------------------------------------------------------------- */

/* Exit status, and result of a handler. */
enum { DONE = 0, FAILED = 1, MISUSED = 2 };

struct action {
  const char *name;
  /* The accepted words: `[--flag]`, `[--option VALUE]`, then the arguments in order: `NAME`,
   * `[NAME]`, and as the last one `NAME...` or `[NAME...]`. */
  const char *synopsis;
  const char *summary; /* one line, in lower case, without a full stop */
  /* DETAILS(...): paragraphs, one per line, or null. `TERM\ttext` is an entry of a list, such as an
   * option. */
  const char *details;
  /* The arguments of an example; or a whole command line if it is more than this action. */
  const char *example;
  /* Called with the arguments that remain after the options; argv[argc] is null. */
  int (*run)(int argc, char **argv);
};

/* Builds for small devices leave these to the man page. */
#ifdef TALVERA_TOOL_TERSE
#define DETAILS(text) NULL
#else
#define DETAILS(text) text
#endif

struct group {
  const char *name;
  const char *summary;
  const struct action *actions; /* ends with one without a name */
};

extern const struct group *const groups[]; /* ends with null */

/* Returns null if there is no such name. */
const struct group *find_group(const char *name);
const struct action *find_action(const struct group *group, const char *name);

/* ---- Arguments (arguments.c) ----------------------------------------------------------------- */

/* The value of an option of the running action, "" for a flag; null if it was not given. */
const char *option(const char *name);

/* Each parses an argument and returns DONE, or MISUSED with a message that starts with `what`.
 * Numbers are decimal and have at most 32 bits. */
int number_argument(const char *what, const char *text, unsigned long min, unsigned long max,
                    unsigned long *value);
/* The same for an option's value; without the option, *value is unchanged. */
int number_option(const char *name, unsigned long min, unsigned long max, unsigned long *value);
int signed_argument(const char *what, const char *text, long *value);
/* Checks that a text has at most `max` bytes. */
int bounded_argument(const char *what, const char *text, size_t max);
/* Checks a name for use in a command line or path: 1 to `max` letters, digits and ".:_@+-", not
 * starting with a dash. */
int plain_argument(const char *what, const char *text, size_t max);
/* Checks an IPv4 address. */
int address_argument(const char *what, const char *text);

/* An element of a synopsis. */
struct element {
  const char *name, *value; /* `--option` or argument; name of the option's value, or null */
  int name_length, value_length;
  int optional, repeated;
};

/* Parses the element at *synopsis and advances past it; 0 if there is none. */
int next_element(const char **synopsis, struct element *element);

/* ---- Messages (messages.c) ------------------------------------------------------------------- */

/* Each prints a line on standard error, "talvera GROUP ACTION: message", with control characters
 * and invalid UTF-8 escaped. */
int failed(const char *format, ...) TALVERA_PRINTF(1, 2);  /* adds errno's text; FAILED */
int refused(const char *format, ...) TALVERA_PRINTF(1, 2); /* FAILED */
int misused(const char *format, ...) TALVERA_PRINTF(1, 2); /* MISUSED */

/* The prefix of messages. */
void set_context(const char *group, const char *action);

/* Between these two calls, the library's own standard output goes to standard error if the user
 * asked for the log, and is discarded otherwise. Both preserve errno. */
void divert_output(void);
void restore_output(void);

/* ---- Bytes (bytes.c) ------------------------------------------------------------------------- */

/* A terminated buffer on the heap; the length excludes the terminator. All zero is empty. */
struct bytes {
  char *data;
  size_t length, room;
};

void append(struct bytes *bytes, const void *data, size_t length);
void release(struct bytes *bytes);
/* Returns a block from the allocator; exits if it is null. */
void *must(void *block);

/* Appends text for display: UTF-8 unchanged; `\`, control characters, all other bytes and those of
 * `also` as `\\`, `\n`, `\r`, `\t` or `\xHH`. */
void append_escaped(struct bytes *bytes, const void *data, size_t length, const char *also);
/* Unescapes in place; -1 for an invalid escape. */
int unescape(char *text, size_t *length);
/* The length of the UTF-8 character at this position; 0 if it is invalid. */
size_t utf8_length(const unsigned char *data, size_t length);
/* Appends text quoted as one word of the shell. */
void append_quoted(struct bytes *bytes, const char *text);
/* Wipes a secret. */
void wipe(void *data, size_t length);

/* Opens a file for reading; "-" and null mean standard input. -1 with a message. */
int open_input(const char *path);
/* Reads a whole file, opened as by open_input(), if the library can convert it with an output six
 * times as large. Returns DONE, or FAILED with a message. */
int read_input(const char *path, struct bytes *bytes);
/* The same for a file of a required size. */
int read_sized_input(const char *path, size_t min, size_t max, struct bytes *bytes);

/* ---- Output (output.c) ----------------------------------------------------------------------- */

/* Records and lists of records, as text: a record is a line per field, a list a table with a header
 * row. With --json, if the synopsis has it, as JSON; there, a byte that is not UTF-8 becomes a low
 * surrogate, U+DC80 to U+DCFF. */
void list_begin(void);
void list_end(void);
void record_begin(void);
void record_end(void);
void text_field(const char *name, const char *text); /* null: there is no value */
void bytes_field(const char *name, const void *data, size_t length);
void format_field(const char *name, const char *format, ...) TALVERA_PRINTF(2, 3);
void number_field(const char *name, long long value);
void flag_field(const char *name, int value);

/* The escape sequence that selects a colour or style (such as "1" for bold, "0" for none; ECMA-48,
 * SGR) on `stream`; empty if it is not a terminal or NO_COLOR is set. */
const char *style(FILE *stream, const char *sgr);

/* ---- Long-running actions (interrupt.c) ------------------------------------------------------ */

/* From here on, SIGINT, SIGTERM and SIGHUP interrupt waiting calls instead of ending the program.
 */
void catch_interrupts(void);
/* Whether one has arrived. */
int interrupted(void);
/* Waits for input or an interrupt, without missing one; requires catch_interrupts(). Returns 1, or
 * 0 after an interrupt. */
int wait_readable(int fd);
/* Flushes the output; -1 on failure, which ends the action. */
int flush_output(void);
/* The errno value of the failure. */
extern int output_error;

/* Sends the library's log lines to standard error. */
extern int verbose;

#endif
