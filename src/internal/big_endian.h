// Big-endian loads and stores, the byte order of every file, wire and shared-memory format here.
#pragma once

#include <cstdint>

namespace talvera {

inline std::uint16_t load_be16(const std::uint8_t *bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline std::uint32_t load_be32(const std::uint8_t *bytes) {
  return static_cast<std::uint32_t>(load_be16(bytes)) << 16 | load_be16(bytes + 2);
}

inline void store_be16(std::uint8_t *bytes, std::uint16_t value) {
  bytes[0] = static_cast<std::uint8_t>(value >> 8);
  bytes[1] = static_cast<std::uint8_t>(value);
}

inline void store_be32(std::uint8_t *bytes, std::uint32_t value) {
  store_be16(bytes, static_cast<std::uint16_t>(value >> 16));
  store_be16(bytes + 2, static_cast<std::uint16_t>(value));
}

}  // namespace talvera
