// Owners of what a call takes from the system: each releases it on every path out and leaves errno
// as the failing call set it.
#pragma once

#include <sys/mman.h>
#include <unistd.h>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
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

// Closes a descriptor, if it is one, and keeps errno. This and its like are not inlined: every
// owner's end would carry a copy.
[[gnu::noinline]] inline void close_descriptor(int fd) {
  if (fd < 0) return;
  const ErrnoKeeper keep;
  ::close(fd);
}

// A file descriptor; negative when it holds none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd &&other) noexcept : fd_(other.release()) {}
  UniqueFd &operator=(UniqueFd &&) = delete;
  [[gnu::always_inline]] ~UniqueFd() { close_descriptor(fd_); }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool valid() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_ = -1;
};

// What `Release` gives back to the system at the end of its scope, null or not. Unlike that of
// std::unique_ptr, the end is always inlined: only so the pointer can stay in a register.
template <typename T, auto Release>
class Owner {
 public:
  Owner() = default;
  Owner(std::nullptr_t) {}
  explicit Owner(T *object) : object_(object) {}
  Owner(Owner &&other) noexcept : object_(other.release()) {}
  Owner &operator=(Owner &&) = delete;
  [[gnu::always_inline]] ~Owner() {
    if (object_ != nullptr) Release(object_);
  }

  [[nodiscard]] T *get() const { return object_; }
  T *operator->() const { return object_; }
  T &operator*() const { return *object_; }
  bool operator==(std::nullptr_t) const { return object_ == nullptr; }
  T *release() { return std::exchange(object_, nullptr); }
  [[gnu::always_inline]] void reset(T *object = nullptr) {
    Release(object_);
    object_ = object;
  }

 private:
  T *object_ = nullptr;
};

[[gnu::noinline]] inline void free_block(void *block) {
  if (block == nullptr) return;
  const ErrnoKeeper keep;
  std::free(block);
}

// A block from malloc, the allocator that callers release with free().
template <typename T>
using MallocPtr = Owner<T, free_block>;

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
