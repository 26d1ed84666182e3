/* The log of a development machine: lines on standard error, with level and time. */
#include <stdarg.h>
#include <stdio.h>
#include <time.h>

#include "talvera/sdb.h"

void sdb_log(int level, const char *format, ...) {
  const char *name = level <= SDB_LOG_ERROR     ? "error"
                     : level <= SDB_LOG_WARNING ? "warning"
                     : level <= SDB_LOG_INFO    ? "info"
                                                : "debug";
  const time_t now = time(NULL);
  struct tm broken_down;
  char stamp[32];
  va_list arguments;

  strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", localtime_r(&now, &broken_down));
  fprintf(stderr, "%s %s: ", stamp, name);
  va_start(arguments, format);
  vfprintf(stderr, format, arguments);
  va_end(arguments);
  fputc('\n', stderr);
}
