// Error logging for the manufacturing file and the platform driver.
#include "mfg/log.h"

#include <syslog.h>

#include "internal/owners.h"

namespace talvera::mfg {

void log_errno(int level, const char *format, const char *operation) {
  const ErrnoSaver saver;
  syslog(level, format, operation);
}

void log_failure(const char *operation) {
  log_errno(LOG_ERR, "MFG: %s failed: %m", operation);
}

}  // namespace talvera::mfg
