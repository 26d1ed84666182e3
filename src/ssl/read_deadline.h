// Enforces a handshake's deadline even within a single SSL_connect() call.
#pragma once

#include <openssl/bio.h>
#include <time.h>

namespace talvera::ssl {

// A point in time on the monotonic clock.
class Deadline {
 public:
  explicit Deadline(time_t seconds) {
    clock_gettime(CLOCK_MONOTONIC, &end_);
    end_.tv_sec += seconds;
  }
  // Seconds until the deadline, rounded up; 0 or less when it has passed.
  [[nodiscard]] time_t seconds_left() const {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return end_.tv_sec - now.tv_sec + (now.tv_nsec < end_.tv_nsec ? 1 : 0);
  }

 private:
  timespec end_;
};

// While it exists, makes reads from a connection fail once the deadline has passed, so that a peer
// that keeps sending cannot prolong a single SSL_connect() call. Does nothing if the program has
// its own callback on the connection.
class ReadDeadline {
 public:
  ReadDeadline(BIO *connection, Deadline &deadline) {
    if (connection == nullptr || has_callback(connection)) return;
    connection_ = connection;
    BIO_set_callback_arg(connection, reinterpret_cast<char *>(&deadline));
    BIO_set_callback(connection, reject_late_read);
  }
  ~ReadDeadline() {
    if (connection_ == nullptr) return;
    BIO_set_callback(connection_, nullptr);
    BIO_set_callback_arg(connection_, nullptr);
  }
  ReadDeadline(const ReadDeadline &) = delete;
  ReadDeadline &operator=(const ReadDeadline &) = delete;

 private:
  static bool has_callback(const BIO *connection) {
#if OPENSSL_VERSION_NUMBER >= 0x10101000L
    if (BIO_get_callback_ex(connection) != nullptr) return true;
#endif
    return BIO_get_callback(connection) != nullptr;
  }
  // OpenSSL calls this before and after each operation; -1 before a read makes it fail.
  static long reject_late_read(BIO *connection, int operation, const char *, int, long,
                               long result) {
    const void *const argument = BIO_get_callback_arg(connection);
    const auto *const deadline = static_cast<const Deadline *>(argument);
    return operation == BIO_CB_READ && deadline->seconds_left() <= 0 ? -1 : result;
  }

  BIO *connection_ = nullptr;
};

}  // namespace talvera::ssl
