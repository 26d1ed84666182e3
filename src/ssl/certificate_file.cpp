// Certificate files in several encodings: subject hash, fingerprint, conversion to PEM.
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "internal/owners.h"
#include "internal/streams.h"
#include "internal/wipe.h"
#include "ssl/nonblocking_file.h"
#include "ssl/openssl_compat.h"
#include "talvera/ssl.h"

namespace talvera::ssl {
namespace {

// Whether a table contains a string.
template <std::size_t Count, std::size_t Size>
bool is_one_of(const char (&table)[Count][Size], const char *text) {
  return std::ranges::any_of(table,
                             [text](const auto &entry) { return std::strcmp(entry, text) == 0; });
}

constexpr char kCertificateBlocks[][20] = {PEM_STRING_X509, PEM_STRING_X509_OLD,
                                           PEM_STRING_X509_TRUSTED};

// The first certificate, plain or with trust settings. Rejects an encrypted one (with a header),
// because OpenSSL would ask for its pass phrase on the terminal. Wipes each block, because it may
// be a private key.
X509 *read_pem(std::FILE *in) {
  X509 *certificate = nullptr;
  char *name;
  char *header;
  unsigned char *data;
  long size;
  for (bool found = false; !found && PEM_read(in, &name, &header, &data, &size) == 1;) {
    found = is_one_of(kCertificateBlocks, name);
    if (found && *header == '\0') {
      const unsigned char *at = data;
      certificate = d2i_X509_AUX(nullptr, &at, size);
    }
    OPENSSL_cleanse(data, static_cast<std::size_t>(size));
    free_openssl(data);
    free_openssl(header);
    free_openssl(name);
  }
  return certificate;
}

constexpr char kPkcs12Words[][7] = {"PKCS12", "pkcs12", "P12", "p12"};

// Reads a certificate in the format that a word selects; null for an unknown word.
X509 *read_format(std::FILE *in, const char *word) {
  if (word == nullptr) return nullptr;
  const int letter = word[0] | 0x20;
  if (letter == 'd') return d2i_X509_fp(in, nullptr);
  if (letter == 'n') return read_netscape(in);
  if (word[0] == '1' || is_one_of(kPkcs12Words, word)) return read_pkcs12(in);
  // Other words that begin with "P" mean PEM, unless they begin with "PV" (PVK).
  return letter == 'p' && (word[1] | 0x20) != 'v' ? read_pem(in) : nullptr;
}

// Reads a certificate and closes its stream, except standard input, which is read unbuffered so
// that nothing after the certificate is consumed. Returns null without a certificate or a stream.
// Wipes the stream's buffer, because the file may also contain a private key.
X509 *read_stream(std::FILE *stream, const char *format) {
  if (stream == nullptr) return nullptr;
  char buffer[1024];
  const bool is_file = stream != stdin;
  std::setvbuf(stream, is_file ? buffer : nullptr, is_file ? _IOFBF : _IONBF, sizeof buffer);
  X509 *certificate = read_format(stream, format);
  if (is_file) close_stream(stream);
  wipe(buffer, sizeof buffer);
  return certificate;
}

// Reads a certificate from a file, or from standard input if the path is null.
X509 *read_file(const char *path, const char *format) {
  return read_stream(path != nullptr ? std::fopen(path, "r") : stdin, format);
}

const EVP_MD *digest_of(const char *name) {
  if (strcasecmp(name, "sha1") == 0) return EVP_sha1();
  if (strcasecmp(name, "md5") == 0) return EVP_md5();
  return nullptr;
}

// Flushes a stream and returns whether everything was written. Also checks the stream's error flag,
// because fflush() of some C libraries does not report all write errors.
bool flush(std::FILE *out) {
  return std::fflush(out) == 0 && std::ferror(out) == 0;
}

// Returns the subject hash of a certificate, or 0 for null, and frees the certificate.
[[gnu::noinline]] unsigned long take_hash(X509 *certificate) {
  if (certificate == nullptr) return 0;
  const X509Ptr owner(certificate);
  return X509_subject_name_hash(certificate);
}

}  // namespace

unsigned long hash_of_pem_file(const char *path) {
  UniqueFd file(open_nonblocking(path));
  if (!is_regular_file(file.get())) return 0;
  std::FILE *stream = fdopen(file.get(), "r");
  if (stream != nullptr) file.release();
  const ErrorQueueSaver errors;
  return take_hash(read_stream(stream, "PEM"));
}

}  // namespace talvera::ssl

using namespace talvera::ssl;

extern "C" unsigned long SSL_cert_hash(const char *path, const char *format) {
  const ErrorQueueSaver errors;
  return take_hash(read_file(path, format));
}

extern "C" int SSL_cert_fingerprint(const char *path, const char *format, const char *digest,
                                    char *buf) {
  if (buf == nullptr || digest == nullptr) return -1;
  const EVP_MD *type = digest_of(digest);
  if (type == nullptr) return -1;

  const ErrorQueueSaver errors;
  const X509Ptr certificate(read_file(path, format));
  unsigned char bytes[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (certificate == nullptr) return -1;
  if (X509_digest(certificate.get(), type, bytes, &size) != 1 || size == 0) return -1;
  // Each byte takes three characters; snprintf() adds its terminator after them.
  for (unsigned int i = 0; i < size; ++i, buf += 3)
    std::snprintf(buf, 4, "%02X:", bytes[i]);
  buf[-1] = '\0';  // in place of the last colon
  return 0;
}

extern "C" int SSL_cert_der2pem(const char *der_path, const char *pem_path) {
  if (pem_path == nullptr) return -1;
  const talvera::FilePtr out(std::fopen(pem_path, "w"));
  if (out == nullptr) return -1;
  const ErrorQueueSaver errors;
  const X509Ptr certificate(read_file(der_path, "DER"));
  const bool written = certificate != nullptr &&
                       PEM_write_X509(out.get(), certificate.get()) == 1 && flush(out.get());
  return written ? 0 : -1;
}
