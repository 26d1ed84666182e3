// Messages on the system console.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>

#include "internal/format.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

constexpr int kMessageSize = 256;

// Opened by the first message and kept open; -1 until an open succeeds.
int console_fd = -1;

int open_console() {
  if (console_fd >= 0) return console_fd;
  const int fd = open("/dev/console", O_WRONLY);
  if (fd < 0) return fd;
  fcntl(fd, F_SETFD, FD_CLOEXEC);
  console_fd = fd;
  return fd;
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int cons_printk(const char *format, ...) {
  const int fd = open_console();
  if (fd < 0) return fd;
  std::va_list arguments;
  va_start(arguments, format);
  const talvera::FormattedText<kMessageSize> message(format, arguments);
  va_end(arguments);
  if (message.length() < 1) return message.length();

  const int length = std::min(message.length(), kMessageSize - 1);
  const ssize_t written = write(fd, message.c_str(), static_cast<std::size_t>(length));
  // The console needs a carriage return after a line feed. A truncated message has lost its own
  // line feed.
  const bool whole = message.length() < kMessageSize;
  if (whole && message.c_str()[length - 1] == '\n') return static_cast<int>(write(fd, "\r", 1));
  return static_cast<int>(written);
}
