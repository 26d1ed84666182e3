// Certificate files with arbitrary content through the readers of every encoding, and certificates
// through the readers of their fields.
#include <sanitizer/lsan_interface.h>

#include "fuzz/fuzz.h"
#include "talvera/ssl.h"

static void read_file(const char *path, unsigned selector) {
  static constexpr const char *kFormats[] = {"DER", "PEM", "N", "P12"};
  const char *format = kFormats[selector % 4];
  SSL_cert_hash(path, format);
  const bool sha1 = (selector & 4) != 0;
  SSL_cert_fingerprint(path, format, sha1 ? "sha1" : "md5", block(sha1 ? 61 : 49).get());
  if ((selector & 8) != 0) SSL_cert_der2pem(path, "/dev/null");
}

static void read_fields(const unsigned char *der, long size, unsigned selector) {
  X509 *certificate = uc_make_x509(der, size);
  require(SSL_IsCertValidFormat(der, size) == (certificate != nullptr));
  if (certificate == nullptr) return;
  const auto length = static_cast<int>(selector % 24);
  for (const auto read : {uc_get_common_name, uc_get_serial_number, uc_get_organization_name,
                          uc_get_organizational_unit_name})
    read(certificate, block(length).get(), length);
  X509_free(certificate);
  if (selector % 4 != 0) return;
  // Not freed, because querying a date consumes a certificate.
  __lsan_disable();
  certificate = uc_make_x509(der, size);
  if (certificate != nullptr) {
    const auto read = selector % 8 == 0 ? uc_get_notbefore : uc_get_notafter;
    read(certificate, block(length + 1).get(), length);
  }
  __lsan_enable();
}

FUZZ(input) {
  static const MemoryFile file;
  const unsigned selector = input.byte();
  file.fill(input.data, input.size);
  read_file(("/proc/self/fd/" + file.name).c_str(), selector);
  read_fields(input.data, static_cast<long>(input.size), selector);

  unsigned char *content = nullptr;
  const int read = uc_get_cert_data_from_file(&content, "/proc/self/fd", file.name.c_str());
  require(read == static_cast<int>(input.size));
  std::free(content);
}
