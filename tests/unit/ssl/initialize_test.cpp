// The client context: protocol words, log lines, trusted roots, client identity, every failure.
#include <openssl/ssl.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

#include "support/certificates.h"
#include "support/openssl_names.h"
#include "talvera/ssl.h"
#include "unit/ssl/fixture.h"

namespace talvera::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

// A distribution's configuration that refuses what OpenSSL 1.0 accepted. It is read when OpenSSL is
// first used, so it has to be named before.
[[maybe_unused]] const int configured = setenv("OPENSSL_CONF", TALVERA_STRICT_CONFIGURATION, 1);
// The machine's own trusted roots would hide what is tested.
[[maybe_unused]] const int no_machine_roots = setenv("SSL_CERT_FILE", "/nowhere", 1);

constexpr char kSuccess[] = "SSL: Initialization Success";
constexpr char kFailure[] = "SSL: Initializing Failure";
constexpr char kNotInstalled[] = "SSL: Failed to Install Root CA certificate";
constexpr char kDownloaded[] = "SSL: Installed downloaded Root CA certificate";
constexpr char kRoots[] =
    "SSL: Installed Verisign, Equifax, Thawte, Brio, Vasko & Arcwy Root CA certificates";
constexpr char kRootsWithoutVasko[] =
    "SSL: Installed Verisign, Equifax, Thawte, Brio & Arcwy Root CA certificates";

constexpr long kModes = SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_AUTO_RETRY;

LogLine start(const std::string &version) {
  return info("SSL: Initializing Service (version: " + version + ")");
}

template <typename Object, typename Encode>
std::string encoded(Object *object, Encode encode) {
  unsigned char *der = nullptr;
  const int size = encode(object, &der);
  const std::string text(reinterpret_cast<char *>(der), size > 0 ? size : 0);
  OPENSSL_free(der);
  return text;
}

// What the product ships: file names by content.
std::map<std::string, std::string> product_roots() {
  std::map<std::string, std::string> roots;
  for (const auto &file : std::filesystem::directory_iterator(TALVERA_STAND_INS)) {
    const std::string name = file.path().filename();
    if (name.ends_with(".der") && !name.starts_with("client")) roots[read_file(file.path())] = name;
  }
  return roots;
}

// The certificates that a context trusts: the product's by file name, others as "other".
std::multiset<std::string> roots_of(SSL_CTX *context) {
  static const auto known = product_roots();
  std::multiset<std::string> roots;
  STACK_OF(X509_OBJECT) *objects = X509_STORE_get0_objects(SSL_CTX_get_cert_store(context));
  for (int i = 0; i < sk_X509_OBJECT_num(objects); ++i) {
    X509 *certificate = X509_OBJECT_get0_X509(sk_X509_OBJECT_value(objects, i));
    const auto found = known.find(encoded(certificate, i2d_X509));
    roots.insert(found != known.end() ? found->second : "other");
  }
  return roots;
}

std::string some_root() {
  static const std::string der = shell(
      "openssl req -x509 -newkey rsa:1024 -nodes -keyout /dev/null -subj /CN=Downloaded -days 9 "
      "-outform DER");
  return der;
}

class Initialize : public VarTest {
 protected:
  void SetUp() override {
    VarTest::SetUp();
    system.set_value("system.sku", "1");
  }
  void TearDown() override {
    context.reset();
    VarTest::TearDown();
  }
  // Initialises once and gives what was logged; the context is what came of it.
  std::vector<LogLine> logged(const char *version) {
    system.clear_records();
    context.reset(SSL_initialize(version));
    return system.log();
  }

  SystemDouble system;
  std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context{nullptr, SSL_CTX_free};
};

