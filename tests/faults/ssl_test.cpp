// Faults in the TLS family.
#include "talvera/ssl.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

#include "faults/inject.h"
#include "support/certificates.h"
#include "unit/ssl/fixture.h"

namespace talvera::test {
namespace {

// One certificate, as PEM and as DER.
struct Files {
  Certificates all;
  std::string pem = all.issue("one", "/CN=one.example.net"), der = all / "one.der";
  Files() { shell("openssl x509 -in " + pem + " -outform DER -out " + der); }
};
const Files *files = nullptr;

long context(Fixture &) {
  SSL_CTX *made = SSL_initialize("tls1.2");
  SSL_CTX_free(made);
  return made != nullptr ? 1 : 0;
}

// The first step of the handshake waits for the socket, which is readable; the second succeeds.
long handshake(Fixture &fixture) {
  int fds[2];
  SSL_CTX *made = quietly([] { return SSL_CTX_new(SSLv23_client_method()); });
  SSL *ssl = SSL_new(made);
  quietly([&] {
    return socketpair(AF_UNIX, SOCK_STREAM, 0, fds) + static_cast<int>(write(fds[1], "", 1));
  });
  fixture.system.answer("SSL_connect", -1);
  fixture.system.answer("SSL_connect", 1);
  fixture.system.answer("SSL_get_error", SSL_ERROR_WANT_READ);
  const int result = SSL_Nblk_connect(ssl, fds[0]);
  quietly([&] { return close(fds[0]) + close(fds[1]); });
  SSL_free(ssl);
  SSL_CTX_free(made);
  return result;
}

long links(Fixture &) {
  quietly([] { return make_private_var(); });
  const int made = SSL_cert_rehash(files->pem.c_str(), "/var/etc/ssl/one.pem");
  return made + SSL_cert_rehash("/nowhere", "/var/etc/ssl/one.pem");
}

long fingerprint(Fixture &) {
  char text[61];
  return SSL_cert_fingerprint(files->pem.c_str(), "PEM", "sha1", text);
}

long converted(Fixture &fixture) {
  const int result = SSL_cert_der2pem(files->der.c_str(), fixture.fresh.c_str());
  const bool right = quietly([&] { return read_file(fixture.fresh) == read_file(files->pem); });
  return result != 0 || right ? result : kWrong;
}

long content(Fixture &fixture) {
  unsigned char *data = nullptr;
  const int size = uc_get_cert_data_from_file(&data, fixture.directory, "a");
  const bool right = size == 0 ? data == nullptr : std::memcmp(data, Fixture::kText, size) == 0;
  std::free(data);
  return right ? size : kWrong;
}

TEST(Faults, Tls) {
  if (!make_private_var()) {
    ASSERT_EQ(std::getenv("CI"), nullptr) << "a private /var needs namespaces";
    GTEST_SKIP() << "a private /var needs namespaces";
  }
  const Files made;
  files = &made;
  inject({
      {"file content", {sizeof Fixture::kText - 1, 0}, content},
      {"fingerprint", {0, -1}, fingerprint},
      {"PEM from DER", {0, -1}, converted},
      // OpenSSL allocates by the ten thousand here.
      {"client context", {1, 0}, context, false},
      {"handshake", {1, 0}, handshake, false},
      {"links", {2, 1, 0}, links, false},
  });
}

}  // namespace
}  // namespace talvera::test
