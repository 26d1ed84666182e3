// Shell commands built from a format; failures are logged through the system database's log.
#include <cerrno>
#include <cstdarg>
#include <cstdlib>

#include "internal/format.h"
#include "talvera/sdb.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

// Converts a result of system() to that of sdb_system(). A shell killed by a signal has no exit
// code and intentionally counts as successful.
int result_code(int status) {
  if (status == -1) return errno;
  return status >> 8 & 0xFF;
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int sdb_system(const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const talvera::FormattedText<talvera::kCommandSize> command(format, arguments);
  va_end(arguments);
  // After a format error nothing runs: the empty command would report success.
  const int code = result_code(command.length() < 0 ? -1 : std::system(command.c_str()));
  if (code != 0) sdb_log(SDB_LOG_DEBUG, "sdb_system (ret %d): %s", code, command.c_str());
  return code;
}
