// A TLS server for tests, in a process of its own.
#pragma once

#include <openssl/ssl.h>
#include <sys/types.h>

#include <functional>
#include <string>

namespace talvera::test {

// How the server speaks TLS.
struct ServerOptions {
  std::string certificate;            // PEM file, issuers last; without one the server is anonymous
  std::string key;                    // PEM file
  int version = TLS1_2_VERSION;       // the only one it speaks
  bool asks_for_certificate = false;  // signed with SHA-512 if possible; sends it in DER
};

// Binds an object to a connected socket, with datagrams for DTLS.
void attach(SSL *ssl, int fd);

// Does the server's part on a connected socket, in the server's process: handshake, then whatever
// comes until the client ends. True when the client has closed the TLS connection in good order.
bool serve_tls(int fd, const ServerOptions &options);

// Runs `serve` in a child process with one end of a connection; the other end is the test's. The
// child is ended with its owner.
class Server {
 public:
  // Over a pair of local sockets.
  explicit Server(const std::function<void(int fd)> &serve);
  // Over TCP, or UDP, on 127.0.0.1.
  enum Tcp { kTcp };
  Server(Tcp, const std::function<void(int fd)> &serve);
  enum Udp { kUdp };
  Server(Udp, const std::function<void(int fd)> &serve);
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  [[nodiscard]] int fd() const { return fd_; }

 private:
  pid_t child_ = -1;
  int fd_ = -1;
};

}  // namespace talvera::test
