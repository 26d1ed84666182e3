// Where OpenSSL versions decide differently: the library behaves as OpenSSL 1.0 did, on 1.0.2
// to 3.x.
#pragma once

#include <openssl/err.h>

#include "ssl/openssl_owners.h"

namespace talvera::ssl {

// Takes back what a call adds to the thread's error queue, and keeps what the program has there.
// What stayed would make SSL_get_error() misjudge the program's next read or write on any
// connection.
class ErrorQueueKeeper {
 public:
  ErrorQueueKeeper();
  ~ErrorQueueKeeper();
  ErrorQueueKeeper(const ErrorQueueKeeper &) = delete;
  ErrorQueueKeeper &operator=(const ErrorQueueKeeper &) = delete;

#if OPENSSL_VERSION_NUMBER < 0x30000000L
 private:
  ERR_STATE *queue_ = ERR_get_state();
  ERR_STATE former_ = {};
#endif
};

// Client methods; null for a protocol that the linked OpenSSL lacks.
const SSL_METHOD *tls1_method();
const SSL_METHOD *tls1_1_method();
const SSL_METHOD *tls1_2_method();
const SSL_METHOD *ssl3_method();
const SSL_METHOD *dtls1_method();

// Makes a new context accept what 1.0 accepted, whatever the distribution or its configuration file
// set: any protocol version, key length and digest, and servers without secure renegotiation. The
// key exchange groups stay those of the configuration.
void accept_what_1_0_accepted(SSL_CTX *context);

// The store that a handshake verifies against: the context's, unless the program has set another.
// (Versions that cannot tell do without the other.)
X509_STORE *verify_store(SSL *ssl);

// The number that 1.0 has for an error of verification.
long verify_error_of_1_0(long error);

// The certificate of a Netscape certificate sequence, or null.
X509Ptr read_netscape(BIO *in);

// The certificate of a PKCS#12 bundle with the empty password, or null.
X509Ptr read_pkcs12(BIO *in);

}  // namespace talvera::ssl
