// Memory, time and logs of the system double.
#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/system_double.h"
#include "talvera/sdb.h"

using talvera::test::intercept;
using talvera::test::real;
using talvera::test::record_log;

extern "C" {

void *malloc(std::size_t size) noexcept {
  static auto *const next = real<void *(std::size_t)>("malloc");
  return intercept<void *>("malloc", [=] { return next(size); });
}

// By way of the real malloc(): a C library's own calloc() may call the malloc() that is in front.
void *calloc(std::size_t count, std::size_t size) noexcept {
  static auto *const next = real<void *(std::size_t)>("malloc");
  return intercept<void *>("calloc", [=]() -> void * {
    std::size_t bytes;
    void *const block = __builtin_mul_overflow(count, size, &bytes) ? nullptr : next(bytes);
    return block != nullptr ? std::memset(block, 0, bytes) : nullptr;
  });
}

char *strdup(const char *text) noexcept {
  static auto *const next = real<char *(const char *)>("strdup");
  return intercept<char *>("strdup", [=] { return next(text); });
}

time_t time(time_t *result) noexcept {
  static auto *const next = real<time_t(time_t *)>("time");
  const time_t fixed = talvera::test::double_time();
  const time_t now = fixed != 0 ? fixed : next(nullptr);
  if (result != nullptr) *result = now;
  return now;
}

void syslog(int priority, const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  record_log("syslog", LOG_PRI(priority), format, arguments);
  va_end(arguments);
  talvera::test::spoil_errno();
}

int sdb_get(const char *key, char *buffer, std::size_t size) {
  return intercept<int>("sdb_get", [=] {
    const char *value = talvera::test::double_value(key);
    if (value == nullptr || size == 0) return ENOENT;
    std::snprintf(buffer, size, "%s", value);
    return 0;
  });
}

const char *sdb_strerror(int code) {
  return std::strerror(code);
}

void sdb_log(int level, const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  record_log("sdb", level, format, arguments);
  va_end(arguments);
}

}  // extern "C"
