// OpenSSL calls of the system double: those whose failure the library has an answer for.
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstring>

#include "support/system_double.h"

using talvera::test::intercept;
using talvera::test::real;
using talvera::test::record;

static unsigned char last_random[100];

extern "C" {

int RAND_status() {
  static auto *const next = real<int()>("RAND_status");
  return intercept<int>("RAND_status", [=] { return next(); });
}

int RAND_bytes(unsigned char *buffer, int size) {
  static auto *const next = real<int(unsigned char *, int)>("RAND_bytes");
  return intercept<int>("RAND_bytes", [=] {
    const int result = next(buffer, size);
    if (size == sizeof last_random) {
      std::memcpy(last_random, buffer, sizeof last_random);
      record("RAND_bytes");
    }
    return result;
  });
}

void RAND_seed(const void *buffer, int size) {
  static auto *const next = real<void(const void *, int)>("RAND_seed");
  const bool same = size == sizeof last_random && std::memcmp(buffer, last_random, size) == 0;
  record("RAND_seed %s", same ? "with these" : "with others");
  next(buffer, size);
}

SSL_CTX *SSL_CTX_new(const SSL_METHOD *method) {
  static auto *const next = real<SSL_CTX *(const SSL_METHOD *)>("SSL_CTX_new");
  return intercept<SSL_CTX *>("SSL_CTX_new", [=] { return next(method); });
}

X509 *d2i_X509(X509 **result, const unsigned char **in, long size) {
  static auto *const next = real<X509 *(X509 **, const unsigned char **, long)>("d2i_X509");
  return intercept<X509 *>("d2i_X509", [=] { return next(result, in, size); });
}

int SSL_CTX_use_RSAPrivateKey_ASN1(SSL_CTX *context, const unsigned char *der, long size) {
  static auto *const next =
      real<int(SSL_CTX *, const unsigned char *, long)>("SSL_CTX_use_RSAPrivateKey_ASN1");
  return intercept<int>("SSL_CTX_use_RSAPrivateKey_ASN1", [=] { return next(context, der, size); });
}

int SSL_CTX_use_certificate(SSL_CTX *context, X509 *certificate) {
  static auto *const next = real<int(SSL_CTX *, X509 *)>("SSL_CTX_use_certificate");
  return intercept<int>("SSL_CTX_use_certificate", [=] { return next(context, certificate); });
}

int SSL_CTX_check_private_key(const SSL_CTX *context) {
  static auto *const next = real<int(const SSL_CTX *)>("SSL_CTX_check_private_key");
  return intercept<int>("SSL_CTX_check_private_key", [=] { return next(context); });
}

int SSL_CTX_set_default_verify_paths(SSL_CTX *context) {
  static auto *const next = real<int(SSL_CTX *)>("SSL_CTX_set_default_verify_paths");
  return intercept<int>("SSL_CTX_set_default_verify_paths", [=] { return next(context); });
}

int SSL_connect(SSL *ssl) {
  static auto *const next = real<int(SSL *)>("SSL_connect");
  return intercept<int>("SSL_connect", [=] { return next(ssl); });
}

int SSL_get_error(const SSL *ssl, int result) {
  static auto *const next = real<int(const SSL *, int)>("SSL_get_error");
  return intercept<int>("SSL_get_error", [=] { return next(ssl, result); });
}

}  // extern "C"
