// OpenSSL calls of the system double: those whose failure the library has an answer for.
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "support/system_calls.h"

using namespace talvera::test;

CALL(int, RAND_status, (), (), -1);
CALL_AS(int, RAND_bytes, (unsigned char *buffer, int size), (buffer, size), -1, [=] {
  const int result = next(buffer, size);
  record("RAND_bytes %d %02x%02x", size, buffer[0], buffer[size - 1]);
  return result;
});
CALL(SSL_CTX *, SSL_CTX_new, (const SSL_METHOD *method), (method), 0);
CALL(X509 *, d2i_X509, (X509 * *to, const unsigned char **from, long size), (to, from, size), 0);
CALL(int, SSL_CTX_use_RSAPrivateKey_ASN1, (SSL_CTX * context, const unsigned char *der, long size),
     (context, der, size), 0);
CALL(int, SSL_CTX_use_certificate, (SSL_CTX * context, X509 *own), (context, own), 0);
CALL(int, SSL_CTX_check_private_key, (const SSL_CTX *context), (context), 0);
CALL(int, SSL_CTX_set_default_verify_paths, (SSL_CTX * context), (context), 0);
CALL(int, SSL_connect, (SSL * ssl), (ssl), -1);
CALL(int, SSL_get_error, (const SSL *ssl, int result), (ssl, result), -1);

extern "C" void RAND_seed(const void *buffer, int size) {
  static auto *const next = real<void(const void *, int)>("RAND_seed");
  const auto *bytes = static_cast<const unsigned char *>(buffer);
  record("RAND_seed %d %02x%02x", size, bytes[0], bytes[size - 1]);
  next(buffer, size);
}
