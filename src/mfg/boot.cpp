// Initialisation at boot: prepares the manufacturing file, then sends identity and calibration to
// the platform driver.
#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "mfg/calibration.h"
#include "mfg/log.h"
#include "mfg/mfg_file.h"
#include "talvera/mfg.h"
#include "talvera/utils.h"

namespace talvera::mfg {
namespace {

static_assert(sizeof(tvra_info) == 40 && offsetof(tvra_info, serial) == 4 &&
              offsetof(tvra_info, mac) == 28 && offsetof(tvra_info, mac_count) == 36);

constexpr std::size_t kSerialSize = 16;

// Whether the open file is empty; false if its size cannot be determined.
bool is_empty(int fd) {
  errno = 0;
  return uf_fsize(fd) == 0 && errno == 0;
}

void write_erased(int fd) {
  constexpr std::uint32_t kBlockSize = 1024;
  std::uint8_t block[kBlockSize];
  std::memset(block, 0xFF, kBlockSize);
  for (std::uint32_t left = kFileSize; left > 0; left -= kBlockSize) {
    if (!transferred(uf_full_write(fd, block, kBlockSize), kBlockSize, "write")) return;
  }
}

void prepare_file() {
  const int fd = file_open(O_WRONLY | O_CREAT);
  if (fd < 0) return;
  if (is_empty(fd)) write_erased(fd);
  file_close(fd);
}

void push_identity(const std::uint8_t *record) {
  tvra_info info = {};
  info.device_type = record[MFG_INFO_DEVICE_TYPE];
  memccpy(info.serial, record + MFG_INFO_SERIAL, '\0', kSerialSize);  // the rest stays zero
  mfg_get_macaddr(record, info.mac);
  info.mac_count = record[MFG_INFO_MAC_COUNT];
  if (tvra_ioctl(TVRA_INFO_SET, &info) < 0) log_failure("TVRA_INFO_SET ioctl");
}

}  // namespace
}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" void mfg_init(void) {
  prepare_file();
  std::uint8_t record[MFG_INFO_SIZE];
  mfg_info_read(record);
  push_identity(record);
  if (has_calibration(record)) push_calibration(true);
}
