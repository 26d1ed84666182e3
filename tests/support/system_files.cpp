// Files, mappings and mounts of the system double, with the platform behind its paths.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "support/system_double.h"

using talvera::test::active_platform;
using talvera::test::intercept;
using talvera::test::intercept_transfer;
using talvera::test::Quiet;
using talvera::test::real;
using talvera::test::record;

namespace {

int driver_fd = -1;

int open_anywhere(const char *path, int flags, mode_t mode) {
  static auto *const next = real<int(const char *, int, ...)>("open");
  auto *platform = active_platform();
  const Quiet quiet;
  const auto resolved = platform != nullptr ? platform->resolve(path, flags) : std::nullopt;
  if (!resolved) return next(talvera::test::redirected(path), flags, mode);
  const int fd = resolved->empty() ? -1 : next(resolved->c_str(), flags, mode);
  if (std::strcmp(path, "/dev/talvera") == 0) driver_fd = fd;
  return fd;
}

}  // namespace

extern "C" {

int open(const char *path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = va_arg(arguments, mode_t);
  va_end(arguments);
  if (std::strncmp(path, "/mfg/", 5) == 0) {
    record("open %s %#o %#o", path, static_cast<unsigned>(flags), static_cast<unsigned>(mode));
  }
  return intercept<int>("open", [=] { return open_anywhere(path, flags, mode); });
}

int close(int fd) {
  static auto *const next = real<int(int)>("close");
  if (fd == driver_fd) driver_fd = -1;
  const int result = next(fd);  // the descriptor is gone whatever the call then says
  return intercept<int>("close", [=] {
    talvera::test::spoil_errno();
    return result;
  });
}

ssize_t read(int fd, void *buffer, std::size_t size) {
  static auto *const next = real<ssize_t(int, void *, std::size_t)>("read");
  return intercept_transfer<ssize_t>("read", size,
                                     [=](std::size_t bytes) { return next(fd, buffer, bytes); });
}

ssize_t write(int fd, const void *buffer, std::size_t size) {
  static auto *const next = real<ssize_t(int, const void *, std::size_t)>("write");
  return intercept_transfer<ssize_t>("write", size,
                                     [=](std::size_t bytes) { return next(fd, buffer, bytes); });
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
  static auto *const next = real<off_t(int, off_t, int)>("lseek");
  return intercept<off_t>("lseek", [=] { return next(fd, offset, whence); });
}

int fstat(int fd, struct stat *status) noexcept {
  static auto *const next = real<int(int, struct stat *)>("fstat");
  return intercept<int>("fstat", [=] { return next(fd, status); });
}

void *mmap(void *address, std::size_t size, int protection, int flags, int fd,
           off_t offset) noexcept {
  static auto *const next = real<void *(void *, std::size_t, int, int, int, off_t)>("mmap");
  return intercept<void *>("mmap",
                           [=] { return next(address, size, protection, flags, fd, offset); });
}

int munmap(void *address, std::size_t size) noexcept {
  static auto *const next = real<int(void *, std::size_t)>("munmap");
  return intercept<int>("munmap", [=] { return next(address, size); });
}

ssize_t readlink(const char *path, char *buffer, std::size_t size) noexcept {
  static auto *const next = real<ssize_t(const char *, char *, std::size_t)>("readlink");
  return intercept<ssize_t>("readlink", [=] { return next(path, buffer, size); });
}

int ioctl(int fd, unsigned long request, ...) noexcept {
  static auto *const next = real<int(int, unsigned long, ...)>("ioctl");
  std::va_list arguments;
  va_start(arguments, request);
  void *argument = va_arg(arguments, void *);
  va_end(arguments);
  return intercept<int>("ioctl", [=] {
    auto *platform = active_platform();
    const Quiet quiet;
    if (fd < 0 || fd != driver_fd || platform == nullptr) return next(fd, request, argument);
    return platform->command(static_cast<std::uint32_t>(request), argument);
  });
}

int mount(const char *source, const char *target, const char *type, unsigned long flags,
          const void *) noexcept {
  record("mount %s %s %s %#lx", source, target, type, flags);
  return intercept<int>("mount", [=] {
    auto *platform = active_platform();
    const Quiet quiet;
    if (platform != nullptr) return platform->mount(source, target, type, flags);
    errno = EPERM;  // nothing is ever mounted for real
    return -1;
  });
}

int umount2(const char *target, int flags) noexcept {
  record("umount2 %s %d", target, flags);
  return intercept<int>("umount2", [=] {
    auto *platform = active_platform();
    const Quiet quiet;
    if (platform != nullptr) return platform->unmount(target);
    errno = EPERM;
    return -1;
  });
}

}  // extern "C"
