// Cyclic redundancy checks, computed bytewise with tables built at compile time.
#include "talvera/crc.h"

#include <array>
#include <climits>
#include <concepts>
#include <cstdint>

namespace talvera::container {
namespace {

template <typename Word>
using Table = std::array<Word, 256>;

// Entry i is the CRC of byte i, most significant bit first.
template <std::unsigned_integral Word>
constexpr Table<Word> table_msb_first(Word polynomial) {
  constexpr unsigned kWidth = sizeof(Word) * CHAR_BIT;
  Table<Word> table{};
  for (unsigned i = 0; i < table.size(); ++i) {
    std::uint32_t crc = i << (kWidth - 8);
    for (int bit = 0; bit < 8; ++bit) {
      const bool top = (crc >> (kWidth - 1) & 1) != 0;
      crc = crc << 1 ^ (top ? polynomial : 0U);
    }
    table[i] = static_cast<Word>(crc);
  }
  return table;
}

// Entry i is the CRC of byte i, least significant bit first, for a reflected polynomial.
template <std::unsigned_integral Word>
constexpr Table<Word> table_lsb_first(Word reflected) {
  Table<Word> table{};
  for (unsigned i = 0; i < table.size(); ++i) {
    std::uint32_t crc = i;
    for (int bit = 0; bit < 8; ++bit) {
      const bool low = (crc & 1) != 0;
      crc = crc >> 1 ^ (low ? reflected : 0U);
    }
    table[i] = static_cast<Word>(crc);
  }
  return table;
}

constexpr Table<std::uint32_t> kCrc32Be = table_msb_first<std::uint32_t>(0x04C11DB7);
constexpr Table<std::uint32_t> kCrc32Le = table_lsb_first<std::uint32_t>(0xEDB88320);
constexpr Table<std::uint16_t> kCrc16Be = table_msb_first<std::uint16_t>(0x1021);
constexpr Table<std::uint16_t> kCrc16Le = table_lsb_first<std::uint16_t>(0x8408);
constexpr Table<std::uint8_t> kCrc8 = table_msb_first<std::uint8_t>(0xD5);

// Applies `step` to each byte. Written as a do-while loop for a single branch per byte.
template <typename Word, typename Step>
[[gnu::always_inline]] inline Word fold(const unsigned char *data, unsigned int length, Word crc,
                                        Step step) {
  if (length == 0) return crc;
  const unsigned char *const end = data + length;
  do {
    crc = step(crc, *data++);
  } while (data != end);
  return crc;
}

}  // namespace
}  // namespace talvera::container

using namespace talvera::container;

extern "C" uint32_t crc32_be(uint32_t crc, const unsigned char *data, unsigned int length) {
  return fold(data, length, crc, [](std::uint32_t value, unsigned char byte) {
    return kCrc32Be[byte ^ value >> 24] ^ value << 8;
  });
}

extern "C" uint32_t crc32_le(uint32_t crc, const unsigned char *data, unsigned int length) {
  return fold(data, length, crc, [](std::uint32_t value, unsigned char byte) {
    return kCrc32Le[(value ^ byte) & 0xFF] ^ value >> 8;
  });
}

extern "C" unsigned int crc16_be(unsigned int crc, const unsigned char *data, unsigned int length) {
  return fold(data, length, static_cast<std::uint16_t>(crc),
              [](std::uint16_t value, unsigned char byte) {
                return static_cast<std::uint16_t>(kCrc16Be[byte ^ value >> 8] ^ value << 8);
              });
}

extern "C" unsigned int crc16_le(unsigned int crc, const unsigned char *data, unsigned int length) {
  return fold(data, length, crc & 0xFFFF, [](unsigned int value, unsigned char byte) {
    return kCrc16Le[(value ^ byte) & 0xFF] ^ value >> 8;
  });
}

extern "C" unsigned int crc8(unsigned int crc, const unsigned char *data, unsigned int length) {
  return fold(data, length, crc & 0xFF,
              [](unsigned int value, unsigned char byte) { return unsigned{kCrc8[value ^ byte]}; });
}
