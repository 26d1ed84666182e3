// Runs the tests in place of the program that preloads this module.
#include <dlfcn.h>
#include <openssl/crypto.h>
#include <openssl/opensslv.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv);

namespace {

// Headers and code must be of the same OpenSSL version.
int checked_main(int argc, char **argv, char **) {
  unsetenv("LD_PRELOAD");  // not for programs that the tests run
  std::printf("%s\n", SSLeay_version(SSLEAY_VERSION));
  if (SSLeay() != OPENSSL_VERSION_NUMBER) {
    std::printf("but compiled for %s\n", OPENSSL_VERSION_TEXT);
    return 1;
  }
  std::fflush(stdout);
  return main(argc, argv);
}

}  // namespace

using Main = int(int, char **, char **);
using Start = int(Main *, int, char **, void (*)(), void (*)(), void (*)(), void *);

// The C library's entry point of every program.
extern "C" int __libc_start_main(Main *, int argc, char **argv, void (*init)(), void (*fini)(),
                                 void (*loader_fini)(), void *stack_end) {
  auto *const start = reinterpret_cast<Start *>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(checked_main, argc, argv, init, fini, loader_fini, stack_end);
}
