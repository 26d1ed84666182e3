// Unaligned loads and stores in native and big-endian byte order. Stored binary data and packet
// fields are big-endian.
#pragma once

#include <bit>
#include <cstdint>

namespace talvera {

// A number at any address. The packed attribute makes compilers emit unaligned-access instructions
// where the machine has them; not all do so for memcpy().
template <typename T>
struct [[gnu::packed, gnu::may_alias]] Unaligned {
  T value;
};

template <typename T>
T load_unaligned(const void *bytes) {
  return static_cast<const Unaligned<T> *>(bytes)->value;
}

template <typename T>
void store_unaligned(void *bytes, T value) {
  static_cast<Unaligned<T> *>(bytes)->value = value;
}

constexpr std::uint16_t as_big_endian(std::uint16_t value) {
  return std::endian::native == std::endian::big ? value : __builtin_bswap16(value);
}

constexpr std::uint32_t as_big_endian(std::uint32_t value) {
  return std::endian::native == std::endian::big ? value : __builtin_bswap32(value);
}

inline std::uint16_t load_be16(const std::uint8_t *bytes) {
  return as_big_endian(load_unaligned<std::uint16_t>(bytes));
}

inline std::uint32_t load_be32(const std::uint8_t *bytes) {
  return as_big_endian(load_unaligned<std::uint32_t>(bytes));
}

inline void store_be16(std::uint8_t *bytes, std::uint16_t value) {
  store_unaligned(bytes, as_big_endian(value));
}

inline void store_be32(std::uint8_t *bytes, std::uint32_t value) {
  store_unaligned(bytes, as_big_endian(value));
}

}  // namespace talvera
