// The wireless calibration area of the manufacturing file and the driver's copy of it.
#include "mfg/calibration.h"

#include <array>

#include "mfg/log.h"
#include "mfg/mfg_file.h"
#include "talvera/mfg.h"

namespace talvera::mfg {

static_assert(sizeof(void *) != 4 || sizeof(tvra_wlcal) == 8);

void push_calibration(bool present) {
  std::array<std::uint8_t, TVRA_WLCAL_SIZE> data = {};
  tvra_wlcal transfer = {};
  if (present) {
    // Sent even when the read failed.
    range_read(data.data(), kWlcalOffset, TVRA_WLCAL_SIZE);
    transfer.buffer = data.data();
    transfer.length = TVRA_WLCAL_SIZE;
  }
  if (tvra_ioctl(TVRA_WLCAL_SET, &transfer) < 0) log_failure("TVRA_WLCAL_SET ioctl");
}

}  // namespace talvera::mfg
