// Wireless calibration: its area of the manufacturing file, the flag in the info record that marks
// the area valid, and the driver's copy.
#include "mfg/calibration.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "mfg/log.h"
#include "mfg/mfg_file.h"
#include "talvera/mfg.h"

namespace talvera::mfg {
namespace {

static_assert(sizeof(void *) != 4 || sizeof(tvra_wlcal) == 8);

using Calibration = std::array<std::uint8_t, TVRA_WLCAL_SIZE>;

// Whether a range is inside the calibration; safe against overflow of the sum.
bool is_range(unsigned int offset, unsigned int length) {
  return offset <= TVRA_WLCAL_SIZE && length <= TVRA_WLCAL_SIZE - offset;
}

int get_from_driver(unsigned char *buffer, unsigned int offset, unsigned int length) {
  Calibration data = {};  // the driver may fill fewer bytes than are copied below
  tvra_wlcal transfer = {};
  transfer.buffer = data.data();
  transfer.length = TVRA_WLCAL_SIZE;
  if (tvra_ioctl(TVRA_WLCAL_GET, &transfer) < 0) return -1;
  if (transfer.length < length) return fail(EINVAL);
  std::memcpy(buffer, data.data() + offset, length);
  return 0;
}

// Updates the info record's flag and the driver's copy, depending on whether the file has a
// calibration. Returns `result` with errno unchanged, or the result of writing the record if the
// flag changes.
int update_copies(bool present, int result) {
  int error = errno;
  std::uint8_t record[MFG_INFO_SIZE];
  mfg_info_read(record);
  if (has_calibration(record) != present) {
    store_be32(record + MFG_INFO_WLCAL_PRESENT, present ? 1 : 0);
    result = mfg_info_write(record);
    error = errno;
  }
  push_calibration(present);
  errno = error;
  return result;
}

}  // namespace

void push_calibration(bool present) {
  Calibration data = {};
  tvra_wlcal transfer = {};
  if (present) {
    // Intentionally sent even if the read fails.
    range_read(data.data(), kWlcalOffset, TVRA_WLCAL_SIZE);
    transfer.buffer = data.data();
    transfer.length = TVRA_WLCAL_SIZE;
  }
  if (tvra_ioctl(TVRA_WLCAL_SET, &transfer) < 0) log_failure("TVRA_WLCAL_SET ioctl");
}

}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int mfg_wlcal_get(unsigned char *buf, unsigned int offset, unsigned int size) {
  if (!is_range(offset, size)) return talvera::fail(EINVAL);
  std::uint8_t record[MFG_INFO_SIZE];
  mfg_info_read(record);
  if (!has_calibration(record)) return get_from_driver(buf, offset, size);
  return range_read(buf, kWlcalOffset + offset, size);
}

extern "C" int mfg_wlcal_set(const unsigned char *data, unsigned int offset, unsigned int length) {
  if (!is_range(offset, length)) return talvera::fail(EINVAL);
  // Intentionally sets the flag and updates the driver even after a failed write.
  return update_copies(true, range_write(data, kWlcalOffset + offset, length));
}

extern "C" void mfg_wlcal_clear(void) {
  update_copies(false, 0);
}
