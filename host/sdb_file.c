/* The system database of a development machine: values from the text file of `key=value` lines that
 * the environment variable TALVERA_SDB names, log lines to standard error. */
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "talvera/sdb.h"

int sdb_get(const char *key, char *buffer, size_t size) {
  const char *path = getenv("TALVERA_SDB");
  const size_t key_length = strlen(key);
  char line[1024];
  int result = ENOENT;
  FILE *file;

  if (path == NULL || size == 0) return path == NULL ? ENOENT : EINVAL;
  file = fopen(path, "r");
  if (file == NULL) return errno;
  while (result != 0 && fgets(line, sizeof line, file) != NULL) {
    line[strcspn(line, "\r\n")] = '\0';
    if (strncmp(line, key, key_length) == 0 && line[key_length] == '=') {
      snprintf(buffer, size, "%s", line + key_length + 1);
      result = 0;
    }
  }
  fclose(file);
  return result;
}

const char *sdb_strerror(int code) {
  return strerror(code);
}

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
