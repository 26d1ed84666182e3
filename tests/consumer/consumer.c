/* A program outside the project: finds the headers and links the library. */
#include <stddef.h>
#include <stdio.h>
#include <talvera/sdb.h>
#include <talvera/utils.h>

int sdb_get(const char *key, char *buffer, size_t size) {
  (void)key;
  (void)buffer;
  (void)size;
  return 2;
}

const char *sdb_strerror(int code) {
  (void)code;
  return "no database";
}

void sdb_log(int level, const char *format, ...) {
  (void)level;
  (void)format;
}

int main(void) {
  puts(dir_exists("/") == 1 ? "the root is there" : "no root");
  return dir_exists("/") == 1 ? 0 : 1;
}
