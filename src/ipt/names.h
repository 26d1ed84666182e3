// Words of a command line by their numbers.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace talvera::ipt {

inline constexpr std::size_t kMostNames = 18;

// The names of one enumeration, seen without the length of their text.
class Names {
 public:
  constexpr Names(const char *text, const std::uint8_t *starts, std::uint32_t count)
      : text_(text), starts_(starts), count_(count) {}

  [[nodiscard]] constexpr bool has(std::uint32_t value) const { return value < count_; }
  // REQUIRES: has(value). What is returned ends in a NUL.
  [[nodiscard]] constexpr std::string_view operator[](std::uint32_t value) const {
    const std::size_t length = starts_[value + 1] - std::size_t{starts_[value]} - 1;
    return {text_ + starts_[value], length};
  }

 private:
  const char *text_;
  const std::uint8_t *starts_;
  std::uint32_t count_;
};

// Names one behind the other, separated by NUL: an array of pointers would cost the loader a
// relocation for each name. An aggregate, which the compiler puts into read-only memory.
template <std::size_t Size>
struct NameTable {
  static_assert(Size < 256);

  constexpr operator Names() const { return {text.data(), starts.data(), count}; }

  std::array<char, Size> text;
  std::array<std::uint8_t, kMostNames + 1> starts;
  std::uint32_t count;
};

template <std::size_t Size>
consteval NameTable<Size> name_table(const char (&names)[Size]) {
  NameTable<Size> table{};
  for (std::size_t i = 0; i < Size; ++i) {
    table.text[i] = names[i];
    if (names[i] == '\0') table.starts[++table.count] = static_cast<std::uint8_t>(i + 1);
  }
  return table;
}

}  // namespace talvera::ipt
