// Format of the client certificate blob; all integers are 32-bit big-endian.
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

// Whether the blob consists of a header, table of contents and contiguous items, and is exactly
// `size` bytes long, as its length field states. Never reads past `size`, whatever the content.
bool is_consistent(const std::uint8_t *blob, std::uint32_t size);

}  // namespace talvera::mfg
