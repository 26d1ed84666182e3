// Wireless calibration functions used at boot.
#pragma once

namespace talvera::mfg {

// Whether the info record marks the calibration area as valid.
bool has_calibration(const unsigned char *record);

// Sends the calibration area of the file to the driver, or, if `present` is false, makes the driver
// discard its calibration.
void push_calibration(bool present);

}  // namespace talvera::mfg
