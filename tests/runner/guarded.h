// Memory of an exact size that notices what is touched beyond it.
#pragma once

#include <cstddef>
#include <string>

#include "support/temp_dir.h"

namespace talvera::test {

// An inaccessible page follows it, so that a byte too many is a crash also within the C library
// (where an alignment above 1 asks for it, up to alignment - 1 filled bytes come between); the
// filled bytes before it must keep.
class Guarded : Pinned {
 public:
  static constexpr char kFill = '\xA5';
  static constexpr std::size_t kLargest = 512 * 1024;

  Guarded(std::size_t size, std::size_t alignment);
  ~Guarded();

  [[nodiscard]] char *data() const { return data_; }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::string content() const { return {data_, size_}; }
  [[nodiscard]] bool holds(const void *p) const { return p >= data_ && p <= data_ + size_; }
  // Whether nothing was written around it.
  [[nodiscard]] bool intact() const;

 private:
  std::size_t size_;
  std::size_t tail_ = 0;
  char *slot_;
  char *data_;
};

}  // namespace talvera::test
