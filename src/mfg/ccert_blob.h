// Format of the client certificate blob: all its integers are 32-bit and big-endian.
#pragma once

#include <cstdint>

namespace talvera::mfg {

// Byte offsets in the header.
inline constexpr std::uint32_t kBlobVersion = 4;
inline constexpr std::uint32_t kBlobTotalLength = 8;
inline constexpr std::uint32_t kBlobItemCount = 12;
inline constexpr std::uint32_t kBlobHeaderWord = 16;

inline constexpr std::uint32_t kBlobHeaderSize = 20;
inline constexpr std::uint32_t kBlobItemSize = 16;

// Whether the blob is made up of header, table of contents and items without gaps, exactly `size`
// bytes in all, and says so itself. Reads nothing past `size`, whatever the bytes.
bool is_consistent(const std::uint8_t *blob, std::uint32_t size);

}  // namespace talvera::mfg
