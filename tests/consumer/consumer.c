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

/* A name of the library's as well, which the program does not know and the library does without. */
int flags = 7;

TALVERA_BEGIN_DECLS
int check_tcp_flags(const char *text); /* of talvera/ipt.h, which declares the library's */
TALVERA_END_DECLS

int main(void) {
  const unsigned char text[] = "no certificate";
  return dir_exists("/") == 1 && SSL_IsCertValidFormat(text, sizeof text) == 0 &&
                 check_tcp_flags("SYN,ACK SYN") == 0 && flags == 7
             ? 0
             : 1;
}
