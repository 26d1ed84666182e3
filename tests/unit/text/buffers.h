// Buffers for functions that scan and write text: what they touch beyond is noticed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace talvera::test {

// A writable, terminated text in a heap block of just its size.
class Text {
 public:
  explicit Text(std::string_view text) : size_(text.size() + 1), bytes_(new char[size_]) {
    std::copy_n(text.data(), text.size(), bytes_.get());
    bytes_[text.size()] = '\0';
  }

  [[nodiscard]] char *get() const { return bytes_.get(); }
  [[nodiscard]] std::ptrdiff_t offset(const char *p) const { return p - bytes_.get(); }
  // All bytes without the last terminator.
  [[nodiscard]] std::string all() const { return {bytes_.get(), size_ - 1}; }

 private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

// Room to write to between guards.
class Room {
 public:
  static constexpr char kFill = '\xA5';

  explicit Room(std::size_t size) : bytes_(size + 2 * kGuard, kFill) {}

  [[nodiscard]] char *get() { return bytes_.data() + kGuard; }
  [[nodiscard]] unsigned char *bytes() { return reinterpret_cast<unsigned char *>(get()); }
  // What was written up to the last byte that is not the fill; "(underrun)" when anything was
  // before.
  [[nodiscard]] std::string written() const {
    const std::size_t first = bytes_.find_first_not_of(kFill);
    if (first == std::string::npos) return {};
    if (first < kGuard) return "(underrun)";
    return bytes_.substr(kGuard, bytes_.find_last_not_of(kFill) + 1 - kGuard);
  }

 private:
  static constexpr std::size_t kGuard = 16;
  std::string bytes_;
};

// A text with its terminator, as Room::written() gives it.
inline std::string terminated(std::string_view text) {
  return std::string(text) + '\0';
}

}  // namespace talvera::test
