// Certificate files in several encodings: subject hash, fingerprint, conversion to PEM.
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <strings.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <span>
#include <utility>

#include "internal/owners.h"
#include "internal/streams.h"
#include "internal/wipe.h"
#include "ssl/nonblocking_file.h"
#include "ssl/openssl_compat.h"
#include "talvera/ssl.h"

namespace talvera::ssl {
namespace {

enum class Format : std::uint8_t {
  kUndefined = 0,
  kDer = 1,
  kText = 2,
  kPem = 3,
  kNetscape = 4,
  kPkcs12 = 5,
  kSmime = 6,
  kEngine = 7,
  kMicrosoftBlob = 11,
  kPvk = 12,
};

// Words that begin with "P" and do not stand for PKCS#12 or PVK mean PEM.
Format format_with_p(const char *word) {
  for (const char *known : {"PKCS12", "pkcs12", "P12", "p12"}) {
    if (std::strcmp(word, known) == 0) return Format::kPkcs12;
  }
  return word[1] == 'V' || word[1] == 'v' ? Format::kPvk : Format::kPem;
}

// Formats of other words by their first letter.
struct Initial {
  char letter;
  Format format;
};
constexpr Initial kInitials[] = {
    {'d', Format::kDer},   {'t', Format::kText},          {'n', Format::kNetscape},
    {'s', Format::kSmime}, {'m', Format::kMicrosoftBlob}, {'e', Format::kEngine},
};

Format format_of(const char *word) {
  if (word == nullptr || *word == '\0') return Format::kUndefined;
  if (word[0] == '1') return Format::kPkcs12;
  const char letter = static_cast<char>(word[0] | 0x20);
  if (letter == 'p') return format_with_p(word);
  for (const Initial &initial : kInitials) {
    if (letter == initial.letter) return initial.format;
  }
  return Format::kUndefined;
}

// Input of a certificate. The file may also contain a private key, so the stream's buffer is part
// of the object and wiped.
class Input {
 public:
  explicit Input(FilePtr stream) : stream_(std::move(stream)) {
    if (stream_ == nullptr) return;
    std::setvbuf(stream_.get(), buffer_, _IOFBF, sizeof buffer_);
    bio_.reset(BIO_new_fp(stream_.get(), BIO_NOCLOSE));
  }
  // Standard input, unbuffered so that nothing after the certificate is consumed.
  Input() {
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    bio_.reset(BIO_new_fp(stdin, BIO_NOCLOSE));
  }
  ~Input() {
    bio_.reset();
    stream_.reset();
    wipe(buffer_, sizeof buffer_);
  }
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  [[nodiscard]] BIO *get() const { return bio_.get(); }

 private:
  char buffer_[1024];
  FilePtr stream_;
  BioPtr bio_;
};

Input open_input(const char *path) {
  return path != nullptr ? Input(FilePtr(std::fopen(path, "r"))) : Input();
}

// Owns the results of PEM_read_bio().
struct PemBlock {
  bool read(BIO *in) {
    if (PEM_read_bio(in, &name, &header, &data, &size) == 1) return true;
    name = header = nullptr;  // some versions leave dangling pointers
    data = nullptr;
    return false;
  }
  ~PemBlock() {
    OPENSSL_free(name);
    OPENSSL_free(header);
    if (data != nullptr) OPENSSL_cleanse(data, static_cast<std::size_t>(size));
    OPENSSL_free(data);
  }
  char *name = nullptr;
  char *header = nullptr;
  unsigned char *data = nullptr;
  long size = 0;
};

bool names_certificate(const char *name) {
  return std::strcmp(name, PEM_STRING_X509) == 0 || std::strcmp(name, PEM_STRING_X509_OLD) == 0 ||
         std::strcmp(name, PEM_STRING_X509_TRUSTED) == 0;
}

// The first certificate, plain or with trust settings. Rejects an encrypted one (with a header),
// because OpenSSL would ask for its pass phrase on the terminal.
X509Ptr read_pem(BIO *in) {
  for (;;) {
    PemBlock block;
    if (!block.read(in)) return nullptr;
    if (!names_certificate(block.name)) continue;
    if (*block.header != '\0') return nullptr;
    const unsigned char *at = block.data;
    return X509Ptr(d2i_X509_AUX(nullptr, &at, block.size));
  }
}

X509Ptr read_certificate(const Input &in, Format format) {
  if (in.get() == nullptr) return nullptr;
  switch (format) {
    case Format::kDer:
      return X509Ptr(d2i_X509_bio(in.get(), nullptr));
    case Format::kPem:
      return read_pem(in.get());
    case Format::kNetscape:
      return read_netscape(in.get());
    case Format::kPkcs12:
      return read_pkcs12(in.get());
    default:
      return nullptr;
  }
}

const EVP_MD *digest_of(const char *name) {
  if (strcasecmp(name, "sha1") == 0) return EVP_sha1();
  if (strcasecmp(name, "md5") == 0) return EVP_md5();
  return nullptr;
}

// Flushes and returns whether everything was written. Also checks the stream's error flag, because
// fflush() of some C libraries does not report all write errors.
bool flush(BIO *out) {
  std::FILE *stream = nullptr;
  return BIO_flush(out) == 1 && BIO_get_fp(out, &stream) == 1 && std::ferror(stream) == 0;
}

unsigned long subject_hash(const Input &in, Format format) {
  const X509Ptr certificate = read_certificate(in, format);
  return certificate != nullptr ? X509_subject_name_hash(certificate.get()) : 0;
}

}  // namespace

unsigned long hash_of_pem_file(const char *path) {
  UniqueFd file(open_nonblocking(path));
  if (!is_regular_file(file.get())) return 0;
  FilePtr stream(fdopen(file.get(), "r"));
  if (stream != nullptr) file.release();
  const ErrorQueueSaver errors;
  return subject_hash(Input(std::move(stream)), Format::kPem);
}

}  // namespace talvera::ssl

using namespace talvera::ssl;

extern "C" unsigned long SSL_cert_hash(const char *path, const char *format) {
  const ErrorQueueSaver errors;
  return subject_hash(open_input(path), format_of(format));
}

extern "C" int SSL_cert_fingerprint(const char *path, const char *format, const char *digest,
                                    char *buf) {
  if (buf == nullptr || digest == nullptr) return -1;
  const EVP_MD *type = digest_of(digest);
  if (type == nullptr) return -1;

  const ErrorQueueSaver errors;
  const X509Ptr certificate = read_certificate(open_input(path), format_of(format));
  if (certificate == nullptr) return -1;
  unsigned char bytes[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (X509_digest(certificate.get(), type, bytes, &size) != 1 || size == 0) return -1;
  // Each byte takes three characters; snprintf() adds its terminator after them.
  for (const unsigned char &byte : std::span(bytes, size)) {
    const bool last = &byte == bytes + size - 1;
    std::snprintf(buf, 4, "%02X%c", byte, last ? '\0' : ':');
    buf += 3;
  }
  return 0;
}

extern "C" int SSL_cert_der2pem(const char *der_path, const char *pem_path) {
  if (pem_path == nullptr) return -1;
  const ErrorQueueSaver errors;
  const BioPtr out(BIO_new_file(pem_path, "w"));
  if (out == nullptr) return -1;
  const X509Ptr certificate = read_certificate(open_input(der_path), Format::kDer);
  if (certificate == nullptr) return -1;
  return PEM_write_bio_X509(out.get(), certificate.get()) == 1 && flush(out.get()) ? 0 : -1;
}
