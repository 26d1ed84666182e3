// Child processes of the system double.
#include <sys/wait.h>
#include <unistd.h>

#include "support/system_double.h"

using talvera::test::intercept;
using talvera::test::real;

extern "C" {

pid_t fork() noexcept {
  static auto *const next = real<pid_t()>("fork");
  return intercept<pid_t>("fork", [=] { return next(); });
}

pid_t waitpid(pid_t child, int *status, int options) {
  static auto *const next = real<pid_t(pid_t, int *, int)>("waitpid");
  return intercept<pid_t>("waitpid", [=] { return next(child, status, options); });
}

}  // extern "C"
