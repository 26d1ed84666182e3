// The double's system calls: memory, files, processes and logs, and the platform behind them.
#include "support/system_calls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/select.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "talvera/sdb.h"

namespace talvera::test {
namespace {

int driver_fd = -1;

int open_anywhere(const char *path, int flags, mode_t mode) {
  static auto *const next = real<int(const char *, int, ...)>("open");
  const Bypass guard;
  const auto resolved =
      active_double() != nullptr ? active_double()->platform().resolve(path, flags) : std::nullopt;
  if (!resolved) return next(redirected(path), flags, mode);
  const int fd = resolved->empty() ? -1 : next(resolved->c_str(), flags, mode);
  if (std::strcmp(path, "/dev/talvera") == 0) driver_fd = fd;
  return fd;
}

// Calls the platform of the active double; nothing is really mounted.
template <typename Call>
int on_platform(Call call) {
  const Bypass guard;
  if (active_double() != nullptr) return call(active_double()->platform());
  errno = EPERM;
  return -1;
}

// Changes errno as a successful call may under POSIX, while a double exists.
int clobbering_errno(int result) {
  if (result != -1) clobber_errno();
  return result;
}

// The optional argument after the named ones.
#define LAST_ARGUMENT(type, name, before)    \
  std::va_list arguments;                    \
  va_start(arguments, before);               \
  const auto name = va_arg(arguments, type); \
  va_end(arguments)

}  // namespace

}  // namespace talvera::test

using namespace talvera::test;

// ---- Memory -------------------------------------------------------------------------------------

CALL(void *, malloc, (std::size_t size), (size), 0);
CALL(void *, realloc, (void *block, std::size_t size), (block, size), 0);
CALL(char *, strdup, (const char *text), (text), 0);
CALL(char *, strndup, (const char *text, std::size_t size), (text, size), 0);

// Uses the real malloc(): a C library's calloc() may call the interposed malloc().
extern "C" void *calloc(std::size_t count, std::size_t size) noexcept {
  static auto *const next = real<void *(std::size_t)>("malloc");
  return intercept<void *>("calloc", 0, [=]() -> void * {
    std::size_t bytes;
    void *const block = __builtin_mul_overflow(count, size, &bytes) ? nullptr : next(bytes);
    return block != nullptr ? std::memset(block, 0, bytes) : nullptr;
  });
}

CALL(void *, mmap, (void *at, std::size_t size, int protection, int flags, int fd, off_t from),
     (at, size, protection, flags, fd, from), -1);
CALL_AS(int, munmap, (void *at, std::size_t size), (at, size), -1,
        [=] { return clobbering_errno(next(at, size)); });
RECORDED(key_t, ftok, (const char *path, int project), (path, project), -1, "%s %d", path, project);
RECORDED(int, shmget, (key_t key, std::size_t size, int flags), (key, size, flags), -1,
         "%#x %zu %#o", static_cast<unsigned>(key), size, static_cast<unsigned>(flags));
RECORDED(void *, shmat, (int id, const void *at, int flags), (id, at, flags), -1, "%d %p %d", id,
         at, flags);
RECORDED(int, shmdt, (const void *at), (at), -1, "%p", at);
RECORDED(int, shmctl, (int id, int command, struct shmid_ds *status), (id, command, status), -1,
         "%d %d %p", id, command, static_cast<void *>(status));

// ---- Files --------------------------------------------------------------------------------------

extern "C" int open(const char *path, int flags, ...) {
  LAST_ARGUMENT(mode_t, mode, flags);
  if (std::strncmp(path, "/mfg/", 5) == 0)
    record("open %s %#o %#o", path, static_cast<unsigned>(flags), static_cast<unsigned>(mode));
  return intercept<int>("open", -1, [=] { return open_anywhere(path, flags, mode); });
}

extern "C" int fcntl(int fd, int command, ...) {
  static auto *const next = real<int(int, int, ...)>("fcntl");
  LAST_ARGUMENT(long, argument, command);
  return intercept<int>("fcntl", -1, [=] { return next(fd, command, argument); });
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
  static auto *const next = real<int(int, unsigned long, ...)>("ioctl");
  LAST_ARGUMENT(void *, argument, request);
  return intercept<int>("ioctl", -1, [=] {
    if (fd < 0 || fd != driver_fd) return next(fd, request, argument);
    return on_platform([=](auto &platform) {
      return platform.command(static_cast<std::uint32_t>(request), argument);
    });
  });
}

// The descriptor is closed even if the call reports a failure.
#define CLOSING(name, parameters, arguments, ...)                \
  RECORDED_AS(int, name, parameters, arguments, -1, __VA_ARGS__; \
              const int result = next arguments, [=] { return clobbering_errno(result); })
CLOSING(close, (int fd), (fd), if (fd == driver_fd) driver_fd = -1);
CLOSING(fclose, (FILE * stream), (stream));
CLOSING(pclose, (FILE * stream), (stream));

CALL_AS(ssize_t, read, (int fd, void *bytes, std::size_t size), (fd, bytes, size), -1,
        [=](std::size_t most) { return next(fd, bytes, std::min(size, most)); });
CALL_AS(ssize_t, write, (int fd, const void *bytes, std::size_t size), (fd, bytes, size), -1,
        [=](std::size_t most) { return next(fd, bytes, std::min(size, most)); });
