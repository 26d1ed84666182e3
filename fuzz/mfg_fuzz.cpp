// The manufacturing file with any content from certificate slot 1 on: calibration area and info
// record lie behind it. Everything that is handed out is read to its last byte.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "talvera/ccert.h"
#include "talvera/mfg.h"

namespace {

constexpr std::size_t kFileSize = 0x20000;
constexpr std::size_t kSlot1 = 0x1C000;
int content_fd = -1;

unsigned read_all(const unsigned char *data, std::size_t size) {
  unsigned sum = 0;
  for (std::size_t i = 0; i < size; ++i)
    sum += data[i];
  return sum;
}

// A blob as a caller hands it in: as many bytes as it says.
void install(const std::uint8_t *data, std::size_t size) {
  if (size < 20 || ccert_extract_certblob_total_length(data) > size) return;
  const std::unique_ptr<std::uint8_t[]> blob(new std::uint8_t[size]);
  std::memcpy(blob.get(), data, size);
  ccert_install_cert_blob(blob.get(), 2);
}

}  // namespace

extern "C" int mount(const char *, const char *, const char *, unsigned long,
                     const void *) noexcept {
  return 0;
}
extern "C" int umount2(const char *, int) noexcept {
  return 0;
}

extern "C" int open(const char *path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = va_arg(arguments, mode_t);
  va_end(arguments);
  if (std::strcmp(path, "/mfg/mfg.dat") != 0) {
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
  }
  const int fd = dup(content_fd);
  lseek(fd, 0, SEEK_SET);
  return fd;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (content_fd < 0) content_fd = memfd_create("mfg", 0);
  static std::uint8_t content[kFileSize];
  std::memset(content, 0, sizeof content);
  std::memcpy(content + kSlot1, data, std::min(size, kFileSize - kSlot1));
  pwrite(content_fd, content, sizeof content, 0);

  volatile unsigned sum = 0;
  unsigned char record[MFG_INFO_SIZE];
  mfg_info_read(record);
  sum = read_all(record, sizeof record);

  if (ccert_init() == 0) {
    for (unsigned i = 0; i < ccert_get_data_count(); ++i) {
      unsigned char *bytes = nullptr;
      std::uint32_t length = 0;
      if (ccert_get_data_from_index(i, &bytes, &length, nullptr, nullptr) == 0) {
        sum = sum + read_all(bytes, length);
      }
    }
    unsigned char *bytes = nullptr;
    std::uint32_t length = 0;
    if (ccert_get_client_cert(&bytes, &length) == 0) sum = sum + read_all(bytes, length);
    if (ccert_get_client_private_key(&bytes, &length) == 0) {
      sum = sum + read_all(bytes, length);
      std::free(bytes);
    }
    ccert_deinit();
  }
  install(data, size);
  return 0;
}
