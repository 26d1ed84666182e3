// Owners of system resources: each releases its resource on every return path and preserves errno.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace talvera {

// Restores errno at the end of its scope.
class ErrnoSaver {
 public:
  ErrnoSaver() = default;
  ~ErrnoSaver() { errno = saved_; }
  ErrnoSaver(const ErrnoSaver &) = delete;
  ErrnoSaver &operator=(const ErrnoSaver &) = delete;

 private:
  int saved_ = errno;
};

// Closes a descriptor unless it is negative; preserves errno. Not inlined, like the other release
// functions, because otherwise every destructor would carry a copy.
[[gnu::noinline]] inline void close_descriptor(int fd) {
  if (fd < 0) return;
  const ErrnoSaver saver;
  ::close(fd);
}

// Owns a file descriptor; negative while empty.
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

// Owns an object released by `Release`, which accepts null. The destructor is always inlined,
// unlike that of std::unique_ptr, so that the pointer can stay in a register.
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
  const ErrnoSaver saver;
  std::free(block);
}

// Owns a block from malloc(). release() passes it to a caller, who frees it with free().
template <typename T>
using MallocPtr = Owner<T, free_block>;

// An uninitialised block for `count` objects; null with errno set when memory runs out. A count of
// 0 allocates one object, so that null always means failure.
template <typename T>
MallocPtr<T> allocate(std::size_t count) {
  // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer.
  constexpr std::size_t kSize = sizeof(T);
  return MallocPtr<T>(static_cast<T *>(std::malloc(count > 0 ? count * kSize : kSize)));
}

}  // namespace talvera