TEST_F(Initialize, ProtocolWords) {
  const std::pair<const char *, const SSL_METHOD *> words[] = {
      {"tls1", TLSv1_client_method()},
      {"tls1.1", TLSv1_1_client_method()},
      {"tls1.2", TLSv1_2_client_method()},
      {"dtls1", DTLSv1_client_method()},
  };
  for (const auto &[word, method] : words) {
    EXPECT_THAT(logged(word), ElementsAre(start(word), info(kRoots), info(kSuccess)));
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(SSL_CTX_get_ssl_method(context.get()), method) << word;
  }
  for (const char *word : {"tls", "TLS1", "tls1 ", "tls1.3", "ssl2", "dtls"}) {
    EXPECT_THAT(logged(word),
                ElementsAre(start(word), error("SSLClient: SSL/TLS version unsupported.")));
    EXPECT_EQ(context, nullptr);
  }
  const LogLine none = error("SSL: failed to initialize: no protocol specified!");
  EXPECT_THAT(logged(nullptr), ElementsAre(start("unknown"), none));
  EXPECT_THAT(logged(""), ElementsAre(start(""), none));
}

TEST_F(Initialize, AContextThatCannotBeMade) {
  const LogLine failed = error("SSLClient: creation of CTX object failed");
#ifdef OPENSSL_NO_SSL3_METHOD
  EXPECT_THAT(logged("ssl3"), ElementsAre(start("ssl3"), failed));
#endif
  system.answer("SSL_CTX_new", 0);
  EXPECT_THAT(logged("tls1"), ElementsAre(start("tls1"), failed));
  EXPECT_EQ(context, nullptr);
}

// The system's strict configuration does not count, and neither do newer defaults.
TEST_F(Initialize, AcceptsWhatOpenSsl10Accepted) {
  logged("tls1.2");
  SSL_CTX *made = context.get();
  ASSERT_NE(made, nullptr);
  const auto options = SSL_CTX_get_options(made);
  EXPECT_TRUE(options & SSL_OP_LEGACY_SERVER_CONNECT);
  EXPECT_FALSE(options & (SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 | SSL_OP_NO_TLSv1_2));
  std::set<std::string> ciphers;
  STACK_OF(SSL_CIPHER) *offered = SSL_CTX_get_ciphers(made);
  for (int i = 0; i < sk_SSL_CIPHER_num(offered); ++i)
    ciphers.insert(SSL_CIPHER_get_name(sk_SSL_CIPHER_value(offered, i)));
  for (const char *cipher : {"AES128-SHA", "ADH-AES128-SHA", "ECDHE-RSA-AES256-GCM-SHA384"})
    EXPECT_TRUE(ciphers.contains(cipher)) << cipher;

#if OPENSSL_VERSION_NUMBER >= 0x10101000L  // which began to take such a configuration
  EXPECT_EQ(SSL_CTX_get_security_level(made), 0);
  EXPECT_EQ(SSL_CTX_get_min_proto_version(made), 0);
  EXPECT_EQ(SSL_CTX_get_max_proto_version(made), 0);
  SSL_CTX *other = SSL_CTX_new(TLS_client_method());  // the program's own keep the configuration
  EXPECT_EQ(SSL_CTX_get_security_level(other), 3);
  EXPECT_EQ(SSL_CTX_get_min_proto_version(other), TLS1_3_VERSION);
  SSL_CTX_free(other);
#endif
}

TEST_F(Initialize, RootsAndIdentityOfTheProduct) {
  logged("tls1.2");
  SSL_CTX *made = context.get();
  ASSERT_NE(made, nullptr);
  const auto roots = roots_of(made);
  EXPECT_EQ(roots.size(), 11U);
  EXPECT_EQ(std::set(roots.begin(), roots.end()).size(), 11U);
  EXPECT_FALSE(roots.contains("other"));

  const std::string certificate(reinterpret_cast<const char *>(client_cert), sizeof client_cert);
  const std::string key(reinterpret_cast<const char *>(client_pvt_key), sizeof client_pvt_key);
  EXPECT_EQ(certificate, read_file(TALVERA_STAND_INS "/client.der"));
  EXPECT_EQ(key, read_file(TALVERA_STAND_INS "/client-key.der"));
  EXPECT_EQ(encoded(SSL_CTX_get0_certificate(made), i2d_X509), certificate);
  EXPECT_EQ(encoded(SSL_CTX_get0_privatekey(made), i2d_PrivateKey), key);

  EXPECT_EQ(SSL_CTX_get_verify_mode(made), SSL_VERIFY_NONE);
  EXPECT_EQ(SSL_CTX_get_verify_callback(made), nullptr);
  EXPECT_EQ(SSL_CTX_get_mode(made) & kModes, kModes);
  EXPECT_EQ(system.count("SSL_CTX_set_default_verify_paths"), 1);
}

