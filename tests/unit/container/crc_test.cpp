// The checks: published values, chaining in pieces of every size, running values cut to their
// width.
#include <gtest/gtest.h>

#include <cstring>

#include "talvera/crc.h"

namespace talvera::test {
namespace {

const auto *const kDigits = reinterpret_cast<const unsigned char *>("123456789");

struct Check {
  const char *name;
  unsigned (*function)(unsigned crc, const unsigned char *data, unsigned length);
  unsigned initial, inversion;
  unsigned value;  // of "123456789"
  unsigned mask;
};

const Check kChecks[] = {
    {"CRC-32/BZIP2", crc32_be, 0xFFFFFFFF, 0xFFFFFFFF, 0xFC891918, 0xFFFFFFFF},
    {"CRC-32/MPEG-2", crc32_be, 0xFFFFFFFF, 0, 0x0376E6E7, 0xFFFFFFFF},
    {"CRC-32", crc32_le, 0xFFFFFFFF, 0xFFFFFFFF, 0xCBF43926, 0xFFFFFFFF},
    {"CRC-16/XMODEM", crc16_be, 0, 0, 0x31C3, 0xFFFF},
    {"CRC-16/CCITT-FALSE", crc16_be, 0xFFFF, 0, 0x29B1, 0xFFFF},
    {"CRC-16/KERMIT", crc16_le, 0, 0, 0x2189, 0xFFFF},
    {"CRC-16/X-25", crc16_le, 0xFFFF, 0xFFFF, 0x906E, 0xFFFF},
    {"CRC-8/DVB-S2", crc8, 0, 0, 0xBC, 0xFF},
};

TEST(Crc, PublishedCheckValuesInOneOrTwoPieces) {
  for (const Check &check : kChecks) {
    SCOPED_TRACE(check.name);
    for (unsigned piece = 0; piece <= 9; ++piece) {
      const unsigned running = check.function(check.initial, kDigits, piece);
      EXPECT_EQ(check.function(running, kDigits + piece, 9 - piece) ^ check.inversion, check.value);
    }
  }
}

TEST(Crc, RunningValuesAreCutToTheirWidth) {
  for (const Check &check : kChecks) {
    SCOPED_TRACE(check.name);
    EXPECT_EQ(check.function(0xABCD2345, nullptr, 0), 0xABCD2345 & check.mask);
    const unsigned high = ~check.mask | check.initial;
    EXPECT_EQ(check.function(high, kDigits, 9) ^ check.inversion, check.value);
  }
}

// Each table entry against the division that it stands for, bit by bit.
TEST(Crc, EveryByteAsDividedBitByBit) {
  using Function = unsigned (*)(unsigned, const unsigned char *, unsigned);
  const std::tuple<Function, unsigned, unsigned, bool> kinds[] = {
      {crc32_be, 32, 0x04C11DB7, false},
      {crc32_le, 32, 0xEDB88320, true},
      {crc16_be, 16, 0x1021, false},
      {crc16_le, 16, 0x8408, true},
      {crc8, 8, 0xD5, false},
  };
  for (const auto &[function, width, polynomial, low_bit_first] : kinds) {
    const unsigned top = 1U << (width - 1);
    for (unsigned i = 0; i < 256; ++i) {
      unsigned crc = low_bit_first ? i : i << (width - 8);
      for (int bit = 0; bit < 8; ++bit) {
        const bool out = (crc & (low_bit_first ? 1U : top)) != 0;
        crc = (low_bit_first ? crc >> 1 : crc << 1) ^ (out ? polynomial : 0);
      }
      const auto byte = static_cast<unsigned char>(i);
      EXPECT_EQ(function(0, &byte, 1), crc & (top | (top - 1))) << width << ' ' << i;
    }
  }
}

}  // namespace
}  // namespace talvera::test
