// Functions that OpenSSL 1.0 lacks, for tests that run on every version.
#pragma once

#include <openssl/ssl.h>

#if OPENSSL_VERSION_NUMBER < 0x10100000L
inline STACK_OF(X509_OBJECT) * X509_STORE_get0_objects(X509_STORE *store) {
  return store->objs;
}
inline X509 *X509_OBJECT_get0_X509(X509_OBJECT *object) {
  return object->data.x509;
}
inline STACK_OF(SSL_CIPHER) * SSL_CTX_get_ciphers(SSL_CTX *context) {
  return context->cipher_list;
}
inline void SSL_CTX_set_security_level(SSL_CTX *, int) {}
inline int SSL_is_dtls(const SSL *ssl) {
  return SSL_version(ssl) == DTLS1_VERSION ? 1 : 0;
}
#endif
