// A TLS server for tests: OpenSSL's server side, with all that is old allowed.
#include "support/tls_server.h"

#include "support/openssl_names.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace talvera::test {
namespace {

void require(bool condition, const char *what) {
  if (condition) return;
  std::perror(what);
  _exit(1);
}

// A socket at a port of the system's choice on 127.0.0.1.
int bound_socket(int type) {
  const int fd = socket(AF_INET, type, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0, "bind");
  return fd;
}

// Connects a socket to another one's address.
void join(int fd, int other) {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  auto *name = reinterpret_cast<sockaddr *>(&address);
  require(getsockname(other, name, &size) == 0 && connect(fd, name, size) == 0, "connect");
}

const SSL_METHOD *method_of(int version) {
  switch (version) {
    case TLS1_VERSION:
      return TLSv1_server_method();
    case TLS1_1_VERSION:
      return TLSv1_1_server_method();
    case DTLS1_VERSION:
      return DTLSv1_server_method();
    default:
      return TLSv1_2_server_method();
  }
}

SSL_CTX *server_context(const ServerOptions &options) {
  SSL_library_init();
  SSL_CTX *context = SSL_CTX_new(method_of(options.version));
  // The test program's strict configuration is meant for the client alone.
  SSL_CTX_set_security_level(context, 0);
  SSL_CTX_set_verify(context, SSL_VERIFY_NONE, nullptr);
  SSL_CTX_set1_sigalgs_list(context, "RSA+SHA256:RSA+SHA1");
  SSL_CTX_clear_options(context, SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 | SSL_OP_NO_TLSv1_2);
  SSL_CTX_set_ecdh_auto(context, 1);
  if (options.certificate.empty()) {
    require(SSL_CTX_set_cipher_list(context, "aNULL") == 1, "ciphers");
  } else {
    require(SSL_CTX_set_cipher_list(context, "ALL") == 1, "ciphers");
    require(SSL_CTX_use_certificate_chain_file(context, options.certificate.c_str()) == 1,
            "certificate");
    require(SSL_CTX_use_PrivateKey_file(context, options.key.c_str(), SSL_FILETYPE_PEM) == 1,
            "key");
  }
  if (options.asks_for_certificate) {
    SSL_CTX_set1_client_sigalgs_list(context, "RSA+SHA512:RSA+SHA384:RSA+SHA256:RSA+SHA1");
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, [](int, X509_STORE_CTX *) { return 1; });
  }
  return context;
}

void send_peer_certificate(SSL *ssl) {
  X509 *peer = SSL_get_peer_certificate(ssl);
  if (peer == nullptr) return;
  unsigned char *der = nullptr;
  const int size = i2d_X509(peer, &der);
  SSL_write(ssl, der, size);
  OPENSSL_free(der);
  X509_free(peer);
}

}  // namespace

void attach(SSL *ssl, int fd) {
  if (!SSL_is_dtls(ssl)) {
    SSL_set_fd(ssl, fd);
    return;
  }
  BIO *datagrams = BIO_new_dgram(fd, BIO_NOCLOSE);
  sockaddr_in peer = {};
  socklen_t size = sizeof peer;
  getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &size);
  BIO_ctrl(datagrams, BIO_CTRL_DGRAM_SET_CONNECTED, 0, &peer);
  SSL_set_bio(ssl, datagrams, datagrams);
}

bool serve_tls(int fd, const ServerOptions &options) {
  SSL_CTX *context = server_context(options);
  SSL *ssl = SSL_new(context);
  attach(ssl, fd);
  bool closed = false;
  if (SSL_accept(ssl) == 1) {
    if (options.asks_for_certificate) send_peer_certificate(ssl);
    char buffer[256];
    int got = 0;
    while ((got = SSL_read(ssl, buffer, sizeof buffer)) > 0) {
    }
    closed = SSL_get_error(ssl, got) == SSL_ERROR_ZERO_RETURN;
    if (closed) SSL_shutdown(ssl);
  }
  SSL_free(ssl);
  SSL_CTX_free(context);
  return closed;
}

Server::Server(const std::function<void(int fd)> &serve) {
  int ends[2];
  require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "socketpair");
  child_ = fork();
  if (child_ == 0) {
    close(ends[0]);
    serve(ends[1]);
    _exit(0);
  }
  close(ends[1]);
  fd_ = ends[0];
}

Server::Server(Tcp, const std::function<void(int fd)> &serve) {
  const int listener = bound_socket(SOCK_STREAM);
  require(listen(listener, 1) == 0, "listen on 127.0.0.1");
  child_ = fork();
  if (child_ == 0) {
    serve(accept(listener, nullptr, nullptr));
    _exit(0);
  }
  fd_ = bound_socket(SOCK_STREAM);
  join(fd_, listener);
  close(listener);
}

Server::Server(Udp, const std::function<void(int fd)> &serve) {
  const int other = bound_socket(SOCK_DGRAM);
  fd_ = bound_socket(SOCK_DGRAM);
  join(fd_, other);
  join(other, fd_);
  child_ = fork();
  if (child_ == 0) {
    serve(other);
    _exit(0);
  }
  close(other);
}

Server::~Server() {
  close(fd_);
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
}

}  // namespace talvera::test
