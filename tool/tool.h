/* The shell command `talvera`: what its groups of actions share.
 *
 * To add a group, write NAME.c, which ends in
 *
 *     static const struct action actions[] = {{"act", "[--json] FILE", "does this", ...}, {0}};
 *     const struct group group_NAME = {"NAME", "what the group is about", actions};
 *
 * and add NAME to the list in CMakeLists.txt. To add an action, add a handler and an entry of the
 * table. The entry is all there is: help, completion and the man page are printed from it, and
 * arguments are parsed as its synopsis says. Show a new action in tests/sessions/NAME.session.
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
  /* Words that stand for what is accepted: `[--flag]`, `[--option VALUE]`, and in order the
   * arguments: `NAME`, `[NAME]`, and as the last one `NAME...` or `[NAME...]`. */
  const char *synopsis;
  const char *summary; /* one line, in lower case and without a full stop */
  /* DETAILS(...): paragraphs, one a line, or null. `TERM\ttext` is an entry of a list, such as an
   * option. */
  const char *details;
  /* The arguments of an example; or all of a command line that is more than this action. */
  const char *example;
  /* Called with the arguments that are left when the options are taken out; argv[argc] is null. */
  int (*run)(int argc, char **argv);
};

/* A build for a small device leaves them to the man page. */
#ifdef TALVERA_TOOL_TERSE
#define DETAILS(text) NULL
#else
#define DETAILS(text) text
#endif

struct group {
  const char *name;
  const char *summary;
  const struct action *actions; /* up to one without a name */
};

extern const struct group *const groups[]; /* up to a null */

/* Null when there is none of this name. */
const struct group *find_group(const char *name);
const struct action *find_action(const struct group *group, const char *name);

/* ---- Arguments (arguments.c) ----------------------------------------------------------------- */

/* The value of an option of the running action, "" of a flag; null when it was not given. */
const char *option(const char *name);

/* Each reads an argument and returns DONE, or MISUSED with a message that starts with `what`.
 * Numbers are decimal and have at most 32 bits. */
int number_argument(const char *what, const char *text, unsigned long min, unsigned long max,
                    unsigned long *value);
/* The same of an option's value; without the option, *value stays. */
int number_option(const char *name, unsigned long min, unsigned long max, unsigned long *value);
int signed_argument(const char *what, const char *text, long *value);
/* Checks that a text has at most `max` bytes. */
int bounded_argument(const char *what, const char *text, size_t max);
/* Checks a name that goes into a command line or a path: 1 to `max` letters, digits and ".:_@+-",
 * without a dash in front. */
int plain_argument(const char *what, const char *text, size_t max);
/* Checks an IPv4 address. */
int address_argument(const char *what, const char *text);

/* An element of a synopsis. */
struct element {
  const char *name, *value; /* `--option` or argument; name of the option's value, or null */
  int name_length, value_length;
  int optional, repeated;
};

/* Takes the element at *synopsis, and moves on behind it; 0 when there is none left. */
int next_element(const char **synopsis, struct element *element);

/* ---- Messages (messages.c) ------------------------------------------------------------------- */

/* Each prints one line on standard error, "talvera GROUP ACTION: message", in which control
 * characters and bytes that are not UTF-8 are escaped. */
int failed(const char *format, ...) TALVERA_PRINTF(1, 2);  /* adds errno's text; FAILED */
int refused(const char *format, ...) TALVERA_PRINTF(1, 2); /* FAILED */
int misused(const char *format, ...) TALVERA_PRINTF(1, 2); /* MISUSED */

/* What messages start with. */
void set_context(const char *group, const char *action);

/* What the library itself prints on standard output between these two does not mix with what the
 * action prints: it goes to standard error if the user asked for the log, else nowhere. Both keep
 * errno. */
void divert_output(void);
void restore_output(void);

/* ---- Bytes (bytes.c) ------------------------------------------------------------------------- */

/* Bytes on the heap, followed by a terminator that does not count. All zero is empty. */
struct bytes {
  char *data;
  size_t length, room;
};

void append(struct bytes *bytes, const void *data, size_t length);
void release(struct bytes *bytes);
/* Returns a block from the allocator; ends the program when it is null. */
void *must(void *block);

/* Appends text as it is shown: UTF-8 as it is; `\`, control characters and all other bytes, and
 * those of `also`, as `\\`, `\n`, `\r`, `\t` or `\xHH`. */
void append_escaped(struct bytes *bytes, const void *data, size_t length, const char *also);
/* Reverses it in place; -1 when an escape is none. */
int unescape(char *text, size_t *length);
/* The length of the UTF-8 character that starts here, 0 where there is none. */
size_t utf8_length(const unsigned char *data, size_t length);
/* Appends text as one word of the shell. */
void append_quoted(struct bytes *bytes, const char *text);
/* Overwrites a secret that is no longer needed. */
void wipe(void *data, size_t length);

/* Opens a file to read; "-" and null are standard input. -1 with a message. */
int open_input(const char *path);
/* Reads all of a file, as open_input() opens it, but no more than the library's conversions can
 * take with room for six times as many. Returns DONE, or FAILED with a message. */
int read_input(const char *path, struct bytes *bytes);
/* The same of a file that must have so many bytes. */
int read_sized_input(const char *path, size_t min, size_t max, struct bytes *bytes);

/* ---- Output (output.c) ----------------------------------------------------------------------- */

/* Records and lists of records, as text: a record is a line for each field, a list a table with the
 * names of the fields on top. With --json, if the synopsis has it, the same as JSON; there, a byte
 * that is not UTF-8 is a low surrogate, U+DC80 to U+DCFF. */
void list_begin(void);
void list_end(void);
void record_begin(void);
void record_end(void);
void text_field(const char *name, const char *text); /* null: there is no value */
void bytes_field(const char *name, const void *data, size_t length);
void format_field(const char *name, const char *format, ...) TALVERA_PRINTF(2, 3);
void number_field(const char *name, long long value);
void flag_field(const char *name, int value);

/* What switches to a colour or style (such as "1" for bold, "0" for none; ECMA-48, SGR) on
 * `stream`; an empty string when it is not a terminal, or NO_COLOR is set. */
const char *style(FILE *stream, const char *sgr);

/* ---- Long-running actions (interrupt.c) ------------------------------------------------------ */

/* From here on SIGINT, SIGTERM and SIGHUP do not end the program, but interrupt waiting calls. */
void catch_interrupts(void);
/* Whether one of them came. */
int interrupted(void);
/* Waits until there is something to read, or for an interrupt, which is not missed: all of this
 * after catch_interrupts(). Returns 1, or 0 after an interrupt. */
int wait_readable(int fd);
/* Writes out what was printed so far; -1 when that fails, which is to end the action. */
int flush_output(void);
/* Why it failed, an errno value. */
extern int output_error;

/* Log lines of the library go to standard error. */
extern int verbose;

#endif
