// Bindings of the handshake: scripted steps and waits, misbehaving peers, a real server.
#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include "runner/bind.h"
#include "support/openssl_names.h"
#include "support/system_calls.h"
#include "talvera/ssl.h"

namespace talvera::test {
namespace {

// Until the end of the group, the monotonic clock is ahead by some seconds and runs at a multiple
// of its speed.
struct Clock {
  ~Clock() {
    offset = 0;
    speed = 1;
  }
  static inline long offset = 0, speed = 1;
};

bool is_blocking(int fd) {
  return (fcntl(fd, F_GETFL) & O_NONBLOCK) == 0;
}

}  // namespace
}  // namespace talvera::test

// "answer select 1" ends a wait after 7 seconds, "answer select 2" also with an exceptional
// condition. A wait without a limit is an ordinary call of the double.
extern "C" int select(int count, fd_set *in, fd_set *out, fd_set *other, timeval *timeout) {
  using namespace talvera::test;
  static auto *const next = real<int(int, fd_set *, fd_set *, fd_set *, timeval *)>("select");
  if (timeout == nullptr)
    return intercept<int>("select", -1, [=] { return next(count, in, out, other, timeout); });
  const int fd = count - 1;
  const auto waits = [fd](const fd_set *set, const char *letter) {
    return set != nullptr && FD_ISSET(fd, set) ? letter : "";
  };
  record("select %s%s%s %ld.%06ld %s", waits(in, "r"), waits(out, "w"), waits(other, "e"),
         static_cast<long>(timeout->tv_sec), static_cast<long>(timeout->tv_usec),
         is_blocking(fd) ? "blocking" : "non-blocking");
  const Outcome outcome = outcome_of("select");
  if (outcome.kind == Outcome::kFailure) return -1;
  if (outcome.kind != Outcome::kResult) return next(count, in, out, other, timeout);
  timeout->tv_sec -= 7;
  if (outcome.value < 2) FD_ZERO(other);
  return static_cast<int>(outcome.value);
}

extern "C" int clock_gettime(clockid_t clock, timespec *now) noexcept {
  using talvera::test::Clock;
  static auto *const next = talvera::test::real<int(clockid_t, timespec *)>("clock_gettime");
  const int result = next(clock, now);
  if (clock == CLOCK_MONOTONIC) {
    constexpr long long kSecond = 1000000000;
    const long long shown = (now->tv_sec * kSecond + now->tv_nsec) * Clock::speed;
    *now = {static_cast<time_t>(shown / kSecond + Clock::offset),
            static_cast<long>(shown % kSecond)};
  }
  return result;
}

