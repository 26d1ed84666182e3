// Bindings of the TLS family: certificates, certificate files, the client context. The library's
// fixed paths below /var require host/sandbox.
#include <dirent.h>
#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "runner/bind.h"
#include "support/blob.h"
#include "support/openssl_names.h"
#include "talvera/ssl.h"

extern "C" {
// Provided by the sanitizers, if linked.
__attribute__((weak)) int __asan_address_is_poisoned(const volatile void *at);
__attribute__((weak)) void __lsan_disable();
__attribute__((weak)) void __lsan_enable();
}

namespace talvera::test {
namespace {

// A configuration that rejects what OpenSSL 1.0 accepted. OpenSSL reads it on first use, so it must
// be named before. Ignores the machine's own roots.
[[maybe_unused]] const int configured = setenv("OPENSSL_CONF", TALVERA_STRICT_CONFIGURATION, 1);
[[maybe_unused]] const int no_machine_roots = setenv("SSL_CERT_FILE", "/nowhere", 1);

constexpr char kVar[] = "/var/etc/ssl", kDownloaded[] = "/var/tmp/ssl_cert";
const std::string kProduct = TALVERA_STAND_INS;

std::set<std::string> names_in(const std::string &folder) {
  std::set<std::string> names;
  DIR *const directory = opendir(folder.c_str());
  while (const dirent *entry = readdir(directory))
    names.insert(entry->d_name);
  closedir(directory);
  names.erase(".");
  names.erase("..");
  return names;
}
void empty_directory() {
  for (const std::string &name : names_in(kVar))
    remove((std::string(kVar) + '/' + name).c_str());
}

// The library's folders in /var, removed at the end of the group.
struct Var : NonCopyable {
  Var() {
    for (const char *path : {"/var/tmp", "/var/etc"})
      mkdir(path, 0777);
    if (mkdir(kVar, 0777) != 0) throw TableError("needs host/sandbox: there is a /var/etc/ssl");
  }
  ~Var() {
    empty_directory();
    rmdir(kVar);
    unlink(kDownloaded);
  }
};
// tls: an empty CA directory, a product variant and network time.
DIRECTIVE(tls, [](Call &call) {
  call.session().state<Var>();
  call.session().values["product"] = kProduct;
  call.session().system.values["system.sku"] = "1";
  call.session().system.values["ip.ntp.time-acquired"] = "1";
});
// The names in the CA directory, with the targets of links.
DIRECTIVE(links, [](Call &call) {
  std::string all;
  for (const std::string &name : names_in(kVar)) {
    char target[PATH_MAX] = {};
    static_cast<void>(readlink((std::string(kVar) + '/' + name).c_str(), target, PATH_MAX - 1));
    all += (all.empty() ? "" : ", ") + name + (*target != '\0' ? " > " : "") + target;
  }
  return call.session().shown(all);
});
DIRECTIVE(no_links, [] { empty_directory(); });

// ---- Certificates -------------------------------------------------------------------------------

template <typename Object, typename Encode>
std::string encoded(Object *object, Encode encode) {
  unsigned char *der = nullptr;
  const int size = encode(object, &der);
  const std::string bytes(reinterpret_cast<char *>(der), size > 0 ? size : 0);
  OPENSSL_free(der);
  return bytes;
}
X509 *decoded(const std::string &der) {
  const auto *bytes = reinterpret_cast<const unsigned char *>(der.data());
  return d2i_X509(nullptr, &bytes, static_cast<long>(der.size()));
}
// The key of a root that the product trusts, used for all certificates here.
EVP_PKEY *root_key() {
  std::FILE *const file = std::fopen((kProduct + "/06-brio.key.pem").c_str(), "r");
  EVP_PKEY *const key = PEM_read_PrivateKey(file, nullptr, nullptr, nullptr);
  std::fclose(file);
  return key;
}
EVP_PKEY *strangers_key() {
  const std::string der = read_file(kProduct + "/client-key.der");
  const auto *bytes = reinterpret_cast<const unsigned char *>(der.data());
  return d2i_PrivateKey(EVP_PKEY_RSA, nullptr, &bytes, static_cast<long>(der.size()));
}
void set_time(ASN1_TIME *time, const std::string &text) {
  ASN1_STRING_set(time, text.data(), static_cast<int>(text.size()));
  time->type =
      text.size() == std::strlen("YYMMDDhhmmssZ") ? V_ASN1_UTCTIME : V_ASN1_GENERALIZEDTIME;
}

// issue NAME WORD VALUE...: creates "<tmp>/NAME.pem", "<tmp>/NAME.der" and "$NAME", the same in
// every run. Words are attributes of the subject, dates (from, until), name of the issuer (by),
// foreign key (stranger), digest and extensions.
DIRECTIVE(issue, [](Call &call, const std::string &name) {
  X509 *const made = X509_new();
  X509 *issuer = decoded(read_file(kProduct + "/06-brio.der"));
  EVP_PKEY *const key = root_key(), *const other = strangers_key();
  EVP_PKEY *signer = key;
  const EVP_MD *digest = EVP_sha256();
  X509_NAME *const subject = X509_get_subject_name(made);
  X509_set_version(made, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(made), 7);
  set_time(X509_get_notBefore(made), "200101000000Z");
  set_time(X509_get_notAfter(made), "350101000000Z");
  X509_set_pubkey(made, key);
  while (call.has_more()) {
    const std::string word = call.take().bytes;
    std::string value = call.take().bytes;
    if (value.ends_with('\0')) value.pop_back();
    if (word == "from" || word == "until") {
      set_time(word == "from" ? X509_get_notBefore(made) : X509_get_notAfter(made), value);
    } else if (word == "by") {
      X509_free(issuer);
      issuer = value == "itself" ? nullptr
                                 : decoded(read_file(call.session().folder() / (value + ".der")));
    } else if (word == "stranger") {
      signer = other;
    } else if (word == "digest") {
      digest = value == "md5" ? EVP_md5() : EVP_sha1();
    } else if (word == "subjectAltName" || word == "basicConstraints") {
      const int nid = OBJ_sn2nid(word.c_str());
      X509_EXTENSION *const extension = X509V3_EXT_conf_nid(nullptr, nullptr, nid, value.data());
      X509_add_ext(made, extension, -1);
      X509_EXTENSION_free(extension);
    } else {
      X509_NAME_add_entry_by_txt(subject, word.c_str(), V_ASN1_UTF8STRING,
                                 reinterpret_cast<const unsigned char *>(value.data()),
                                 static_cast<int>(value.size()), -1, 0);
    }
  }
  X509_set_issuer_name(made, issuer == nullptr ? subject : X509_get_subject_name(issuer));
  if (X509_sign(made, signer, digest) == 0) throw TableError("cannot sign");
  const std::string der = encoded(made, i2d_X509);
  call.session().folder().write(name + ".der", der);
  call.session().values[name] = in_quotes(der, true);
  std::FILE *const pem = std::fopen((call.session().folder() / (name + ".pem")).c_str(), "w");
  PEM_write_X509(pem, made);
  std::fclose(pem);
  X509_free(made);
  X509_free(issuer);
  EVP_PKEY_free(key);
  EVP_PKEY_free(other);
});
// netscape PATH b"header" $NAME: writes a Netscape sequence of header and certificate.
DIRECTIVE(netscape, [](Call &call, const std::string &path) {
  const std::string header = call.take().bytes;
  std::ofstream(path) << netscape_sequence(header, call.has_more() ? call.take().bytes : "");
});

// ---- Files and fields ---------------------------------------------------------------------------

BIND(SSL_cert_rehash, SSL_cert_hash, SSL_cert_fingerprint, SSL_IsCertValidFormat);
// Not errno, which OpenSSL changes.
BIND_AS(SSL_cert_der2pem, [](const char *der_path, const char *pem_path) {
  return std::to_string(SSL_cert_der2pem(der_path, pem_path));
});
BIND_AS(uc_make_x509,
        [](const unsigned char *der, long size) -> void * { return uc_make_x509(der, size); });
DIRECTIVE(X509_free, [](void *certificate) { X509_free(static_cast<X509 *>(certificate)); });

template <auto kRead>
int field(void *certificate, char *buffer, int size) {
  return kRead(static_cast<X509 *>(certificate), buffer, size);
}
BIND_AS(uc_get_common_name, field<uc_get_common_name>);
BIND_AS(uc_get_serial_number, field<uc_get_serial_number>);
BIND_AS(uc_get_organization_name, field<uc_get_organization_name>);
BIND_AS(uc_get_organizational_unit_name, field<uc_get_organizational_unit_name>);
// Uses a certificate of its own, because a query consumes it: frees the date with free(), and loses
// the rest.
template <auto kRead>
std::string date(const unsigned char *der, long length, char *buffer, int size) {
  std::optional<Bypass> guard(std::in_place);
  if (__lsan_disable != nullptr) __lsan_disable();
  X509 *const certificate = uc_make_x509(der, length);
  if (__lsan_enable != nullptr) __lsan_enable();
  guard.reset();
  const void *const at =
      kRead == uc_get_notbefore ? X509_get_notBefore(certificate) : X509_get_notAfter(certificate);
  const int result = kRead(certificate, buffer, size);
  const bool kept = __asan_address_is_poisoned != nullptr && __asan_address_is_poisoned(at) == 0;
  return std::to_string(result) + (kept ? " kept" : "");
}
BIND_AS(uc_get_notbefore, date<uc_get_notbefore>);
BIND_AS(uc_get_notafter, date<uc_get_notafter>);

BIND_AS(uc_get_cert_data_from_file, [](OutBytes<true> &to, const char *folder, const char *name) {
  const int size = uc_get_cert_data_from_file(&to.data, folder, name);
  to.length = static_cast<unsigned>(size);
  return size;
});

// ---- The error queue ----------------------------------------------------------------------------

DIRECTIVE(queue_errors, [] {
  for (const int reason : {101, 102})
    ERR_put_error(ERR_LIB_USER, 0, reason, "table", 1);
});
// Empties the error queue and returns its content.
DIRECTIVE(queued, [] {
  std::string reasons;
  while (const unsigned long error = ERR_get_error())
    reasons += (reasons.empty() ? "" : " ") + std::to_string(ERR_GET_REASON(error));
  return reasons.empty() ? std::string("nothing") : reasons;
});

// ---- The client context -------------------------------------------------------------------------

std::string roots_of(SSL_CTX *context) {
  std::set<std::string> product, found;
  for (const std::string &name : names_in(kProduct))
    if (!name.starts_with("client")) product.insert(read_file(kProduct + '/' + name));
  STACK_OF(X509_OBJECT) *const objects = X509_STORE_get0_objects(SSL_CTX_get_cert_store(context));
  const int count = sk_X509_OBJECT_num(objects);
  for (int i = 0; i < count; ++i) {
    const std::string der =
        encoded(X509_OBJECT_get0_X509(sk_X509_OBJECT_value(objects, i)), i2d_X509);
    if (product.contains(der)) found.insert(der);
  }
  const int others = count - static_cast<int>(found.size());
  return std::to_string(found.size()) + (others > 0 ? "+" + std::to_string(others) : "");
}

// What a context rejects that OpenSSL 1.0 accepted.
std::string refused_by(SSL_CTX *context) {
  std::string words;
  const auto refuse = [&words](bool refused, const char *word) {
    if (refused) words += std::string(" !") + word;
  };
  const auto options = SSL_CTX_get_options(context);
  refuse((options & SSL_OP_LEGACY_SERVER_CONNECT) == 0, "legacy");
  refuse((options & (SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 | SSL_OP_NO_TLSv1_2)) != 0, "version");
#if OPENSSL_VERSION_NUMBER >= 0x10101000L  // first version with this configuration
  refuse(SSL_CTX_get_security_level(context) > 0, "weak");
  refuse(SSL_CTX_get_min_proto_version(context) != 0, "old");
  refuse(SSL_CTX_get_max_proto_version(context) != 0, "new");
#endif
  std::set<std::string> ciphers;
  STACK_OF(SSL_CIPHER) *const offered = SSL_CTX_get_ciphers(context);
  for (int i = 0; i < sk_SSL_CIPHER_num(offered); ++i)
    ciphers.insert(SSL_CIPHER_get_name(sk_SSL_CIPHER_value(offered, i)));
  for (const char *cipher : {"AES128-SHA", "ADH-AES128-SHA", "ECDHE-RSA-AES256-GCM-SHA384"})
    refuse(!ciphers.contains(cipher), cipher);
  return words;
}

// A context: protocol, roots of the product and others, identity, modes, and differences from 1.0.
std::string described(SSL_CTX *context) {
  if (context == nullptr) return "null";
  SSL *const ssl = SSL_new(context);
  std::string text = std::string(SSL_get_version(ssl)) + ' ' + roots_of(context);
  SSL_free(ssl);
  // A certificate is found by its key, so both are needed.
  EVP_PKEY *const key = SSL_CTX_get0_privatekey(context);
  if (key != nullptr && encoded(key, i2d_PrivateKey) == read_file(kProduct + "/client-key.der"))
    text += " key";
  X509 *const own = SSL_CTX_get0_certificate(context);
  if (own != nullptr && encoded(own, i2d_X509) == read_file(kProduct + "/client.der"))
    text += " certificate";
  const long modes = SSL_CTX_get_mode(context);
  if ((modes & SSL_MODE_ENABLE_PARTIAL_WRITE) != 0) text += " partial";
  if ((modes & SSL_MODE_AUTO_RETRY) != 0) text += " retry";
  const bool verifies = SSL_CTX_get_verify_mode(context) != SSL_VERIFY_NONE ||
                        SSL_CTX_get_verify_callback(context) != nullptr;
  return text + (verifies ? " verifies" : "") + refused_by(context);
}
std::string initialized(const char *version) {
  SSL_CTX *const context = SSL_initialize(version);
  const Bypass guard;
  const std::string text = described(context);
  SSL_CTX_free(context);
  return text;
}
BIND_AS(SSL_initialize, initialized);
// The roots logged for a product variant.
BIND_AS(roots_of_sku, [](Call &call, const std::string &sku) {
  call.session().system.values["system.sku"] = sku;
  initialized("tls1");
  call.session().effects();  // discard the rest of the log
  std::string line;
  for (const LogLine &logged : call.session().system.log)
    if (logged.text.find("Installed") != std::string::npos) line = logged.text;
  return line.substr(line.find("Thawte"), line.find(" Root") - line.find("Thawte"));
});
// The program's own contexts keep the configuration.
BIND_AS(own_context, [] {
#if OPENSSL_VERSION_NUMBER >= 0x10101000L
  SSL_CTX *const context = SSL_CTX_new(TLS_client_method());
  const bool is_strict = SSL_CTX_get_security_level(context) == 3 &&
                         SSL_CTX_get_min_proto_version(context) == TLS1_3_VERSION;
  SSL_CTX_free(context);
  return std::string(is_strict ? "strict" : "changed");
#else
  return std::string("strict");
#endif
});
// Loads a certificate into an empty context: the results, and the number of certificates.
BIND_AS(SSL_Load_Cert, [](const unsigned char *der, long size) {
  SSL_CTX *const context = SSL_CTX_new(SSLv23_client_method());
  const int first = SSL_Load_Cert(context, der, size), second = SSL_Load_Cert(context, der, size);
  const std::string roots = roots_of(context);
  SSL_CTX_free(context);
  return std::to_string(first) + ' ' + std::to_string(second) + ' ' + roots;
});

}  // namespace
}  // namespace talvera::test
