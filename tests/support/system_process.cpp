// Commands, processes and streams of the system double.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "support/system_double.h"

using talvera::test::intercept;
using talvera::test::real;
using talvera::test::record;
using talvera::test::redirected;

extern "C" {

int system(const char *command) {
  static auto *const next = real<int(const char *)>("system");
  record("system %s", command);
  return intercept<int>("system", [=] { return next(command); });
}

FILE *popen(const char *command, const char *mode) {
  static auto *const next = real<FILE *(const char *, const char *)>("popen");
  record("popen %s", command);
  return intercept<FILE *>("popen", [=] { return next(redirected(command), mode); });
}

pid_t fork() noexcept {
  static auto *const next = real<pid_t()>("fork");
  return intercept<pid_t>("fork", [] { return next(); });
}

int setpgid(pid_t pid, pid_t group) noexcept {
  static auto *const next = real<int(pid_t, pid_t)>("setpgid");
  return intercept<int>("setpgid", [=] { return next(pid, group); });
}

int setenv(const char *name, const char *value, int overwrite) noexcept {
  static auto *const next = real<int(const char *, const char *, int)>("setenv");
  return intercept<int>("setenv", [=] { return next(name, value, overwrite); });
}

// A child takes its records with it: it shows them on standard error.
void _exit(int status) {
  talvera::test::print_log(stderr);
  real<void(int)>("_exit")(status);
  __builtin_unreachable();
}

int kill(pid_t pid, int signal) noexcept {
  static auto *const next = real<int(pid_t, int)>("kill");
  record("kill %d %d", pid, signal);
  return intercept<int>("kill", [=] { return next(pid, signal); });
}

int sigqueue(pid_t pid, int signal, const union sigval value) noexcept {
  static auto *const next = real<int(pid_t, int, union sigval)>("sigqueue");
  record("sigqueue %d %d %p", pid, signal, value.sival_ptr);
  return intercept<int>("sigqueue", [=] { return next(pid, signal, value); });
}

pid_t waitpid(pid_t pid, int *status, int options) {
  static auto *const next = real<pid_t(pid_t, int *, int)>("waitpid");
  record("waitpid %d %d", pid, options);
  return intercept<pid_t>("waitpid", [=] { return next(pid, status, options); });
}

int usleep(useconds_t microseconds) {
  static auto *const next = real<int(useconds_t)>("usleep");
  record("usleep %u", microseconds);
  return intercept<int>("usleep", [=] { return next(microseconds); });
}

FILE *fopen(const char *path, const char *mode) {
  static auto *const next = real<FILE *(const char *, const char *)>("fopen");
  return intercept<FILE *>("fopen", [=] { return next(redirected(path), mode); });
}

int fclose(FILE *stream) {
  static auto *const next = real<int(FILE *)>("fclose");
  return intercept<int>("fclose", [=] {
    const int result = next(stream);
    talvera::test::spoil_errno();
    return result;
  });
}

}  // extern "C"
