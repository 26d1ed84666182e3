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
  unsigned initial;
  unsigned inversion;
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

// A check of every byte value, whose every table entry takes part: dividing a message followed by
// its own check leaves nothing.
TEST(Crc, AMessageWithItsCheckLeavesNothing) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned char message[5] = {static_cast<unsigned char>(byte)};
    const unsigned be32 = crc32_be(0, message, 1);
    const unsigned le32 = crc32_le(0, message, 1);
    for (unsigned i = 0; i < 4; ++i) {
      message[1 + i] = static_cast<unsigned char>(be32 >> (24 - 8 * i));
    }
    EXPECT_EQ(crc32_be(0, message, 5), 0U);
    for (unsigned i = 0; i < 4; ++i) {
      message[1 + i] = static_cast<unsigned char>(le32 >> 8 * i);
    }
    EXPECT_EQ(crc32_le(0, message, 5), 0U);
  }
}

}  // namespace
}  // namespace talvera::test