TEST_F(Initialize, SeedsTheGeneratorWithItsOwnOutput) {
  system.answer("RAND_status", 0).times(3);
  logged("tls1");
  EXPECT_EQ(system.count("RAND_status"), 4);
  Texts calls;
  for (const std::string &call : system.calls())
    if (call.find(" 100 ") != std::string::npos) calls.push_back(call);
  ASSERT_EQ(calls.size(), 6U);
  for (std::size_t i = 0; i < calls.size(); i += 2) {
    EXPECT_THAT(calls[i], ::testing::StartsWith("RAND_bytes 100 "));
    EXPECT_EQ(calls[i + 1], "RAND_seed" + calls[i].substr(std::strlen("RAND_bytes")));
  }
  // A generator that is seeded is left alone, and is asked on every call.
  logged("tls1");
  EXPECT_EQ(system.count("RAND_status"), 1);
  EXPECT_THAT(system.calls(), Not(Contains(::testing::StartsWith("RAND_seed"))));
}

TEST_F(Initialize, DownloadedRoot) {
  const std::string big = shell(
      "openssl req -x509 -newkey rsa:1024 -nodes -keyout /dev/null -subj /CN=Big -days 9 -outform "
      "DER -addext nsComment=$(printf '%04000d' 0)");
  ASSERT_GT(big.size(), 4096U);
  // What the file holds, and how many roots are trusted then; 0: it is refused.
  const std::tuple<const char *, std::string, std::size_t> cases[] = {
      {"certificate", some_root(), 12},
      {"one of the product's", read_file(TALVERA_STAND_INS "/05-vasko.der"), 11},
      {"bytes behind it", some_root() + std::string(5000, 'x'), 12},
      {"empty", "", 11},
      {"junk", "junk", 0},
      {"longer than what is read", big, 0},
  };
  for (const auto &[what, content, roots] : cases) {
    SCOPED_TRACE(what);
    write("/var/tmp/ssl_cert", content);
    const auto log = logged("tls1.2");
    ASSERT_EQ(context != nullptr, roots != 0);
    if (roots == 0) {
      EXPECT_THAT(log, ElementsAre(start("tls1.2"), error(kNotInstalled), error(kFailure)));
    } else {
      EXPECT_THAT(log,
                  ElementsAre(start("tls1.2"), info(kDownloaded), info(kRoots), info(kSuccess)));
      EXPECT_EQ(roots_of(context.get()).size(), roots);
    }
  }
}

TEST_F(Initialize, DownloadedRootThatCannotBeRead) {
  const auto as_if_not_there = ElementsAre(start("tls1"), info(kRoots), info(kSuccess));
  const auto failed = ElementsAre(start("tls1"), error(kNotInstalled), error(kFailure));
  EXPECT_THAT(logged("tls1"), as_if_not_there);
  write("/var/tmp/ssl_cert", some_root());
  system.fail("open", EACCES);
  EXPECT_THAT(logged("tls1"), as_if_not_there);
  system.fail("read", EIO);
  EXPECT_THAT(logged("tls1"), failed);
  system.shorten("read", 100);  // one read is all
  EXPECT_THAT(logged("tls1"), failed);

  ASSERT_TRUE(unlink("/var/tmp/ssl_cert") == 0 && mkfifo("/var/tmp/ssl_cert", 0600) == 0);
  EXPECT_THAT(logged("tls1"), failed);  // without waiting for somebody to write

  // Descriptor 0 counts as no file, and is left open.
  const StandardInput closed;
  EXPECT_THAT(logged("tls1"), as_if_not_there);
  EXPECT_NE(fcntl(0, F_GETFD), -1);
}

