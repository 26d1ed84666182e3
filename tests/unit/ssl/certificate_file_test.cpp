// Certificate files: every encoding as the openssl command writes it, and what is no certificate.
#include <gmock/gmock.h>
#include <openssl/err.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#ifdef __SANITIZE_ADDRESS__
#include <malloc.h>
// Of the sanitizers' run-time library, for which GCC has no header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *,
                                                                  std::size_t),
                                                         void (*)(const volatile void *));
#endif

#include "support/certificates.h"
#include "support/system_double.h"
#include "talvera/ssl.h"
#include "unit/ssl/fixture.h"

namespace talvera::test {
namespace {

// DER of a SEQUENCE or OCTET STRING.
std::string der(char tag, const std::string &content) {
  const std::size_t size = content.size();
  std::string head(1, tag);
  if (size < 0x80) {
    head += static_cast<char>(size);
  } else {
    head += {'\x82', static_cast<char>(size >> 8), static_cast<char>(size)};
  }
  return head + content;
}

// The files are made once: one certificate in every encoding.
struct Files {
  Files() {
    all.issue("plain", "/C=GB/O=Example/CN=one.example.net");
    all.issue("other", "/CN=other.example.net");
    run("openssl x509 -in plain.pem -outform DER -out plain.der");
    run("openssl x509 -in plain.pem -trustout -setalias mine -out trusted.pem");
    run("openssl pkcs12 -export -in plain.pem -passout pass: -nokeys -out nokey.p12");
    const std::string with_key =
        "openssl pkcs12 -export -in plain.pem -certfile root.pem -inkey " + all.key();
    run(with_key + " -passout pass: -out new.p12");
    run(with_key + " -passout pass: -out old.p12 -legacy" +
        " -certpbe PBE-SHA1-RC2-40 -keypbe PBE-SHA1-3DES -macalg sha1");
    run(with_key + " -passout pass:secret -out secret.p12");
    run("(echo some words first; cat plain.pem other.pem) >two.pem");
    run("cp " + all.key() + " key-only.pem; cat key-only.pem plain.pem >with-key.pem");

    const std::string certificate = read_file(*this / "plain.der");
    const std::string full = der(0x04, "certificate");
    write("netscape", der(0x30, full + certificate));
    write("netscape-short", der(0x30, der(0x04, "cert") + certificate));
    write("netscape-empty-header", der(0x30, der(0x04, "") + certificate));
    write("netscape-other-header", der(0x30, der(0x04, "Certificate") + certificate));
    write("netscape-long-header", der(0x30, der(0x04, "certificates") + certificate));
    write("netscape-header-only", der(0x30, full));
    write("netscape-cut", der(0x30, full + certificate).substr(0, 400));
    write("cut.der", certificate.substr(0, certificate.size() - 1));
    write("cut.p12", read_file(*this / "new.p12").substr(0, 900));
    write("empty", "");
    write("encrypted.pem",
          "-----BEGIN CERTIFICATE-----\nProc-Type: 4,ENCRYPTED\nDEK-Info: "
          "DES-EDE3-CBC,0011223344556677\n\nAAAAAAAAAAA=\n-----END CERTIFICATE-----\n");
  }
  void run(const std::string &command) const {
    shell("cd " + all.folder().path() + " && " + command);
  }
  void write(const char *name, const std::string &content) const {
    all.folder().write(name, content);
  }
  std::string operator/(std::string_view name) const { return all / name; }

  Certificates all;
};

const Files &files() {
  static const Files made;
  return made;
}

unsigned long hash_of(const std::string &pem) {
  return std::stoul(shell("openssl x509 -noout -subject_hash -in " + pem), nullptr, 16);
}

std::string fingerprint_of(const std::string &pem, const std::string &digest) {
  const std::string line = shell("openssl x509 -noout -fingerprint -" + digest + " -in " + pem);
  const std::size_t start = line.find('=') + 1;
  return line.substr(start, line.find('\n') - start);
}

class CertificateFile : public ::testing::Test {
 protected:
  CertificateFile() { static_cast<void>(files()); }
  // Nothing is left open or in the error queue.
  void TearDown() override {
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_EQ(open_descriptors(), descriptors_);
  }

