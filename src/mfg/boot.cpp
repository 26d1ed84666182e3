// Initialisation at boot: prepares the manufacturing file, then sends identity and calibration to
// the platform driver.
#include <fcntl.h>

#include <array>
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
  std::array<std::uint8_t, 1024> block;
  block.fill(0xFF);
  for (std::int32_t done = 0; done < kFileSize; done += static_cast<std::int32_t>(block.size())) {
    const int written = uf_full_write(fd, block.data(), block.size());
    if (!transferred(written, block.size(), "write")) return;
  }
}

void prepare_file() {
  const int fd = file_open(O_WRONLY | O_CREAT);
  if (fd >= 0 && is_empty(fd)) write_erased(fd);
  file_close();
}

void push_identity(const std::uint8_t *record) {
  tvra_info info = {};
  info.device_type = record[MFG_INFO_DEVICE_TYPE];
  const char *serial = reinterpret_cast<const char *>(record + MFG_INFO_SERIAL);
  std::memcpy(info.serial, serial, strnlen(serial, kSerialSize));  // remaining bytes stay zero
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
