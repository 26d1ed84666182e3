// The manufacturing file with arbitrary content from certificate slot 1 on, including calibration
// area and info record. Reads every byte that the library returns.
#include <fcntl.h>
#include <sys/syscall.h>

#include <cstdarg>

#include "fuzz/fuzz.h"
#include "talvera/ccert.h"
#include "talvera/mfg.h"

static const MemoryFile file;

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
  const int fd = dup(file.fd);
  lseek(fd, 0, SEEK_SET);
  return fd;
}

static void read_certificates() {
  unsigned char *bytes = nullptr;
  std::uint32_t length = 0;
  for (unsigned i = 0; i < ccert_get_data_count(); ++i)
    if (ccert_get_data_from_index(i, &bytes, &length, nullptr, nullptr) == 0) {
      read_all(bytes, length);
    }
  if (ccert_get_client_cert(&bytes, &length) == 0) read_all(bytes, length);
  if (ccert_get_client_private_key(&bytes, &length) == 0) {
    read_all(bytes, length);
    std::free(bytes);
  }
}

FUZZ(input) {
  constexpr std::size_t kSlot1 = 0x1C000;
  static std::uint8_t content[0x20000];
  std::memset(content, 0, sizeof content);
  std::memcpy(content + kSlot1, input.data, std::min(input.size, sizeof content - kSlot1));
  file.fill(content, sizeof content);
  mfg_info_read(block<unsigned char>(MFG_INFO_SIZE).get());
  if (ccert_init() == 0) {
    read_certificates();
    ccert_deinit();
  }
  // A blob from a caller, as long as its length field states.
  if (input.size < 20 || ccert_extract_certblob_total_length(input.data) > input.size) return;
  const auto blob = block<std::uint8_t>(input.size);
  std::memcpy(blob.get(), input.data, input.size);
  ccert_install_cert_blob(blob.get(), 2);
}
