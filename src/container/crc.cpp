// Cyclic redundancy checks, byte by byte through tables made at compile time.
#include "talvera/crc.h"

#include <array>
#include <climits>
#include <concepts>
#include <cstdint>
#include <span>

namespace {

template <typename Word>
using Table = std::array<Word, 256>;

// Entry i: the check of byte i, most significant bit first.
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

// Entry i: the check of byte i, least significant bit first, with the reflected polynomial.
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

using Bytes = std::span<const unsigned char>;

}  // namespace

extern "C" uint32_t crc32_be(uint32_t crc, const unsigned char *data, unsigned int length) {
  for (const unsigned char byte : Bytes(data, length)) {
    crc = kCrc32Be[byte ^ crc >> 24] ^ crc << 8;
  }
  return crc;
}

extern "C" uint32_t crc32_le(uint32_t crc, const unsigned char *data, unsigned int length) {
  for (const unsigned char byte : Bytes(data, length)) {
    crc = kCrc32Le[(crc ^ byte) & 0xFF] ^ crc >> 8;
  }
  return crc;
}

extern "C" unsigned int crc16_be(unsigned int crc, const unsigned char *data, unsigned int length) {
  auto running = static_cast<std::uint16_t>(crc);
  for (const unsigned char byte : Bytes(data, length)) {
    running = static_cast<std::uint16_t>(kCrc16Be[byte ^ running >> 8] ^ running << 8);
  }
  return running;
}

extern "C" unsigned int crc16_le(unsigned int crc, const unsigned char *data, unsigned int length) {
  crc &= 0xFFFF;
  for (const unsigned char byte : Bytes(data, length)) {
    crc = kCrc16Le[(crc ^ byte) & 0xFF] ^ crc >> 8;
  }
  return crc;
}

extern "C" unsigned int crc8(unsigned int crc, const unsigned char *data, unsigned int length) {
  crc &= 0xFF;
  for (const unsigned char byte : Bytes(data, length)) {
    crc = kCrc8[crc ^ byte];
  }
  return crc;
}
