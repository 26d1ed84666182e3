// Error logging for the manufacturing file and the platform driver.
#pragma once

namespace talvera::mfg {

// Logs "MFG: <operation> failed: <text of errno>" at LOG_ERR; preserves errno.
void log_failure(const char *operation);

}  // namespace talvera::mfg