namespace talvera::test {
namespace {

// ---- Scripted steps -----------------------------------------------------------------------------

CONSTANTS(SSL_ERROR_NONE, SSL_ERROR_SSL, SSL_ERROR_WANT_READ, SSL_ERROR_WANT_WRITE,
          SSL_ERROR_WANT_X509_LOOKUP, SSL_ERROR_SYSCALL, SSL_ERROR_ZERO_RETURN, FD_SETSIZE);
CONSTANTS(TLS1_VERSION, TLS1_1_VERSION, TLS1_2_VERSION, DTLS1_VERSION);

// step -1 SSL_ERROR_WANT_READ: the next results of SSL_connect() and SSL_get_error().
DIRECTIVE(step, [](Call &call, long result, long error) {
  call.session().system.answer("SSL_connect", result);
  call.session().system.answer("SSL_get_error", error);
});
// slow 9: the next step takes 9 seconds.
DIRECTIVE(slow, [](Call &call, long seconds) {
  static long duration;
  duration = seconds;
  call.session().state<Clock>();
  call.session().system.before("SSL_connect", [] { Clock::offset += duration; });
});
DIRECTIVE(clock_speed, [](Call &call, long speed) {
  call.session().state<Clock>();
  Clock::speed = speed;
});

// One end of a connection; a child process has the other.
class Peer : NonCopyable {
 public:
  template <typename Serve>
  Peer(int type, Serve serve) {
    const Bypass guard;
    if (socketpair(AF_UNIX, type, 0, ends_) != 0) throw TableError("no sockets");
    child_ = fork();
    if (child_ == 0) {
      close(ends_[0]);
      serve(ends_[1]);
      std::_Exit(0);
    }
    close(ends_[1]);
  }
  ~Peer() {
    const Bypass guard;
    close(ends_[0]);
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  [[nodiscard]] int fd() const { return ends_[0]; }

 private:
  int ends_[2];
  pid_t child_;
};

volatile sig_atomic_t pipe_signals;

// A plain client's handshake: the result, the descriptor's mode, and anomalies.
std::string shake_hands(int fd) {
  SSL_library_init();
  SSL_CTX *const context = SSL_CTX_new(TLSv1_2_client_method());
  SSL *const ssl = SSL_new(context);
  SSL_set_fd(ssl, fd);
  pipe_signals = 0;
  std::signal(SIGPIPE, [](int) { pipe_signals = 1; });
  const auto start = std::chrono::system_clock::now();
  const int result = SSL_Nblk_connect(ssl, fd);
  const int error = errno;
  const bool late = std::chrono::system_clock::now() - start > std::chrono::seconds(4);
  sigset_t pending, blocked;
  sigpending(&pending);
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  const Bypass guard;
  std::string text = std::to_string(result) + (is_blocking(fd) ? " blocking" : " non-blocking");
  if (result == 0 && error != 0 && SSL_get_error(ssl, -1) == SSL_ERROR_SYSCALL)
    text += ' ' + error_name(error);
  if (late) text += " late";
  if (pipe_signals != 0) text += " SIGPIPE";
  if (sigismember(&pending, SIGPIPE) == 1) text += " pending";
  if (sigismember(&blocked, SIGPIPE) == 1) text += " blocked";
  BIO *const connection = SSL_get_rbio(ssl);
  if (BIO_get_callback(connection) != nullptr || BIO_get_callback_arg(connection) != nullptr)
    text += " callback";
  SSL_free(ssl);
  SSL_CTX_free(context);
  return text;
}
// handshake: with scripted steps; handshake 1024: on that descriptor.
BIND_AS(handshake, [](Call &call) {
  const Peer peer(SOCK_STREAM, [](int) { pause(); });
  if (!call.has_more()) return shake_hands(peer.fd());
  const auto at = static_cast<rlim_t>(to_number(call, call.take()));
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::max(limit.rlim_cur, at + 1);
  setrlimit(RLIMIT_NOFILE, &limit);
  const int high = fcntl(peer.fd(), F_DUPFD, static_cast<int>(at));
  std::string text = shake_hands(high);
  close(high);
  return text;
});
// handshake_with b"bytes" 1000: a peer that sends these bytes 1000 times and then waits.
BIND_AS(handshake_with, [](const std::string &bytes, int times) {
  const Peer peer(SOCK_STREAM, [&](int fd) {
    for (int i = 0; i < times; ++i)
      if (write(fd, bytes.data(), bytes.size()) < 0) return;
    pause();
  });
  return shake_hands(peer.fd());
});
// With a peer that has closed the connection; "pending": with a SIGPIPE pending before.
BIND_AS(handshake_with_nobody, [](Call &call) {
  int ends[2];
  socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
  close(ends[1]);
  sigset_t pipe, mask;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  if (call.has_more()) {
    sigprocmask(SIG_BLOCK, &pipe, &mask);
    raise(SIGPIPE);
  }
  std::string text = shake_hands(ends[0]);
  if (call.has_more()) sigprocmask(SIG_SETMASK, &mask, nullptr);
  close(ends[0]);
  return text;
});

// ---- A real server ------------------------------------------------------------------------------

const SSL_METHOD *server_method(int version) {
  return version == TLS1_VERSION     ? TLSv1_server_method()
         : version == TLS1_1_VERSION ? TLSv1_1_server_method()
         : version == TLS1_2_VERSION ? TLSv1_2_server_method()
                                     : DTLSv1_server_method();
}

// Binds an object to a connected socket; DTLS uses datagrams.
void attach(SSL *ssl, int fd, int version) {
  if (version != DTLS1_VERSION) {
    SSL_set_fd(ssl, fd);
    return;
  }
  BIO *const datagrams = BIO_new_dgram(fd, BIO_NOCLOSE);
  sockaddr peer = {};
  BIO_ctrl(datagrams, BIO_CTRL_DGRAM_SET_CONNECTED, 0, &peer);
  SSL_set_bio(ssl, datagrams, datagrams);
}

// A server that accepts all old protocols, with a certificate or anonymous. It requests the
// client's certificate, signed with SHA-512 if possible.
SSL_CTX *server_context(const std::string &chain, int version) {
  SSL_CTX *const context = SSL_CTX_new(server_method(version));
  // The strict configuration is for the client only.
  SSL_CTX_set_security_level(context, 0);
  SSL_CTX_set1_sigalgs_list(context, "RSA+SHA256:RSA+SHA1");
  SSL_CTX_clear_options(context, SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 | SSL_OP_NO_TLSv1_2);
  SSL_CTX_set_ecdh_auto(context, 1);
  SSL_CTX_set_cipher_list(context, chain.empty() ? "aNULL" : "ALL");
  SSL_CTX_use_certificate_chain_file(context, chain.c_str());
  SSL_CTX_use_PrivateKey_file(context, TALVERA_STAND_INS "/06-brio.key.pem", SSL_FILETYPE_PEM);
  SSL_CTX_set1_client_sigalgs_list(context, "RSA+SHA512:RSA+SHA384:RSA+SHA256:RSA+SHA1");
  SSL_CTX_set_session_id_context(context, reinterpret_cast<const unsigned char *>("table"), 5);
  const int asks = chain.empty() ? SSL_VERIFY_NONE : SSL_VERIFY_PEER;
  SSL_CTX_set_verify(context, asks, [](int, X509_STORE_CTX *) { return 1; });
  ERR_clear_error();
  return context;
}

// Sends the client's certificate back, and closes without close_notify.
void serve(int fd, SSL_CTX *context, int version) {
  SSL *const ssl = SSL_new(context);
  attach(ssl, fd, version);
  if (SSL_accept(ssl) != 1) return;
  unsigned char *der = nullptr;
  const int size = i2d_X509(SSL_get_peer_certificate(ssl), &der);
  if (size > 0) SSL_write(ssl, der, size);
  shutdown(fd, SHUT_WR);
  pause();
}

// A client with the library's context, connected to a server or not.
class Connection : NonCopyable {
 public:
  Connection(Call &call, const char *word, SSL_CTX *server, int version,
             SSL_SESSION *session = nullptr, const std::string &trusted = {})
      : server_(version == DTLS1_VERSION ? SOCK_DGRAM : SOCK_STREAM,
                [&](int fd) { serve(fd, server, version); }),
        context_(SSL_initialize(word)),
        ssl(SSL_new(context_)) {
    attach(ssl, server_.fd(), version);
    if (session != nullptr) SSL_set_session(ssl, session);
    if (!trusted.empty()) trust(trusted);
    is_open = SSL_Nblk_connect(ssl, server_.fd()) == 1;
    call.session().effects();  // shown elsewhere
  }
  ~Connection() {
    SSL_free(ssl);
    SSL_CTX_free(context_);
    ERR_clear_error();
  }

