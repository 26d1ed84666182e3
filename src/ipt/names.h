// Tables of command-line words, indexed by number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace talvera::ipt {

inline constexpr std::size_t kMaxTables = 8;
inline constexpr std::size_t kMaxNames = 74;

// Names of several enumerations, concatenated and NUL-terminated: an array of pointers would need a
// load-time relocation per name. An aggregate, so that the compiler puts it into read-only memory.
template <std::size_t Size>
struct NameTables {
  // The NUL-terminated name of `number` in a table; null if the table has no such number.
  [[nodiscard]] const char *name(std::size_t table, std::uint32_t number) const {
    const std::uint32_t first = firsts[table];
    return number < firsts[table + 1] - first ? &text[texts[table] + starts[first + number]]
                                              : nullptr;
  }

  std::array<std::uint16_t, kMaxTables> texts;  // offset of each table's names in `text`
  std::array<std::uint8_t, kMaxTables> firsts;  // index of each table's first name
  std::array<std::uint8_t, kMaxNames> starts;   // offset of each name in its table
  std::array<char, Size> text;
};

// Builds the tables from NUL-terminated names; a line feed ends each table.
template <std::size_t Size>
consteval NameTables<Size> name_tables(const char (&names)[Size]) {
  NameTables<Size> tables{};
  std::size_t used = 0;
  std::uint8_t count = 0;
  std::size_t table = 0;
  std::size_t start = 0;
  for (const char c : names) {
    if (c == '\n') {
      tables.firsts[++table] = count;
      tables.texts[table] = static_cast<std::uint16_t>(start);
      continue;
    }
    tables.text[used++] = c;
    if (c != '\0') continue;
    tables.starts[count++] = static_cast<std::uint8_t>(start - tables.texts[table]);
    start = used;
  }
  return tables;
}

}  // namespace talvera::ipt
