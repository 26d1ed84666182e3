// Commands, pipes and streams of the system double.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "support/system_double.h"

using talvera::test::intercept;
using talvera::test::Quiet;
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
  return intercept<FILE *>("popen", [=] { return next(command, mode); });
}

FILE *fopen(const char *path, const char *mode) {
  static auto *const next = real<FILE *(const char *, const char *)>("fopen");
  return intercept<FILE *>("fopen", [=] { return next(redirected(path), mode); });
}

}  // extern "C"
