// The wireless calibration, as the boot needs it.
#pragma once

namespace talvera::mfg {

// Whether the info record says that the file holds a calibration.
bool has_calibration(const unsigned char *record);

// Sends the file's calibration area, or with `present` false tells the driver to drop what it has.
void push_calibration(bool present);

}  // namespace talvera::mfg
