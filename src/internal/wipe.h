// Erasing of secrets.
#pragma once

#include <cstddef>
#include <cstring>

namespace talvera {

// Overwrites with zeros, also when the compiler sees that nobody will read them.
inline void wipe(void *bytes, std::size_t size) {
  std::memset(bytes, 0, size);
  __asm__ volatile("" : : "r"(bytes) : "memory");
}

}  // namespace talvera
