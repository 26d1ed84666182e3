// Erasure of secrets.
#pragma once

#include <cstddef>
#include <cstring>

namespace talvera {

// Overwrites with zeros; the compiler cannot optimise this away even if nothing reads the bytes
// again.
inline void wipe(void *bytes, std::size_t size) {
  std::memset(bytes, 0, size);
  __asm__ volatile("" : : "r"(bytes) : "memory");
}

// Wipes a block at the end of its scope. Declare it after the block's owner, which frees the block
// after the wipe.
class ScopedWipe {
 public:
  ScopedWipe(void *bytes, std::size_t size) : bytes_(bytes), size_(size) {}
  ~ScopedWipe() { wipe(bytes_, size_); }
  ScopedWipe(const ScopedWipe &) = delete;
  ScopedWipe &operator=(const ScopedWipe &) = delete;

 private:
  void *bytes_;
  std::size_t size_;
};

}  // namespace talvera
