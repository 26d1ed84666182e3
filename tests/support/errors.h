// How calls fail: the error that they leave in errno.
#pragma once

#include <cerrno>
#include <utility>

namespace talvera::test {

// The error of a call that has given -1 or null, and 0 of any other; errno is clear for the next.
inline int error_of(long result) {
  return std::exchange(errno, 0) * (result == -1 ? 1 : 0);
}
inline int error_of(const void *result) {
  return error_of(result == nullptr ? -1L : 0L);
}

}  // namespace talvera::test
