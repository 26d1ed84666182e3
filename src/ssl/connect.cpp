// The client handshake with a time limit, and validation of the server.
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/select.h>

#include <cstddef>
#include <cstring>
#include <ctime>

#include "internal/integer32.h"
#include "ssl/openssl_compat.h"
#include "ssl/pipe_signal_block.h"
#include "ssl/read_deadline.h"
#include "talvera/sdb.h"
#include "talvera/ssl.h"

namespace talvera::ssl {
namespace {

constexpr timeval kHandshakeBudget = {20, 0};
constexpr std::size_t kFlagSize = 16;
constexpr std::size_t kNameSize = 100;

void set_blocking(int fd, bool blocking) {
  int non_blocking = blocking ? 0 : 1;
  ioctl(fd, FIONBIO, &non_blocking);
}

// Waits until the handshake can continue; false if it cannot. select() writes the remaining time
// back to `budget`, which thus limits the total of all waits. Time spent in SSL_connect(), which
// the server can prolong, is deducted in whole seconds.
bool wait_for_socket(int fd, bool for_reading, timeval &budget, const Deadline &deadline) {
  if (fd < 0 || fd >= FD_SETSIZE) return false;
  const time_t left = deadline.seconds_left();
  if (left <= 0) return false;
  if (budget.tv_sec >= left) budget = {left, 0};
  fd_set wanted;
  FD_ZERO(&wanted);
  FD_SET(fd, &wanted);
  fd_set exceptional = wanted;
  return select(fd + 1, for_reading ? &wanted : nullptr, for_reading ? nullptr : &wanted,
                &exceptional, &budget) > 0 &&
         !FD_ISSET(fd, &exceptional);
}

bool has_network_time() {
  char flag[kFlagSize];
  if (sdb_get("ip.ntp.time-acquired", flag, sizeof flag) != 0) {
    sdb_log(SDB_LOG_ERROR, "Failed to get NTP time acquired");
    return false;
  }
  return decimal32(flag) != 0;
}

// Rejects a name that contains a NUL: only the part before it would be compared. Returns false
// without a certificate.
bool has_common_name(X509 *certificate, const char *expected) {
  if (certificate == nullptr) return false;
  char name[kNameSize];
  const int length = X509_NAME_get_text_by_NID(X509_get_subject_name(certificate), NID_commonName,
                                               name, sizeof name);
  return length >= 0 && std::strlen(name) == static_cast<std::size_t>(length) &&
         strcasecmp(expected, name) == 0;
}

// Verification callback that tolerates certificates that are not yet valid.
int tolerate_not_yet_valid(int ok, X509_STORE_CTX *verification) {
  const int error = X509_STORE_CTX_get_error(verification);
  return ok == 1 || error == X509_V_ERR_CERT_NOT_YET_VALID ? 1 : 0;
}

// Verifies the peer's chain again, tolerating certificates that are not yet valid: the handshake's
// verification stopped at the first of these, possibly before checking any signature.
long verify_tolerating_not_yet_valid(SSL *ssl, X509 *peer) {
  const StoreContextPtr verification(X509_STORE_CTX_new());
  if (verification == nullptr || X509_STORE_CTX_init(verification.get(), verify_store(ssl), peer,
                                                     SSL_get_peer_cert_chain(ssl)) != 1) {
    return X509_V_ERR_OUT_OF_MEM;
  }
  // Purpose and parameters as in a handshake.
  X509_STORE_CTX_set_default(verification.get(), "ssl_server");
  X509_VERIFY_PARAM_set1(X509_STORE_CTX_get0_param(verification.get()), SSL_get0_param(ssl));
  X509_STORE_CTX_set_verify_cb(verification.get(), tolerate_not_yet_valid);
  if (X509_verify_cert(verification.get()) == 1) return X509_V_OK;
  const long error = X509_STORE_CTX_get_error(verification.get());
  return error != X509_V_OK ? error : X509_V_ERR_UNSPECIFIED;
}

}  // namespace
}  // namespace talvera::ssl

using namespace talvera::ssl;

extern "C" int SSL_Nblk_connect(SSL *ssl, int fd) {
  const PipeSignalBlock no_signal;
  timeval budget = kHandshakeBudget;
  Deadline deadline(kHandshakeBudget.tv_sec);
  const ReadDeadline bounded(SSL_get_rbio(ssl), deadline);
  for (;;) {
    set_blocking(fd, false);
    const int result = SSL_connect(ssl);
    if (result > 0) {
      // Intentionally still non-blocking: the caller chooses the mode.
      sdb_log(SDB_LOG_INFO, "SSL: Handshake Success");
      return 1;
    }
    const int error = SSL_get_error(ssl, result);
    if (error == SSL_ERROR_NONE) return 1;
    if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) return 0;
    set_blocking(fd, true);
    if (!wait_for_socket(fd, error == SSL_ERROR_WANT_READ, budget, deadline)) return 0;
  }
}

extern "C" long SSL_check_cert(SSL *ssl, const char *expected_name) {
  const ErrorQueueSaver errors;
  const X509Ptr peer(SSL_get_peer_certificate(ssl));
  long result = SSL_get_verify_result(ssl);
  const bool clock_is_right = has_network_time();
  if (result == X509_V_ERR_CERT_NOT_YET_VALID && !clock_is_right) {
    // A resumed session keeps the result of its first handshake and may have lost the chain.
    result =
        SSL_session_reused(ssl) == 1 ? X509_V_OK : verify_tolerating_not_yet_valid(ssl, peer.get());
  }
  if (result == X509_V_OK) {
    if (has_common_name(peer.get(), expected_name)) return 0;
    result = X509_V_ERR_CERT_UNTRUSTED;
  }
  sdb_log(SDB_LOG_ERROR, "SSL: %s", X509_verify_cert_error_string(result));
  return openssl_1_0_verify_error(result);
}
