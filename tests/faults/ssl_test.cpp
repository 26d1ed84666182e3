// Faults in the TLS family. The CA directory requires the sandbox.
#include "talvera/ssl.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "faults/inject.h"
#include "support/blob.h"

namespace talvera::test {
namespace {

constexpr char kDer[] = TALVERA_STAND_INS "/06-brio.der", kCaDirectory[] = "/var/etc/ssl";

long context(Fixture &) {
  SSL_CTX *made = SSL_initialize("tls1.2");
  SSL_CTX_free(made);
  return made != nullptr ? 1 : 0;
}

// The first step of the handshake waits for the socket, which is readable; the second succeeds.
long handshake(Fixture &fixture) {
  int fds[2];
  SSL_CTX *made = bypass([] { return SSL_CTX_new(SSLv23_client_method()); });
  SSL *ssl = SSL_new(made);
  bypass([&] {
    return socketpair(AF_UNIX, SOCK_STREAM, 0, fds) + static_cast<int>(write(fds[1], "", 1));
  });
  fixture.system.answer("SSL_connect", -1);
  fixture.system.answer("SSL_connect", 1);
  fixture.system.answer("SSL_get_error", SSL_ERROR_WANT_READ);
  const int result = SSL_Nblk_connect(ssl, fds[0]);
  bypass([&] { return close(fds[0]) + close(fds[1]); });
  SSL_free(ssl);
  SSL_CTX_free(made);
  return result;
}

long links(Fixture &) {
  bypass([] {
    std::filesystem::remove_all(kCaDirectory);
    return std::filesystem::create_directories(kCaDirectory);
  });
  const int made = SSL_cert_rehash("/dev/null", "/var/etc/ssl/one.pem");
  return made + SSL_cert_rehash("/nowhere", "/var/etc/ssl/one.pem");
}

long fingerprint(Fixture &) {
  char text[61];
  return SSL_cert_fingerprint(kDer, "DER", "sha1", text);
}

long netscape(Fixture &fixture) {
  const std::string path = bypass(
      [&] { return fixture.folder.write("netscape", netscape_sequence("", read_file(kDer))); });
  const unsigned long hash = SSL_cert_hash(path.c_str(), "N");
  const bool partly_copied = OPENSSL_VERSION_NUMBER < 0x10100000L;  // and is hashed by 1.0
  return hash == 0 ? 0 : hash == 0x83c37723 || partly_copied ? 1 : kWrong;
}

long converted(Fixture &fixture) {
  const int result = SSL_cert_der2pem(kDer, fixture.fresh.c_str());
  return result == 0 && bypass([&] { return read_file(fixture.fresh); }).size() != 1273 ? kWrong
                                                                                        : result;
}

long content(Fixture &fixture) {
  unsigned char *data = nullptr;
  const int size = uc_get_cert_data_from_file(&data, fixture.directory, "a");
  const bool right = size == 0 ? data == nullptr : std::memcmp(data, Fixture::kText, size) == 0;
  std::free(data);
  return right ? size : kWrong;
}

TEST(Faults, Tls) {
  inject({
      {"file content", {sizeof Fixture::kText - 1, 0}, content},
      {"fingerprint", {0, -1}, fingerprint},
      {"Netscape sequence", {1, 0}, netscape},
      {"PEM from DER", {0, -1}, converted},
      // OpenSSL makes tens of thousands of allocations here.
      {"client context", {1, 0}, context, false},
      {"handshake", {1, 0}, handshake, false},
      {"links", {2, 1, 0}, links, false},
  });
}

}  // namespace
}  // namespace talvera::test
