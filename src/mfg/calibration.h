// Hands the wireless calibration to the platform driver.
#pragma once

namespace talvera::mfg {

// Sends the file's calibration area, or with `present` false tells the driver to drop what it has.
void push_calibration(bool present);

}  // namespace talvera::mfg
