// Error logging for the manufacturing file and the platform driver.
#pragma once

namespace talvera::mfg {

// Logs with a format in which "%s" stands for the operation or device and "%m" for the text of
// errno; preserves errno.
__attribute__((noinline, format(printf, 2, 0))) void log_errno(int level, const char *format,
                                                               const char *operation);

// Logs "MFG: <operation> failed: <text of errno>" at LOG_ERR; preserves errno.
void log_failure(const char *operation);

}  // namespace talvera::mfg
