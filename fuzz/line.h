// A terminated copy of a piece of the input, which the functions may cut.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

class Line {
 public:
  Line(const std::uint8_t *data, std::size_t size) : text_(new char[size + 1]) {
    std::copy_n(data, size, text_.get());
    text_[size] = '\0';
    end_ = text_.get() + std::strlen(text_.get());
  }
  [[nodiscard]] char *get() const { return text_.get(); }
  // Where a scanner stopped must be inside.
  void check(const char *p) const {
    if (p < text_.get() || p > end_) std::abort();
  }

 private:
  std::unique_ptr<char[]> text_;
  const char *end_;
};

// The input as lines, one after the other; empty ones when it has no more.
class Lines {
 public:
  Lines(const std::uint8_t *data, std::size_t size) : at_(data), end_(data + size) {}
  Line next() {
    const std::uint8_t *const start = at_;
    const std::uint8_t *const stop = std::find(at_, end_, '\n');
    at_ = stop != end_ ? stop + 1 : stop;
    return {start, static_cast<std::size_t>(stop - start)};
  }

 private:
  const std::uint8_t *at_;
  const std::uint8_t *end_;
};
