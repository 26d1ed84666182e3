// Access by formatted path, text files written with one write(), removal of symbolic link targets.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstring>

#include "internal/fail.h"
#include "internal/format.h"
#include "internal/owners.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

constexpr mode_t kTextMode = 0660;
constexpr int kMissingPath = 0xA000;         // from file_delete() for null or a failed lstat()
constexpr std::size_t kLongestTarget = 128;  // longer link targets are truncated

__attribute__((format(printf, 1, 0))) int write_formatted(const char *path_format,
                                                          std::va_list arguments, int flags,
                                                          const char *string) {
  if (string == nullptr) return fail(EINVAL);
  const FormattedPath path(path_format, arguments);
  return file_write_string(path.c_str(), flags, kTextMode, string);
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int file_access(const char *format, int mode, ...) {
  std::va_list arguments;
  va_start(arguments, mode);
  const talvera::FormattedPath path(format, arguments);
  va_end(arguments);
  return access(path.c_str(), mode);
}

extern "C" int file_write_string(const char *path, int flags, mode_t mode, const char *string) {
  if (string == nullptr) return talvera::fail(EINVAL);
  const talvera::UniqueFd file(open(path, flags, mode));
  if (!file.valid()) return -1;
  return static_cast<int>(write(file.get(), string, std::strlen(string)));
}

extern "C" int file_append_write(const char *path_format, const char *string, ...) {
  std::va_list arguments;
  va_start(arguments, string);
  const int written = write_formatted(path_format, arguments, O_WRONLY | O_APPEND, string);
  va_end(arguments);
  return written;
}

extern "C" int file_create_write(const char *path_format, const char *string, ...) {
  std::va_list arguments;
  va_start(arguments, string);
  const int written = write_formatted(path_format, arguments, O_WRONLY | O_CREAT | O_TRUNC, string);
  va_end(arguments);
  return written;
}

// Intentionally removes only the target of a symbolic link, not the path itself. For anything else
// the target stays empty, and unlink() of an empty string fails.
extern "C" int file_delete(const char *path) {
  struct stat status;
  if (path == nullptr || lstat(path, &status) != 0) return kMissingPath;
  char target[kLongestTarget + 1];
  const ssize_t length = readlink(path, target, kLongestTarget);
  target[length > 0 ? length : 0] = '\0';
  return unlink(target);
}
