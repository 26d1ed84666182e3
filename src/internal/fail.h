// Reporting of failures that the library itself detects.
#pragma once

#include <cerrno>

namespace talvera {

// Sets errno and returns -1. Not inlined, for size: there are many call sites.
[[gnu::noinline]] inline int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace talvera