TEST_F(Initialize, ProductVariantDecidesTheWords) {
  const std::pair<const char *, const char *> variants[] = {
      {"50", kRootsWithoutVasko},
      {" 64x", kRootsWithoutVasko},
      {"0000000000000500", kRootsWithoutVasko},  // of which 15 characters count
      {"abc", kRoots},
      {"51", kRoots},
      {"63", kRoots},
      {"-50", kRoots},
      {"4294967346", kRoots},  // 50, were it not for the limit
  };
  for (const auto &[sku, line] : variants) {
    system.set_value("system.sku", sku);
    EXPECT_THAT(logged("tls1"), ElementsAre(start("tls1"), info(line), info(kSuccess))) << sku;
    EXPECT_EQ(roots_of(context.get()).size(), 11U);
  }
  system.answer("sdb_get", EIO);
  EXPECT_THAT(
      logged("tls1"),
      ElementsAre(start("tls1"), error("Failed to get sku - Input/output error"), error(kFailure)));
}

TEST_F(Initialize, AProductRootThatDoesNotParse) {
  for (const int root : {0, 5, 10}) {
    system.answer("d2i_X509", 0).after(root);
    EXPECT_THAT(logged("tls1"), ElementsAre(start("tls1"), error(kFailure))) << root;
    EXPECT_EQ(system.count("d2i_X509"), root + 1);
  }
}

// A refused identity is no failure, but nothing that comes after it is done.
TEST_F(Initialize, RefusedIdentity) {
  // The call that fails, calls before it; what the context has, and how often the paths were set.
  const std::tuple<const char *, int, bool, bool, int> cases[] = {
      {"SSL_CTX_use_RSAPrivateKey_ASN1", 0, false, false, 0},
      {"d2i_X509", 11, true, false, 0},
      {"SSL_CTX_use_certificate", 0, true, false, 0},
      {"SSL_CTX_check_private_key", 0, true, true, 0},
      {"SSL_CTX_set_default_verify_paths", 0, true, true, 1},
  };
  for (const auto &[call, skip, has_key, has_certificate, default_paths] : cases) {
    SCOPED_TRACE(call);
    system.answer(call, 0).after(skip);
    EXPECT_THAT(logged("tls1.2"), ElementsAre(start("tls1.2"), info(kRoots), info(kSuccess)));
    ASSERT_NE(context, nullptr);
    // A certificate is found by its key, so ask for both.
    EXPECT_EQ(SSL_CTX_get0_privatekey(context.get()) != nullptr, has_key);
    EXPECT_EQ(SSL_CTX_get0_certificate(context.get()) != nullptr, has_certificate);
    EXPECT_EQ(system.count("SSL_CTX_set_default_verify_paths"), default_paths);
    EXPECT_EQ(SSL_CTX_get_mode(context.get()) & kModes, 0);
    system.forget();
  }
}

// The calls nest, and OpenSSL marks its queue itself.
TEST_F(Initialize, ErrorsOfTheProgramStayQueued) {
  for (const int reason : {101, 102})
    ERR_put_error(ERR_LIB_USER, 0, reason, __FILE__, __LINE__);
  write("/var/tmp/ssl_cert", "junk");
  logged("tls1.2");
  EXPECT_EQ(SSL_cert_hash("/etc/passwd", "p12"), 0U);
  EXPECT_EQ(uc_make_x509(client_pvt_key, sizeof client_pvt_key), nullptr);
  for (const int reason : {101, 102})
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), reason);
}

TEST_F(Initialize, LoadCert) {
  context.reset(SSL_CTX_new(SSLv23_client_method()));
  const std::string der = some_root();
  const auto *const bytes = reinterpret_cast<const unsigned char *>(der.data());
  const auto size = static_cast<long>(der.size());
  for (const long wrong : {size - 1, 0L, -1L})
    EXPECT_EQ(SSL_Load_Cert(context.get(), bytes, wrong), 0);
  EXPECT_EQ(SSL_Load_Cert(context.get(), nullptr, size), 0);
  EXPECT_TRUE(roots_of(context.get()).empty());
  EXPECT_EQ(SSL_Load_Cert(context.get(), bytes, size), 1);
  EXPECT_EQ(SSL_Load_Cert(context.get(), bytes, size), 1);
  EXPECT_THAT(roots_of(context.get()), ElementsAre("other"));
}

}  // namespace
}  // namespace talvera::test
