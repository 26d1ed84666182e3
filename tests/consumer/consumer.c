/* An external program: finds the headers, and links the library and OpenSSL. */
#include <talvera/ssl.h>
#include <talvera/utils.h>

/* The library exports this name, too, but works without its own definition. */
int flags = 7;

TALVERA_BEGIN_DECLS
int check_tcp_flags(const char *text); /* as in <talvera/ipt.h>, which declares the other `flags` */
TALVERA_END_DECLS

int main(void) {
  SSL_CTX *context = SSL_initialize("tls1.2");
  SSL *ssl = context != NULL ? SSL_new(context) : NULL;
  const int works = ssl != NULL && dir_exists("/") == 1 && check_tcp_flags("SYN,ACK SYN") == 0;
  SSL_free(ssl);
  SSL_CTX_free(context);
  return works && flags == 7 ? 0 : 1;
}
