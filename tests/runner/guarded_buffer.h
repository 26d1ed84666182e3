// Guarded buffers, which detect accesses beyond their exact size.
#pragma once

#include <cstddef>
#include <string>

#include "support/temp_dir.h"

namespace talvera::test {

// An inaccessible page follows the buffer, so that an overrun crashes even inside the C library.
// Alignment above 1 may leave up to alignment - 1 filled bytes between them. The filled bytes
// before the buffer must not change.
class GuardedBuffer : NonCopyable {
 public:
  static constexpr char kFill = '\xA5';
  static constexpr std::size_t kLargest = 512 * 1024;

  GuardedBuffer(std::size_t size, std::size_t alignment);
  ~GuardedBuffer();

  [[nodiscard]] char *data() const { return data_; }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::string content() const { return {data_, size_}; }
  [[nodiscard]] bool holds(const void *p) const { return p >= data_ && p <= data_ + size_; }
  // Whether the bytes around the buffer are unchanged.
  [[nodiscard]] bool intact() const;

 private:
  std::size_t size_;
  std::size_t tail_ = 0;
  char *slot_;
  char *data_;
};

}  // namespace talvera::test
