// Interposes the platform of a development machine on the system calls of any program:
//
//   LD_PRELOAD=.../libtalvera_platform_preload.so TALVERA_FLASH=directory program
//
// Without TALVERA_FLASH only the driver is interposed, and the partition is the machine's own.
// TALVERA_PLATFORM_JOURNAL names a file to which every mount and driver command is appended.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/platform.h"

namespace {

using talvera::host::Platform;

Platform &platform() {
  static Platform instance([] {
    const char *directory = std::getenv("TALVERA_FLASH");
    return std::string(directory != nullptr ? directory : "");
  }());
  return instance;
}

template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void write_journal() {
  const char *path = std::getenv("TALVERA_PLATFORM_JOURNAL");
  if (path != nullptr) {
    if (FILE *file = std::fopen(path, "ae")) {
      for (const std::string &line : platform().journal)
        std::fprintf(file, "%s\n", line.c_str());
      std::fclose(file);
    }
  }
  platform().journal.clear();
}

int open_anywhere(const char *path, int flags, mode_t mode) {
  using Open = int(const char *, int, ...);
  static Open *const real = next<Open>("open");
  const auto resolved = platform().resolve(path, flags);
  if (!resolved) return real(path, flags, mode);
  return resolved->empty() ? -1 : real(resolved->c_str(), flags, mode);
}

int driver_fd = -1;

}  // namespace

extern "C" int open(const char *path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const int fd = open_anywhere(path, flags, mode);
  if (std::strcmp(path, "/dev/talvera") == 0) driver_fd = fd;
  return fd;
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, request);
  void *argument = va_arg(arguments, void *);
  va_end(arguments);
  if (fd >= 0 && fd == driver_fd) {
    const int result = platform().command(static_cast<std::uint32_t>(request), argument);
    write_journal();
    if (result == 0 || errno != ENOTTY) return result;
  }
  using Ioctl = int(int, unsigned long, ...);
  static Ioctl *const real = next<Ioctl>("ioctl");
  return real(fd, request, argument);
}

extern "C" int mount(const char *source, const char *target, const char *type, unsigned long flags,
                     const void *data) noexcept {
  if (platform().flash_directory().empty() || type == nullptr || std::strcmp(type, "jffs2") != 0) {
    using Mount = int(const char *, const char *, const char *, unsigned long, const void *);
    static Mount *const real = next<Mount>("mount");
    return real(source, target, type, flags, data);
  }
  const int result = platform().mount(source, target, type, flags);
  write_journal();
  return result;
}

extern "C" int umount2(const char *target, int flags) noexcept {
  if (!platform().mounted()) {
    using Unmount = int(const char *, int);
    static Unmount *const real = next<Unmount>("umount2");
    return real(target, flags);
  }
  const int result = platform().unmount(target);
  write_journal();
  return result;
}
