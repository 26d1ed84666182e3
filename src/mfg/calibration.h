// Wireless calibration functions used at boot.
#pragma once

#include "internal/big_endian.h"
#include "talvera/mfg.h"

namespace talvera::mfg {

// Whether the info record marks the calibration area as valid.
inline bool has_calibration(const unsigned char *record) {
  return load_be32(record + MFG_INFO_WLCAL_PRESENT) != 0;
}

// Sends the calibration area of the file to the driver, or, if `present` is false, makes the driver
// discard its calibration.
void push_calibration(bool present);

}  // namespace talvera::mfg
