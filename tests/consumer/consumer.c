/* A program outside the project: finds the headers and links the library, and OpenSSL with it. */
#include <talvera/ssl.h>
#include <talvera/utils.h>

int main(void) {
  SSL_CTX *context = SSL_initialize("tls1.2");
  SSL *ssl = context != NULL ? SSL_new(context) : NULL;
  const int works = ssl != NULL && dir_exists("/") == 1;
  SSL_free(ssl);
  SSL_CTX_free(context);
  return works ? 0 : 1;
}
