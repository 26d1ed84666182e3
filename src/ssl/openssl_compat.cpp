// Behaviour of OpenSSL 1.0 that later versions changed, confined to this file.
#include "ssl/openssl_compat.h"

#include <openssl/asn1t.h>

#include <cstddef>
#include <cstring>
#include <utility>

#if OPENSSL_VERSION_NUMBER >= 0x30000000L
#include <openssl/provider.h>
#endif

#ifndef static_ASN1_SEQUENCE_END  // since 1.1.0
#define static_ASN1_SEQUENCE_END ASN1_SEQUENCE_END
#endif

namespace talvera::ssl {

#if OPENSSL_VERSION_NUMBER < 0x30000000L

// In these versions marks do not nest and OpenSSL sets its own, so the program's whole queue is
// saved.
ErrorQueueSaver::ErrorQueueSaver() {
  if (queue_ == nullptr) return;
  former_ = *queue_;
  std::memset(queue_->err_data, 0, sizeof queue_->err_data);
  std::memset(queue_->err_data_flags, 0, sizeof queue_->err_data_flags);
  queue_->top = queue_->bottom = 0;
}

ErrorQueueSaver::~ErrorQueueSaver() {
  if (queue_ == nullptr) return;
  ERR_clear_error();
  *queue_ = former_;
}

#endif

[[gnu::noinline]] void free_openssl(void *block) {
  OPENSSL_free(block);
}

// OpenSSL can be built without old protocols. Version-specific methods have been deprecated since
// 1.1.0 in favour of a generic method, whose limits come from the system configuration.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

[[maybe_unused]] static const SSL_METHOD *no_method() {
  return nullptr;
}

const Protocol kProtocols[] = {
#ifdef OPENSSL_NO_TLS1_METHOD
    {"tls1", no_method},
#else
    {"tls1", TLSv1_client_method},
#endif
#ifdef OPENSSL_NO_TLS1_2_METHOD
    {"tls1.2", no_method},
#else
    {"tls1.2", TLSv1_2_client_method},
#endif
#ifdef OPENSSL_NO_TLS1_1_METHOD
    {"tls1.1", no_method},
#else
    {"tls1.1", TLSv1_1_client_method},
#endif
#if defined(OPENSSL_NO_SSL3_METHOD) || defined(OPENSSL_NO_SSL3)
    {"ssl3", no_method},
#else
    {"ssl3", SSLv3_client_method},
#endif
#if defined(OPENSSL_NO_DTLS1_METHOD) || defined(OPENSSL_NO_DTLS)
    {"dtls1", no_method},
#else
    {"dtls1", DTLSv1_client_method},
#endif
};

#pragma GCC diagnostic pop

#if OPENSSL_VERSION_NUMBER >= 0x10101000L
namespace {

// Everything that 1.0 accepted, and what later versions added.
constexpr char kSignatureAlgorithms[] =
    "RSA+SHA256:RSA+SHA384:RSA+SHA512:RSA+SHA224:RSA+SHA1:"
    "rsa_pss_rsae_sha256:rsa_pss_rsae_sha384:rsa_pss_rsae_sha512:"
    "rsa_pss_pss_sha256:rsa_pss_pss_sha384:rsa_pss_pss_sha512:"
    "ECDSA+SHA256:ECDSA+SHA384:ECDSA+SHA512:ECDSA+SHA224:ECDSA+SHA1:ed25519:ed448:"
    "DSA+SHA256:DSA+SHA384:DSA+SHA512:DSA+SHA224:DSA+SHA1";

}  // namespace
#endif

void apply_openssl_1_0_policy(SSL_CTX *context) {
#if OPENSSL_VERSION_NUMBER >= 0x10101000L
  SSL_CTX_set1_sigalgs_list(context, kSignatureAlgorithms);
#endif
  SSL_CTX_set_verify(context, SSL_VERIFY_NONE, nullptr);
#if OPENSSL_VERSION_NUMBER >= 0x10100000L
  SSL_CTX_set_security_level(context, 0);
  SSL_CTX_set_min_proto_version(context, 0);
  SSL_CTX_set_max_proto_version(context, 0);
  // SSL_OP_NO_DTLSv1 equals SSL_OP_NO_TLSv1.
  SSL_CTX_clear_options(context,
                        SSL_OP_NO_SSLv3 | SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 | SSL_OP_NO_TLSv1_2);
  // On by default since 1.1.1; configure_context() sets it, after the identity.
  SSL_CTX_clear_mode(context, SSL_MODE_AUTO_RETRY);
#endif
  SSL_CTX_set_options(context, SSL_OP_LEGACY_SERVER_CONNECT);
}

X509_STORE *verify_store(SSL *ssl) {
  X509_STORE *store = nullptr;
#ifdef SSL_get0_verify_cert_store
  SSL_get0_verify_cert_store(ssl, &store);
#endif
  return store != nullptr ? store : SSL_CTX_get_cert_store(SSL_get_SSL_CTX(ssl));
}

long openssl_1_0_verify_error(long error) {
#if OPENSSL_VERSION_NUMBER >= 0x10100000L
  if (error == X509_V_ERR_INVALID_CA) return 24;
  if (error == X509_V_ERR_INVALID_CALL) return 65;
  if (error == X509_V_ERR_STORE_LOOKUP) return 66;
  if (error == X509_V_ERR_PROXY_SUBJECT_NAME_VIOLATION) return 67;
#endif
  return error;
}

// ---- Netscape certificate sequence: SEQUENCE { header OCTET STRING, Certificate OPTIONAL } ----

namespace {

struct NetscapeSequence {
  ASN1_OCTET_STRING *header;
  X509 *certificate;
};

// clang-format off
ASN1_SEQUENCE(NetscapeSequence) = {
  ASN1_SIMPLE(NetscapeSequence, header, ASN1_OCTET_STRING),
  ASN1_OPT(NetscapeSequence, certificate, X509)
} static_ASN1_SEQUENCE_END(NetscapeSequence);
// clang-format on

constexpr char kNetscapeHeader[] = "certificate";

// Intentionally without a minimum length: an empty header matches.
bool is_netscape_header(const ASN1_OCTET_STRING *header) {
  return std::strncmp(kNetscapeHeader, reinterpret_cast<const char *>(header->data),
                      static_cast<std::size_t>(header->length)) == 0;
}

}  // namespace

X509 *read_netscape(std::FILE *in) {
  const ASN1_ITEM *item = ASN1_ITEM_rptr(NetscapeSequence);
  auto *sequence = static_cast<NetscapeSequence *>(ASN1_item_d2i_fp(item, in, nullptr));
  if (sequence == nullptr) return nullptr;
  X509 *certificate = nullptr;
  if (is_netscape_header(sequence->header)) {
    certificate = std::exchange(sequence->certificate, nullptr);
  }
  ASN1_item_free(reinterpret_cast<ASN1_VALUE *>(sequence), item);
  return certificate;
}

// ---- PKCS#12 ----

namespace {

// Takes the first certificate of a bundle without a key. Before 3.0 the parser returns it last.
X509 *take_first(STACK_OF(X509) * certificates) {
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
  return sk_X509_shift(certificates);
#else
  return sk_X509_pop(certificates);
#endif
}

// Requests the key as well, because the parser uses it to distinguish the certificate from its
// issuers.
X509 *certificate_of(PKCS12 *bundle) {
  EVP_PKEY *key = nullptr;
  X509 *certificate = nullptr;
  STACK_OF(X509) *others = nullptr;
  if (PKCS12_parse(bundle, "", &key, &certificate, &others) != 1) return nullptr;
  if (certificate == nullptr && key == nullptr) certificate = take_first(others);
  EVP_PKEY_free(key);
  sk_X509_pop_free(others, X509_free);
  return certificate;
}

}  // namespace

#if OPENSSL_VERSION_NUMBER >= 0x30000000L

namespace {

// A copy of the certificate that is independent of the library context in which it was parsed.
X509 *detached(X509 *certificate) {
  unsigned char *der = nullptr;
  const int length = i2d_X509(certificate, &der);
  if (length < 0) return nullptr;
  const unsigned char *at = der;
  X509 *copy = d2i_X509(nullptr, &at, length);
  free_openssl(der);
  return copy;
}

X509 *read_in_context(std::FILE *in, OSSL_LIB_CTX *context) {
  PKCS12 *bundle = PKCS12_init_ex(NID_pkcs7_data, context, nullptr);
  if (bundle == nullptr) return nullptr;
  const bool read = d2i_PKCS12_fp(in, &bundle) != nullptr;
  const Pkcs12Ptr owner(bundle);  // a failed read may have freed it and set it to null
  const X509Ptr certificate(read ? certificate_of(bundle) : nullptr);
  return certificate != nullptr ? detached(certificate.get()) : nullptr;
}

}  // namespace

// The ciphers of bundles written by 1.0 are in a provider that is not active by default. A private
// library context loads it, so that the program's context is unchanged. Without the legacy
// provider, newer bundles can still be opened.
X509 *read_pkcs12(std::FILE *in) {
  OSSL_LIB_CTX *context = OSSL_LIB_CTX_new();
  if (context == nullptr) return nullptr;  // null would mean the program's default context
  X509 *certificate = nullptr;
  OSSL_PROVIDER *legacy = OSSL_PROVIDER_load(context, "legacy");
  OSSL_PROVIDER *standard = OSSL_PROVIDER_load(context, "default");
  if (standard != nullptr) {
    certificate = read_in_context(in, context);
    OSSL_PROVIDER_unload(standard);
  }
  if (legacy != nullptr) OSSL_PROVIDER_unload(legacy);
  OSSL_LIB_CTX_free(context);
  return certificate;
}

#else

X509 *read_pkcs12(std::FILE *in) {
  SSL_library_init();  // 1.0.2 has no ciphers or digests before this call
  const Pkcs12Ptr bundle(d2i_PKCS12_fp(in, nullptr));
  return bundle != nullptr ? certificate_of(bundle.get()) : nullptr;
}

#endif

}  // namespace talvera::ssl
