// The failures that the library itself finds.
#pragma once

#include <cerrno>

namespace talvera {

// The result of a function that fails with errno set. Not inlined: it is returned in many places.
[[gnu::noinline]] inline int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace talvera
