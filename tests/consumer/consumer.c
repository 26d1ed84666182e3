/* A program outside the project: finds the headers and links the library, and OpenSSL with it. */
#include <stddef.h>
#include <talvera/sdb.h>
#include <talvera/ssl.h>
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
  const unsigned char text[] = "no certificate";
  return dir_exists("/") == 1 && SSL_IsCertValidFormat(text, sizeof text) == 0 ? 0 : 1;
}
