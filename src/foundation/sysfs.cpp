// sysfs attributes and other small text files of the kernel.
#include <syslog.h>

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "internal/format.h"
#include "internal/owners.h"
#include "internal/streams.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

// Opens an attribute unbuffered: one system call transfers the value, and the write itself reports
// a value that the kernel rejects. A buffered write would fail only in fclose(), unreported.
std::FILE *open_attribute(const FormattedPath &path, const char *mode) {
  std::FILE *stream = std::fopen(path.c_str(), mode);
  if (stream != nullptr) std::setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

// An assertion that is active in every build type, with the same message in each.
void require_buffer(const void *buf) {
  if (buf != nullptr) return;
  std::fputs("utils: sysfs_get_attr: Assertion `buf != ((void *)0)' failed.\n", stderr);
  std::abort();
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int sysfs_get_attr(const char *path_format, char *buf, size_t size, ...) {
  require_buffer(buf);
  std::va_list arguments;
  va_start(arguments, size);
  const talvera::FormattedPath path(path_format, arguments);
  va_end(arguments);

  const talvera::FilePtr attribute(open_attribute(path, "r"));
  if (attribute == nullptr) return -1;
  const std::size_t length = std::fread(buf, 1, size, attribute.get());
  if (std::ferror(attribute.get()) != 0) {
    const talvera::ErrnoSaver saver;
    syslog(LOG_WARNING, "error reading sysfs attribute (%s)", path.c_str());
    buf[0] = '\0';
    return -1;
  }
  std::size_t line = 0;
  while (line < length && buf[line] != '\r' && buf[line] != '\n')
    ++line;
  if (line < length) buf[line] = '\0';
  return static_cast<int>(length);
}

extern "C" int sysfs_set_attr(const char *path_format, const char *value, ...) {
  std::va_list arguments;
  va_start(arguments, value);
  const talvera::FormattedPath path(path_format, arguments);
  va_end(arguments);

  const talvera::FilePtr attribute(open_attribute(path, "w"));
  if (attribute == nullptr) {
    const talvera::ErrnoSaver saver;
    syslog(LOG_INFO, "error opening sysfs attribute file (%s) for writing", path.c_str());
    return 1;
  }
  if (std::fputs(value, attribute.get()) < 0) {
    const talvera::ErrnoSaver saver;
    syslog(LOG_WARNING, "error writing sysfs attribute (%s)", path.c_str());
    return 1;
  }
  return 0;
}
