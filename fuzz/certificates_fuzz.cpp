// Certificate files of any content through the readers of every encoding, and certificates through
// the readers of their fields, in blocks of just the documented sizes.
#include <sanitizer/lsan_interface.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "talvera/ssl.h"

namespace {

void read_file(const char *path, unsigned selector) {
  static constexpr const char *kFormats[] = {"DER", "PEM", "N", "P12"};
  const char *format = kFormats[selector % 4];
  SSL_cert_hash(path, format);
  const bool sha1 = (selector & 4) != 0;
  const std::unique_ptr<char[]> fingerprint(new char[sha1 ? 61 : 49]);
  SSL_cert_fingerprint(path, format, sha1 ? "sha1" : "md5", fingerprint.get());
  if ((selector & 8) != 0) SSL_cert_der2pem(path, "/dev/null");
}

// Dates use a certificate up, so that this one is never released.
void read_date(const unsigned char *der, long size, int length, decltype(uc_get_notbefore) *read) {
  __lsan_disable();
  X509 *certificate = uc_make_x509(der, size);
  const std::unique_ptr<char[]> buffer(new char[length + 1]);
  if (certificate != nullptr) read(certificate, buffer.get(), length);
  __lsan_enable();
}

void read_fields(const unsigned char *der, long size, unsigned selector) {
  X509 *certificate = uc_make_x509(der, size);
  if (SSL_IsCertValidFormat(der, size) != (certificate != nullptr)) std::abort();
  if (certificate == nullptr) return;
  const auto length = static_cast<int>(selector % 24);
  const std::unique_ptr<char[]> buffer(new char[length]);
  uc_get_common_name(certificate, buffer.get(), length);
  uc_get_serial_number(certificate, buffer.get(), length);
  uc_get_organization_name(certificate, buffer.get(), length);
  uc_get_organizational_unit_name(certificate, buffer.get(), length);
  X509_free(certificate);
  if (selector % 4 == 0) {
    read_date(der, size, length, selector % 8 == 0 ? uc_get_notbefore : uc_get_notafter);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  const unsigned selector = *data++;
  --size;
  static const int file = memfd_create("certificate", 0);
  static const std::string path = "/proc/self/fd/" + std::to_string(file);
  if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
    std::abort();
  }
  read_file(path.c_str(), selector);
  read_fields(data, static_cast<long>(size), selector);

  unsigned char *content = nullptr;
  const int read = uc_get_cert_data_from_file(&content, "/proc/self/fd", path.c_str() + 14);
  if (read != static_cast<int>(size)) std::abort();
  std::free(content);
  return 0;
}