  // What the server sends, and how the connection ends.
  std::string received() {
    int off = 0;
    ioctl(server_.fd(), FIONBIO, &off);
    char bytes[1000];
    const int size = SSL_read(ssl, bytes, sizeof bytes);
    const std::string own(reinterpret_cast<const char *>(client_cert), sizeof client_cert);
    const bool is_own = std::string(bytes, size > 0 ? size : 0) == own;
    const int error = SSL_get_error(ssl, SSL_read(ssl, bytes, sizeof bytes));
    return std::string(is_own ? "own certificate" : "other certificate") +
           (error == SSL_ERROR_SSL || error == SSL_ERROR_SYSCALL ? "" : ", well ended");
  }

 private:
  // A store that the program sets; versions that cannot report it use the context's.
  void trust(const std::string &certificate) {
#ifdef SSL_get0_verify_cert_store
    X509_STORE *const store = X509_STORE_new();
    X509_STORE_load_locations(store, certificate.c_str(), nullptr);
    SSL_set0_verify_cert_store(ssl, store);
#else
    SSL_CTX_load_verify_locations(context_, certificate.c_str(), nullptr);
#endif
  }

  Peer server_;
  SSL_CTX *context_;

 public:
  SSL *ssl;
  bool is_open;
};

std::string pem_of(Call &call, const std::string &certificate) {
  return certificate.empty() ? "" : call.session().folder() / (certificate + ".pem");
}

// judge NAME "name": verifies a server with the certificate NAME. "resumed" verifies its resumed
// session, "trusting NAME" uses a store of the program.
BIND_AS(judge, [](Call &call, const std::string &certificate, const char *name) {
  SSL_CTX *const server = server_context(pem_of(call, certificate), TLS1_2_VERSION);
  SSL_SESSION *session = nullptr;
  std::string trusted;
  const std::string word = call.has_more() ? call.take().bytes : "";
  if (word == "resumed") {
    const Connection first(call, "tls1.2", server, TLS1_2_VERSION);
    session = SSL_get1_session(first.ssl);
    SSL_set_shutdown(first.ssl, SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);  // or it is invalid
  } else if (word == "trusting") {
    trusted = pem_of(call, call.take().bytes);
  }
  long result;
  {
    const Connection connection(call, "tls1.2", server, TLS1_2_VERSION, session, trusted);
    if (!connection.is_open) throw TableError("no handshake");
    if (SSL_session_reused(connection.ssl) != (session != nullptr ? 1 : 0))
      throw TableError("not as it should be resumed");
    result = SSL_check_cert(connection.ssl, name);
  }
  SSL_SESSION_free(session);
  SSL_CTX_free(server);
  return result;
});
// connect "tls1.1" TLS1_1_VERSION NAME: the protocol used with a server of this version, and the
// certificate that the server got.
BIND_AS(connect, [](Call &call, const char *word, int version, const std::string &certificate) {
  SSL_CTX *const server = server_context(pem_of(call, certificate), version);
  Connection connection(call, word, server, version);
  SSL_CTX_free(server);
  if (!connection.is_open) return std::string("refused");
  const std::string spoken = SSL_get_version(connection.ssl);
  return spoken + (version == DTLS1_VERSION ? "" : ' ' + connection.received());
});

}  // namespace
}  // namespace talvera::test
