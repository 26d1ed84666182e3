// The double's OpenSSL calls: those whose failure the library handles.
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstring>

#include "support/system_calls.h"

using namespace talvera::test;

static unsigned char last_random[100];

CALL(int, RAND_status, (), (), -1);
CALL_AS(int, RAND_bytes, (unsigned char *buffer, int size), (buffer, size), -1, [=] {
  const int result = next(buffer, size);
  if (size == sizeof last_random) {
    std::memcpy(last_random, buffer, sizeof last_random);
    record("RAND_bytes");
  }
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
  const bool same = size == sizeof last_random && std::memcmp(buffer, last_random, size) == 0;
  record("RAND_seed %s", same ? "with these" : "with others");
  next(buffer, size);
}
