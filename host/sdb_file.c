/* The system database of a development machine: values from the text file of `key=value` lines that
 * the environment variable TALVERA_SDB names. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

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