CALL(off_t, lseek, (int fd, off_t offset, int whence), (fd, offset, whence), -1);
CALL(int, fstat, (int fd, struct stat *status), (fd, status), -1);
CALL(int, stat, (const char *path, struct stat *status), (path, status), -1);
CALL(int, lstat, (const char *path, struct stat *status), (path, status), -1);
CALL(int, access, (const char *path, int mode), (path, mode), -1);
CALL(int, unlink, (const char *path), (path), -1);
CALL(int, symlink, (const char *target, const char *path), (target, path), -1);
CALL(ssize_t, readlink, (const char *path, char *to, std::size_t size), (path, to, size), -1);
CALL(DIR *, opendir, (const char *path), (path), 0);
using Filter = int (*)(const dirent *);
using Compare = int (*)(const dirent **, const dirent **);
CALL(int, scandir, (const char *path, dirent ***list, Filter filter, Compare compare),
     (path, list, filter, compare), -1);
CALL_AS(FILE *, fopen, (const char *path, const char *mode), (path, mode), 0,
        [=] { return next(redirected(path), mode); });
#pragma weak select  // a test may define its own
CALL(int, select, (int count, fd_set *in, fd_set *out, fd_set *other, timeval *timeout),
     (count, in, out, other, timeout), -1);

RECORDED_AS(int, mount,
            (const char *source, const char *target, const char *type, unsigned long flags,
             const void *data),
            (source, target, type, flags, data), -1,
            record("mount %s %s %s %#lx", source, target, type, flags), [=] {
              return on_platform(
                  [=](auto &platform) { return platform.mount(source, target, type, flags); });
            });
RECORDED_AS(int, umount2, (const char *target, int flags), (target, flags), -1,
            record("umount2 %s %d", target, flags), [=] {
              return clobbering_errno(
                  on_platform([=](auto &platform) { return platform.unmount(target); }));
            });

// ---- Processes ----------------------------------------------------------------------------------

RECORDED(int, system, (const char *command), (command), -1, "%s", command);
RECORDED_AS(FILE *, popen, (const char *command, const char *mode), (command, mode), 0,
            record("popen %s", command), [=] { return next(redirected(command), mode); });
CALL(pid_t, fork, (), (), -1);
CALL(int, setpgid, (pid_t pid, pid_t group), (pid, group), -1);
CALL(int, setenv, (const char *name, const char *value, int over), (name, value, over), -1);
RECORDED(int, kill, (pid_t pid, int signal), (pid, signal), -1, "%d %d", pid, signal);
RECORDED(int, sigqueue, (pid_t pid, int signal, const union sigval value), (pid, signal, value), -1,
         "%d %d %p", pid, signal, value.sival_ptr);
RECORDED(pid_t, waitpid, (pid_t pid, int *status, int options), (pid, status, options), -1, "%d %d",
         pid, options);
RECORDED(int, usleep, (useconds_t microseconds), (microseconds), -1, "%u", microseconds);

// A child prints its log on standard error before it exits.
extern "C" void _exit(int status) {
  if (active_double() != nullptr) {
    for (const LogLine &line : active_double()->log)
      std::fprintf(stderr, "%s %d %s\n", line.channel.c_str(), line.level, line.text.c_str());
  }
  real<void(int)>("_exit")(status);
  __builtin_unreachable();
}

// ---- Time, logs and the system database ---------------------------------------------------------

extern "C" time_t time(time_t *result) noexcept {
  static auto *const next = real<time_t(time_t *)>("time");
  const bool fixed = active_double() != nullptr && active_double()->time != 0;
  const time_t now = fixed ? active_double()->time : next(nullptr);
  if (result != nullptr) *result = now;
  return now;
}

// answer("sysinfo", seconds) sets the uptime.
extern "C" int sysinfo(struct sysinfo *info) noexcept {
  static auto *const next = real<int(struct sysinfo *)>("sysinfo");
  const Outcome outcome = outcome_of("sysinfo");
  if (outcome.kind == Outcome::kFailure) return -1;
  if (outcome.kind != Outcome::kResult) return next(info);
  *info = {};
  info->uptime = outcome.value;
  return 0;
}

extern "C" void syslog(int priority, const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  record_log("syslog", LOG_PRI(priority), format, arguments);
  va_end(arguments);
  clobber_errno();
}

extern "C" int printf(const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vprintf(format, arguments);
  va_end(arguments);
  return clobbering_errno(length);
}

extern "C" int fprintf(FILE *stream, const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vfprintf(stream, format, arguments);
  va_end(arguments);
  return clobbering_errno(length);
}

// GCC turns a printf() of a whole line into puts().
CALL_AS(int, puts, (const char *text), (text), EOF, [=] { return clobbering_errno(next(text)); });

extern "C" void sdb_log(int level, const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  record_log("sdb", level, format, arguments);
  va_end(arguments);
}

extern "C" int sdb_get(const char *key, char *buffer, std::size_t size) {
  return intercept<int>("sdb_get", -1, [=] {
    const Bypass guard;
    const SystemDouble *const system = active_double();
    if (system == nullptr || !system->values.contains(key) || size == 0) return ENOENT;
    std::snprintf(buffer, size, "%s", system->values.at(key).c_str());
    return 0;
  });
}

extern "C" const char *sdb_strerror(int code) {
  return std::strerror(code);
}
