// Failure messages of the manufacturing store.
#pragma once

namespace talvera::mfg {

// Logs "MFG: <operation> failed: <text of errno>" at LOG_ERR, keeping errno.
void log_failure(const char *operation);

}  // namespace talvera::mfg
