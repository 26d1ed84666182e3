// What the fault tests let fail besides: calls on paths, waits, and what else takes memory.
#include <dirent.h>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/system_double.h"

using talvera::test::intercept;
using talvera::test::real;

extern "C" {

void *realloc(void *block, std::size_t size) noexcept {
  static auto *const next = real<void *(void *, std::size_t)>("realloc");
  return intercept<void *>("realloc", [=] { return next(block, size); });
}

char *strndup(const char *text, std::size_t size) noexcept {
  static auto *const next = real<char *(const char *, std::size_t)>("strndup");
  return intercept<char *>("strndup", [=] { return next(text, size); });
}

DIR *opendir(const char *path) {
  static auto *const next = real<DIR *(const char *)>("opendir");
  return intercept<DIR *>("opendir", [=] { return next(path); });
}

int scandir(const char *path, dirent ***list, int (*filter)(const dirent *),
            int (*compare)(const dirent **, const dirent **)) {
  static auto *const next = real<decltype(scandir)>("scandir");
  return intercept<int>("scandir", [=] { return next(path, list, filter, compare); });
}

int stat(const char *path, struct stat *status) noexcept {
  static auto *const next = real<int(const char *, struct stat *)>("stat");
  return intercept<int>("stat", [=] { return next(path, status); });
}

int lstat(const char *path, struct stat *status) noexcept {
  static auto *const next = real<int(const char *, struct stat *)>("lstat");
  return intercept<int>("lstat", [=] { return next(path, status); });
}

int access(const char *path, int mode) noexcept {
  static auto *const next = real<int(const char *, int)>("access");
  return intercept<int>("access", [=] { return next(path, mode); });
}

int unlink(const char *path) noexcept {
  static auto *const next = real<int(const char *)>("unlink");
  return intercept<int>("unlink", [=] { return next(path); });
}

int symlink(const char *target, const char *path) noexcept {
  static auto *const next = real<int(const char *, const char *)>("symlink");
  return intercept<int>("symlink", [=] { return next(target, path); });
}

int select(int count, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
  static auto *const next = real<int(int, fd_set *, fd_set *, fd_set *, timeval *)>("select");
  return intercept<int>("select",
                        [=] { return next(count, readable, writable, exceptional, timeout); });
}

int fcntl(int fd, int command, ...) {
  static auto *const next = real<int(int, int, ...)>("fcntl");
  std::va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  return intercept<int>("fcntl", [=] { return next(fd, command, argument); });
}

}  // extern "C"
