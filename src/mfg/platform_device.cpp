// The platform driver's character device, opened for one command at a time.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <syslog.h>
#include <unistd.h>

#include "internal/owners.h"
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
    const talvera::ErrnoSaver saver;
    syslog(LOG_WARNING, "libtalvera: error opening /dev/talvera: %m");
    return fd;
  }
  fcntl(fd, F_SETFD, FD_CLOEXEC);
  device_fd = fd;
  return fd;
}

extern "C" void tvra_close(void) {
  if (device_fd < 0) return;
  const talvera::ErrnoSaver saver;
  close(device_fd);
  device_fd = -1;
}

extern "C" int tvra_ioctl(unsigned int request, void *argument) {
  const int fd = tvra_open();
  if (fd < 0) return fd;
  const int result = ioctl(fd, request, argument);
  if (result == -1) {
    const talvera::ErrnoSaver saver;
    syslog(LOG_WARNING, "libtalvera: ioctl failed: %m");
  }
  tvra_close();
  return result;
}
