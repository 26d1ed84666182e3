// A client context and a full handshake against the same steps with bare OpenSSL calls.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "talvera/sdb.h"
#include "talvera/ssl.h"

// This program's system database: the product variant, and no log.
extern "C" int sdb_get(const char *, char *buffer, size_t size) {
  return std::snprintf(buffer, size, "1") < 0 ? 1 : 0;
}
extern "C" const char *sdb_strerror(int) {
  return "";
}
extern "C" void sdb_log(int, const char *, ...) {}

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

// The machine's own trusted roots, more than a hundred, would dominate the measurement.
[[maybe_unused]] const int no_machine_roots = setenv("SSL_CERT_FILE", "/nowhere", 1);

// The roots that the library installs.
const std::vector<std::string> &roots() {
  static const auto all = [] {
    std::vector<std::string> found;
    SSL_CTX *context = SSL_initialize("tls1.2");
    STACK_OF(X509_OBJECT) *objects = X509_STORE_get0_objects(SSL_CTX_get_cert_store(context));
    for (int i = 0; i < sk_X509_OBJECT_num(objects); ++i) {
      unsigned char *der = nullptr;
      const int size = i2d_X509(X509_OBJECT_get0_X509(sk_X509_OBJECT_value(objects, i)), &der);
      found.emplace_back(reinterpret_cast<char *>(der), size);
      OPENSSL_free(der);
    }
    SSL_CTX_free(context);
    return found;
  }();
  return all;
}

X509 *parse(const unsigned char *der, std::size_t size) {
  return d2i_X509(nullptr, &der, static_cast<long>(size));
}

SSL_CTX *bare_initialize() {
  require(RAND_status() == 1);
  OPENSSL_init_ssl(0, nullptr);
  SSL_CTX *context = SSL_CTX_new(TLSv1_2_client_method());
  SSL_CTX_set_security_level(context, 0);
  SSL_CTX_set_cipher_list(context, "ALL");
  require(access("/var/tmp/ssl_cert", R_OK) != 0);
  for (const std::string &root : roots()) {
    X509 *certificate = parse(reinterpret_cast<const unsigned char *>(root.data()), root.size());
    X509_STORE_add_cert(SSL_CTX_get_cert_store(context), certificate);
    X509_free(certificate);
  }
  SSL_CTX_use_RSAPrivateKey_ASN1(context, client_pvt_key, sizeof client_pvt_key);
  X509 *identity = parse(client_cert, sizeof client_cert);
  SSL_CTX_use_certificate(context, identity);
  X509_free(identity);
  require(SSL_CTX_check_private_key(context) == 1);
  SSL_CTX_set_default_verify_paths(context);
  SSL_CTX_load_verify_locations(context, nullptr, nullptr);
  SSL_CTX_set_verify(context, SSL_VERIFY_NONE, nullptr);
  SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_AUTO_RETRY);
  return context;
}

void initialize(benchmark::State &state) {
  for (auto _ : state)
    SSL_CTX_free(SSL_initialize("tls1.2"));
}
BENCHMARK(initialize)->Unit(benchmark::kMicrosecond);

void bare_openssl_initialize(benchmark::State &state) {
  roots();
  for (auto _ : state)
    SSL_CTX_free(bare_initialize());
}
BENCHMARK(bare_openssl_initialize)->Unit(benchmark::kMicrosecond);

// A server at the other end of a socket pair, which runs handshakes one by one.
class Server {
 public:
  Server() {
    require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) == 0);
    signal(SIGPIPE, SIG_IGN);
    thread_ = std::thread([this] { serve(); });
  }
  ~Server() {
    close(ends_[0]);
    thread_.join();
    close(ends_[1]);
  }
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  [[nodiscard]] int fd() const { return ends_[0]; }

 private:
  void serve() const {
    EVP_PKEY *key = EVP_EC_gen("P-256");
    X509 *certificate = X509_new();
    X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    X509_set_pubkey(certificate, key);
    require(X509_sign(certificate, key, EVP_sha256()) > 0);
    SSL_CTX *context = SSL_CTX_new(TLS_server_method());
    SSL_CTX_use_certificate(context, certificate);
    SSL_CTX_use_PrivateKey(context, key);
    SSL_CTX_set_options(context, SSL_OP_NO_TICKET);
    for (bool open = true; open;) {
      SSL *ssl = SSL_new(context);
      SSL_set_fd(ssl, ends_[1]);
      char byte;
      open = SSL_accept(ssl) == 1 && SSL_read(ssl, &byte, 1) == 0 && SSL_shutdown(ssl) == 1;
      SSL_free(ssl);
    }
    SSL_CTX_free(context);
    X509_free(certificate);
    EVP_PKEY_free(key);
  }

  int ends_[2];
  std::thread thread_;
};

void set_blocking(int fd, int blocking) {
  int non_blocking = blocking == 0 ? 1 : 0;
  ioctl(fd, FIONBIO, &non_blocking);
}

int bare_connect(SSL *ssl, int fd) {
  timeval budget = {20, 0};
  for (;;) {
    set_blocking(fd, 0);
    const int result = SSL_connect(ssl);
    if (result > 0) return 1;
    const int error = SSL_get_error(ssl, result);
    require(error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE);
    set_blocking(fd, 1);
    fd_set wanted;
    fd_set exceptional;
    FD_ZERO(&wanted);
    FD_ZERO(&exceptional);
    FD_SET(fd, &wanted);
    FD_SET(fd, &exceptional);
    const bool reading = error == SSL_ERROR_WANT_READ;
    require(select(fd + 1, reading ? &wanted : nullptr, reading ? nullptr : &wanted, &exceptional,
                   &budget) > 0);
  }
}

void handshakes(benchmark::State &state, int (*connect)(SSL *, int)) {
  SSL_CTX *context = SSL_initialize("tls1.2");
  {
    const Server server;
    for (auto _ : state) {
      SSL *ssl = SSL_new(context);
      SSL_set_fd(ssl, server.fd());
      require(connect(ssl, server.fd()) == 1);
      set_blocking(server.fd(), 1);
      SSL_shutdown(ssl);
      require(SSL_shutdown(ssl) == 1);
      SSL_free(ssl);
    }
  }
  SSL_CTX_free(context);
}

void handshake(benchmark::State &state) {
  handshakes(state, SSL_Nblk_connect);
}
BENCHMARK(handshake)->Unit(benchmark::kMicrosecond)->UseRealTime();

void bare_openssl_handshake(benchmark::State &state) {
  handshakes(state, bare_connect);
}
BENCHMARK(bare_openssl_handshake)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
