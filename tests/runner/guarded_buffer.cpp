// Guarded buffers from a pool of slots, each followed by an inaccessible page.
#include "runner/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "runner/value.h"

namespace talvera::test {
namespace {

constexpr std::size_t kFront = 64;  // filled bytes before the buffer

std::vector<char *> free_slots;

char *take_slot() {
  if (!free_slots.empty()) {
    char *const slot = free_slots.back();
    free_slots.pop_back();
    return slot;
  }
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void *const memory = mmap(nullptr, GuardedBuffer::kLargest + page, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) throw TableError("no memory for a buffer");
  auto *const slot = static_cast<char *>(memory);
  mprotect(slot + GuardedBuffer::kLargest, page, PROT_NONE);
  return slot;
}

bool is_filled(const char *from, std::size_t size) {
  return std::all_of(from, from + size, [](char c) { return c == GuardedBuffer::kFill; });
}

}  // namespace

GuardedBuffer::GuardedBuffer(std::size_t size, std::size_t alignment) : size_(size) {
  if (size + kFront + alignment > kLargest) throw TableError("buffer too large");
  slot_ = take_slot();
  tail_ = (alignment - size % alignment) % alignment;
  data_ = slot_ + kLargest - tail_ - size;
  std::memset(data_ - kFront, kFill, kFront + size + tail_);
}

GuardedBuffer::~GuardedBuffer() {
  free_slots.push_back(slot_);
}

bool GuardedBuffer::intact() const {
  return is_filled(data_ + size_, tail_) && is_filled(data_ - kFront, kFront);
}

}  // namespace talvera::test
