// Owners of what a call takes from the system: each releases it on every path out and leaves errno
// as the failing call set it.
#pragma once

#include <sys/mman.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace talvera {

// Puts errno back to what it was at construction.
class ErrnoKeeper {
 public:
  ErrnoKeeper() = default;
  ~ErrnoKeeper() { errno = saved_; }
  ErrnoKeeper(const ErrnoKeeper &) = delete;
  ErrnoKeeper &operator=(const ErrnoKeeper &) = delete;

 private:
  int saved_ = errno;
};

// A file descriptor; negative when it holds none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd &&other) noexcept : fd_(other.release()) {}
  UniqueFd &operator=(UniqueFd &&other) noexcept {
    reset(other.release());
    return *this;
  }
  ~UniqueFd() { reset(); }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool valid() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }
  void reset(int fd = -1) {
    if (fd_ >= 0) {
      const ErrnoKeeper keep;
      ::close(fd_);
    }
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

struct FreeDeleter {
  void operator()(void *block) const {
    const ErrnoKeeper keep;
    std::free(block);
  }
};

// A block from malloc, the allocator that callers release with free().
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

// A block for `count` objects, to be filled by the caller; null with errno set when memory runs
// out. Never null for want of a size: one of 0 objects has room for one.
template <typename T>
MallocPtr<T> allocate(std::size_t count) {
  // NOLINTNEXTLINE(bugprone-sizeof-expression): T may well be a pointer.
  constexpr std::size_t kSize = sizeof(T);
  return MallocPtr<T>(static_cast<T *>(std::malloc(count > 0 ? count * kSize : kSize)));
}

// A mapping; unmapped with its owner.
class Mapping {
 public:
  Mapping(void *address, std::size_t size) : address_(address), size_(size) {}
  Mapping(const Mapping &) = delete;
  Mapping &operator=(const Mapping &) = delete;
  ~Mapping() {
    if (!valid()) return;
    const ErrnoKeeper keep;
    ::munmap(address_, size_);
  }

  [[nodiscard]] bool valid() const { return address_ != MAP_FAILED; }
  [[nodiscard]] const void *get() const { return address_; }

 private:
  void *address_;
  std::size_t size_;
};

}  // namespace talvera