 private:
  int descriptors_ = open_descriptors();
};

TEST_F(CertificateFile, EveryEncodingByEveryWord) {
  const unsigned long expected = hash_of(files() / "plain.pem");
  using WordList = std::vector<const char *>;
  const std::tuple<const char *, WordList, WordList> cases[] = {
      // words by which it is (not) read
      {"plain.der", {"der", "DER", "d", "Dxyz"}, {"pem", "text", "n", "", nullptr}},
      {"plain.pem",
       {"pem", "PEM", "P", "p", "PKCS7", "pkcs12 ", "P123", "p1", "Pkcs12"},
       {"pv", "PVK", "pVx", "Pv", "der", "t", "T", "s", "SMIME", "m", "MSBLOB", "e", "ENGINE", "x",
        " pem", "0", "11", "PKCS12"}},
      {"trusted.pem", {"pem"}, {}},
      {"two.pem", {"pem"}, {}},
      {"with-key.pem", {"pem"}, {}},
      {"new.p12", {"1", "12", "1x", "PKCS12", "pkcs12", "P12", "p12"}, {"pem", "PKCS", "2", "der"}},
      {"old.p12", {"p12"}, {}},
      {"nokey.p12", {"p12"}, {}},
      {"netscape", {"n", "N", "net", "NETSCAPE"}, {"der"}},
      {"netscape-short", {"n"}, {}},
      {"netscape-empty-header", {"n"}, {}},
      {"netscape-other-header", {}, {"n"}},
      {"netscape-long-header", {}, {"n"}},
      {"netscape-header-only", {}, {"n"}},
      {"netscape-cut", {}, {"n"}},
      {"cut.der", {}, {"d", "n", "p12", "pem"}},
      {"cut.p12", {}, {"p12"}},
      {"secret.p12", {}, {"p12"}},
      {"key-only.pem", {}, {"pem"}},
      {"encrypted.pem", {}, {"pem"}},
      {"empty", {}, {"d", "n", "p12", "pem"}},
      {"missing", {}, {"d"}},
  };
  for (const auto &[file, read, not_read] : cases) {
    const std::string path = files() / file;
    for (const char *word : read)
      EXPECT_EQ(SSL_cert_hash(path.c_str(), word), expected) << file << ' ' << word;
    for (const char *word : not_read) {
      EXPECT_EQ(SSL_cert_hash(path.c_str(), word), 0U)
          << file << ' ' << (word != nullptr ? word : "(null)");
    }
  }
  EXPECT_NE(hash_of(files() / "other.pem"), expected);
}

TEST_F(CertificateFile, FingerprintTextAndItsEnd) {
  const std::string pem = files() / "plain.pem";
  const std::tuple<const char *, const char *, std::size_t> cases[] = {{"SHA1", "sha1", 61},
                                                                       {"Md5", "md5", 49}};
  for (const auto &[word, digest, room] : cases) {
    std::string out(64, '#');
    ASSERT_EQ(SSL_cert_fingerprint(pem.c_str(), "pem", word, out.data()), 0) << word;
    const std::string expected = fingerprint_of(pem, digest);
    EXPECT_EQ(expected.size() + 2, room);
    EXPECT_EQ(out, expected + std::string(2, '\0') + std::string(64 - room, '#'));
  }
}

TEST_F(CertificateFile, FingerprintRefusals) {
  const std::string pem = files() / "plain.pem";
  char out[64] = "unchanged";
  for (const char *digest : {"sha256", "sha", "", static_cast<const char *>(nullptr)})
    EXPECT_EQ(SSL_cert_fingerprint(pem.c_str(), "pem", digest, out), -1);
  EXPECT_EQ(SSL_cert_fingerprint(pem.c_str(), "pem", "sha1", nullptr), -1);
  EXPECT_EQ(SSL_cert_fingerprint(pem.c_str(), "der", "sha1", out), -1);
  EXPECT_STREQ(out, "unchanged");
}

// Standard input is read no further than the certificate goes, and stays open.
TEST_F(CertificateFile, StandardInput) {
  const StandardInput input(files() / "two.pem");
  EXPECT_EQ(SSL_cert_hash(nullptr, "pem"), hash_of(files() / "plain.pem"));
  EXPECT_EQ(SSL_cert_hash(nullptr, "pem"), hash_of(files() / "other.pem"));
  EXPECT_EQ(SSL_cert_hash(nullptr, "pem"), 0U);
  EXPECT_NE(fcntl(0, F_GETFD), -1);
  std::clearerr(stdin);
}

TEST_F(CertificateFile, DerToPem) {
  const TempDir dir;
  const std::string out = dir.write("out.pem", std::string(5000, 'x'));
  EXPECT_EQ(SSL_cert_der2pem((files() / "plain.der").c_str(), out.c_str()), 0);
  EXPECT_EQ(read_file(out), shell("openssl x509 -in " + files() / "plain.pem"));

  // The new file is emptied first, and stays.
  EXPECT_EQ(SSL_cert_der2pem((files() / "plain.pem").c_str(), out.c_str()), -1);
  struct stat status;
  ASSERT_EQ(stat(out.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_EQ(SSL_cert_der2pem((dir / "missing").c_str(), (dir / "new.pem").c_str()), -1);
  EXPECT_EQ(stat((dir / "new.pem").c_str(), &status), 0);

  EXPECT_EQ(SSL_cert_der2pem((files() / "plain.der").c_str(), (dir / "no/such").c_str()), -1);
  EXPECT_EQ(SSL_cert_der2pem((files() / "plain.der").c_str(), nullptr), -1);
  EXPECT_EQ(SSL_cert_der2pem((files() / "plain.der").c_str(), "/dev/full"), -1);
}

#ifdef __SANITIZE_ADDRESS__
TEST_F(CertificateFile, NoKeyIsLeftInFreedMemory) {
  // From the private part of a key.
  static const std::string text = read_file(files() / "key-only.pem").substr(700, 40);
  static const std::string bytes =
      shell("openssl rsa -outform DER -in " + files() / "key-only.pem").substr(700, 24);
  static bool watching = false;
  static int left = 0;
  ASSERT_NE(__sanitizer_install_malloc_and_free_hooks(
                [](const volatile void *, std::size_t) {},
                [](const volatile void *block) {
                  void *const start = const_cast<void *>(block);
                  const std::size_t size = malloc_usable_size(start);
                  if (watching && (memmem(start, size, text.data(), text.size()) != nullptr ||
                                   memmem(start, size, bytes.data(), bytes.size()) != nullptr))
                    ++left;
                }),
            0);
  watching = true;
  std::free(strdup(text.c_str()));
  EXPECT_EQ(std::exchange(left, 0), 1);  // is seen
  EXPECT_NE(SSL_cert_hash((files() / "with-key.pem").c_str(), "pem"), 0U);
  EXPECT_EQ(SSL_cert_hash((files() / "key-only.pem").c_str(), "pem"), 0U);
  unsigned char *data = nullptr;
  SystemDouble system;
  system.shorten("read", 1500);
  EXPECT_EQ(uc_get_cert_data_from_file(&data, files().all.folder().path().c_str(), "key-only.pem"),
            0);
  EXPECT_EQ(left, 0);
  watching = false;
}
#endif

// Every allocation in turn fails: no certificate, or the right one, and nothing is lost.
TEST_F(CertificateFile, OutOfMemory) {
  const unsigned long expected = hash_of(files() / "plain.pem");
  const std::string path = files() / "netscape";
  for (int allowed = 0; allowed < 120; ++allowed) {
    SystemDouble system;
    system.fail("malloc", ENOMEM).after(allowed);
    const unsigned long hash = SSL_cert_hash(path.c_str(), "n");
    system.forget();
    const bool partly_copied = OPENSSL_VERSION_NUMBER < 0x10100000L;  // 1.0 hashes such a name, too
    EXPECT_TRUE(hash == 0 || hash == expected || partly_copied) << allowed;
  }
}

}  // namespace
}  // namespace talvera::test
