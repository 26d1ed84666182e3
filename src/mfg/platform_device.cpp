// The platform driver's character device, opened for one command at a time.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <syslog.h>

#include <utility>

#include "internal/owners.h"
#include "mfg/log.h"
#include "talvera/mfg.h"

namespace talvera::mfg {
namespace {

constexpr char kDevicePath[] = "/dev/talvera";

int device_fd = -1;

}  // namespace
}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int tvra_open(void) {
  // Intentionally without a reference count: one close closes the device.
  if (device_fd >= 0) return device_fd;
  const int fd = open(kDevicePath, O_RDWR | O_NONBLOCK);
  if (fd < 0) {
    log_errno(LOG_WARNING, "libtalvera: error opening %s: %m", kDevicePath);
    return fd;
  }
  fcntl(fd, F_SETFD, FD_CLOEXEC);
  device_fd = fd;
  return fd;
}

extern "C" void tvra_close(void) {
  talvera::close_descriptor(std::exchange(device_fd, -1));
}

extern "C" int tvra_ioctl(unsigned int request, void *argument) {
  const int fd = tvra_open();
  if (fd < 0) return fd;
  const int result = ioctl(fd, request, argument);
  if (result == -1) log_errno(LOG_WARNING, "libtalvera: %s failed: %m", "ioctl");
  tvra_close();
  return result;
}
