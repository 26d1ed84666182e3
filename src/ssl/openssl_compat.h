// Compatibility across OpenSSL 1.0.2 to 3.x: the library behaves as with OpenSSL 1.0 on all of
// them.
#pragma once

#include <openssl/err.h>

#include <cstdio>

#include "ssl/openssl_owners.h"

namespace talvera::ssl {

// Removes the errors that a call adds to the thread's error queue and keeps the program's. Leftover
// errors would make SSL_get_error() misjudge the program's next operation on any connection.
class ErrorQueueSaver {
 public:
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
  ErrorQueueSaver() {
    ERR_set_mark();
  }
  ~ErrorQueueSaver() {
    ERR_pop_to_mark();
  }
#else
  ErrorQueueSaver();
  ~ErrorQueueSaver();
#endif
  ErrorQueueSaver(const ErrorQueueSaver &) = delete;
  ErrorQueueSaver &operator=(const ErrorQueueSaver &) = delete;

#if OPENSSL_VERSION_NUMBER < 0x30000000L
 private:
  ERR_STATE *queue_ = ERR_get_state();
  ERR_STATE former_ = {};
#endif
};

// Frees memory that OpenSSL allocated. Smaller than OPENSSL_free(), which also passes a file name
// and line.
void free_openssl(void *block);

// A protocol's name and a function that returns its client method, or null if OpenSSL was built
// without the protocol.
struct Protocol {
  const char *version;
  const SSL_METHOD *(*method)();
};
extern const Protocol kProtocols[5];

// Makes a new context accept what 1.0 accepted, overriding the distribution's defaults and
// configuration file: every protocol version, key length and digest, servers without secure
// renegotiation and, in the handshake, any server certificate. The key-exchange groups stay as
// configured.
void apply_openssl_1_0_policy(SSL_CTX *context);

// The store used for verification: that of the context unless the program has set another, which
// older versions cannot report.
X509_STORE *verify_store(SSL *ssl);

// Maps a verification error to its number in OpenSSL 1.0.
long openssl_1_0_verify_error(long error);

// Reads the certificate of a Netscape certificate sequence; null on failure.
X509 *read_netscape(std::FILE *in);

// Reads the certificate of a PKCS#12 bundle with an empty password; null on failure.
X509 *read_pkcs12(std::FILE *in);

}  // namespace talvera::ssl
