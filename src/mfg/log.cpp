// Error logging for the manufacturing file and the platform driver.
#include "mfg/log.h"

#include <syslog.h>

#include <cerrno>
#include <cstring>

#include "internal/owners.h"

namespace talvera::mfg {

void log_failure(const char *operation) {
  const ErrnoSaver saver;
  syslog(LOG_ERR, "MFG: %s failed: %s", operation, std::strerror(errno));
}

}  // namespace talvera::mfg
