/* Messages on standard error, and the log that the library expects from its host. */
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/sdb.h"
#include "tool.h"

enum { KEPT = 100 }; /* bytes of each end of a long message that are shown */

int verbose;
static const char *context[2];

void set_context(const char *group, const char *action) {
  context[0] = group;
  context[1] = action;
}

/* Truncates a long argument in the middle, so that the message about it remains. */
static void print_message(const char *format, va_list arguments, const char *reason) {
  struct bytes line = {0};
  char *message = NULL;
  const int length = vasprintf(&message, format, arguments);

  must(length >= 0 ? message : NULL);
  if (length > 2 * KEPT) {
    append_escaped(&line, message, KEPT, "");
    append(&line, "...", 3);
    append_escaped(&line, message + length - KEPT, KEPT, "");
  } else {
    append_escaped(&line, message, (size_t)length, "");
  }
  free(message);
  fflush(stdout);
  fprintf(stderr, "talvera%s%s%s%s: %s%s%s\n", context[0] != NULL ? " " : "",
          context[0] != NULL ? context[0] : "", context[1] != NULL ? " " : "",
          context[1] != NULL ? context[1] : "", line.data, reason != NULL ? ": " : "",
          reason != NULL ? reason : "");
  release(&line);
}

int failed(const char *format, ...) {
  const char *reason = strerror(errno);
  va_list arguments;

  va_start(arguments, format);
  print_message(format, arguments, reason);
  va_end(arguments);
  return FAILED;
}

int refused(const char *format, ...) {
  va_list arguments;

  va_start(arguments, format);
  print_message(format, arguments, NULL);
  va_end(arguments);
  return FAILED;
}

int misused(const char *format, ...) {
  va_list arguments;

  va_start(arguments, format);
  print_message(format, arguments, NULL);
  va_end(arguments);
  return MISUSED;
}

void sdb_log(int level, const char *format, ...) {
  va_list arguments;

  (void)level;
  if (!verbose) return;
  va_start(arguments, format);
  print_message(format, arguments, NULL);
  va_end(arguments);
}

/* ---- The library's lines on standard output -------------------------------------------------- */

static int output; /* the original standard output while diverted */

void divert_output(void) {
  const int error = errno;
  const int to = verbose ? STDERR_FILENO : open("/dev/null", O_WRONLY | O_CLOEXEC);

  fflush(stdout);
  output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  dup2(to, STDOUT_FILENO);
  if (to > STDERR_FILENO) close(to);
  errno = error;
}

void restore_output(void) {
  const int error = errno;

  fflush(stdout);
  dup2(output, STDOUT_FILENO);
  close(output);
  errno = error;
}
