// Helpers of fuzz targets: the input as numbers and texts, calls with arguments from it, property
// checks, and blocks of exactly the documented sizes, so that sanitizers detect overruns.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>

inline void require(bool property) {
  if (!property) std::abort();
}

inline void read_all(const void *data, std::size_t size) {
  static volatile unsigned sum;
  for (std::size_t i = 0; i < size; ++i)
    sum = sum + static_cast<const unsigned char *>(data)[i];
}

template <typename T = char>
std::unique_ptr<T[]> block(std::size_t size) {
  return std::unique_ptr<T[]>(new T[size]);
}

// A terminated copy of part of the input, which functions may modify.
class Text {
 public:
  Text(const std::uint8_t *data, std::size_t size) : text_(block(size + 1)) {
    std::copy_n(data, size, text_.get());
    text_[size] = '\0';
    end_ = text_.get() + std::strlen(text_.get());
  }
  operator char *() const { return text_.get(); }
  [[nodiscard]] std::size_t size() const { return std::strlen(text_.get()); }
  // Whether a pointer is inside the original text.
  [[nodiscard]] bool holds(const char *p) const { return p >= text_.get() && p <= end_; }

 private:
  std::unique_ptr<char[]> text_;
  const char *end_;
};

struct Input {
  const std::uint8_t *data;
  std::size_t size;

  // Consumes bytes from the front; zeros when there are no more.
  template <typename T>
  T number() {
    T value = 0;
    const std::size_t bytes = std::min(size, sizeof value);
    std::memcpy(&value, data, bytes);
    skip(bytes);
    return value;
  }
  unsigned byte() { return number<std::uint8_t>(); }
  Text line() {
    const std::uint8_t *const start = data;
    const auto length = static_cast<std::size_t>(std::find(data, data + size, '\n') - data);
    skip(std::min(length + 1, size));
    return {start, length};
  }
  [[nodiscard]] Text rest() const { return {data, size}; }
  void skip(std::size_t bytes) {
    data += bytes;
    size -= bytes;
  }
};

template <typename T>
inline constexpr bool kIsText = std::is_same_v<T, char *> || std::is_same_v<T, const char *>;

// An argument from the input: a text from the next line (the rest if it is the last argument), a
// number, or an output buffer.
template <typename T>
struct Argument {
  T number;
  Argument(Input &, int number, int &) : number(static_cast<T>(number)) {}
  T pass() { return number; }
  bool holds(const char *) { return false; }
};
template <typename T>
struct Argument<T *> {
  std::unique_ptr<T> room = std::make_unique<T>();
  Argument(Input &, int, int &) {}
  T *pass() { return room.get(); }
  bool holds(const char *) { return false; }
};
template <typename T>
requires kIsText<T *>
struct Argument<T *> {
  Text text;
  Argument(Input &input, int, int &texts) : text(--texts > 0 ? input.line() : input.rest()) {}
  T *pass() { return text; }
  bool holds(const char *p) { return text.holds(p); }
};

// Calls each function with arguments of its types. A returned pointer must be inside the text.
template <typename R, typename... A>
void call(Input input, int number, R (*function)(A...)) {
  int texts = (0 + ... + (kIsText<A> ? 1 : 0));
  std::tuple<Argument<A>...> arguments{Argument<A>(input, number, texts)...};
  std::apply(
      [&](auto &...argument) {
        if constexpr (std::is_same_v<R, char *>) {
          const char *const place = function(argument.pass()...);
          require(place == nullptr || (argument.holds(place) || ...));
        } else {
          function(argument.pass()...);
        }
      },
      arguments);
}
template <typename... F>
void call_all(const Input &input, int number, F *...functions) {
  (call(input, number, functions), ...);
}

// A file in memory.
class MemoryFile {
 public:
  void fill(const void *data, std::size_t size) const {
    require(ftruncate(fd, 0) == 0 && pwrite(fd, data, size, 0) == static_cast<ssize_t>(size));
  }
  const int fd = memfd_create("fuzz", 0);
  const std::string name = std::to_string(fd);  // in /proc/self/fd
};

// FUZZ(input) { ... } defines the processing of each input.
#define FUZZ(input)                                                                   \
  static void fuzz(Input input);                                                      \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) { \
    fuzz({data, size});                                                               \
    return 0;                                                                         \
  }                                                                                   \
  static void fuzz(Input input)
