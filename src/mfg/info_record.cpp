// The info record at the end of the manufacturing file: checksum, default record, derived serial
// number.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "internal/big_endian.h"
#include "mfg/mfg_file.h"
#include "talvera/mfg.h"

namespace talvera::mfg {
namespace {

constexpr std::size_t kMacSize = 6;
constexpr std::size_t kSerialSize = 16;
constexpr std::uint32_t kEpochOffset = 2082844800;  // seconds from 1904-01-01 to 1970-01-01

// The serial numbers of these three OUIs form one sequence that starts with 0 for the MAC address
// 02-5A-31-00-00-00.
constexpr std::uint32_t kFirstOui = 0x025A31;
constexpr std::uint32_t kLastOui = 0x025A33;

// The sum of all 16-bit words. The low 16 bits are 0 in a valid record; all 32 bits are 0 only if
// every word is.
std::uint32_t word_sum(const std::uint8_t *record) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < MFG_INFO_SIZE; i += 2)
    sum += load_be16(record + i);
  return sum;
}

void set_checksum(std::uint8_t *record) {
  store_be16(record + MFG_INFO_CHECKSUM, 0);
  store_be16(record + MFG_INFO_CHECKSUM, static_cast<std::uint16_t>(-word_sum(record)));
}

// Rejects an all-zero record: it was never written.
bool is_valid(const std::uint8_t *record) {
  const std::uint32_t sum = word_sum(record);
  return sum != 0 && (sum & 0xFFFF) == 0;
}

void set_default(std::uint8_t *record) {
  static constexpr std::uint8_t kDefaultMac[kMacSize] = {0x02, 0x5A, 0x30, 0x96, 0x02, 0xD0};
  std::memset(record, 0, MFG_INFO_SIZE);
  std::memcpy(record + MFG_INFO_MAC, kDefaultMac, kMacSize);
  record[MFG_INFO_DEVICE_TYPE] = 40;
  record[MFG_INFO_MAC_COUNT] = 16;
}

long long serial_from_mac(const std::uint8_t *mac) {
  const std::uint32_t oui = load_be32(mac) >> 8;
  const std::uint32_t low = load_be32(mac + 2) & 0xFFFFFF;
  const bool continued = oui >= kFirstOui && oui <= kLastOui;
  return static_cast<long long>(continued ? oui - kFirstOui : oui) << 24 | low;
}

}  // namespace
}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int mfg_info_read(unsigned char *record) {
  long long serial = 1234567890;  // of the default record
  if (range_read(record, kInfoOffset, MFG_INFO_SIZE) != 0 || !is_valid(record)) {
    set_default(record);
  } else if (record[MFG_INFO_SERIAL] == '\0') {
    serial = serial_from_mac(record + MFG_INFO_MAC);
  } else {
    return 0;
  }
  std::snprintf(reinterpret_cast<char *>(record + MFG_INFO_SERIAL), kSerialSize, "%lld", serial);
  set_checksum(record);
  return 0;
}

extern "C" int mfg_info_write(unsigned char *record) {
  talvera::store_be32(record + MFG_INFO_TIME,
                      static_cast<std::uint32_t>(time(nullptr)) + kEpochOffset);
  talvera::store_be16(
      record + MFG_INFO_WRITE_COUNT,
      static_cast<std::uint16_t>(talvera::load_be16(record + MFG_INFO_WRITE_COUNT) + 1));
  set_checksum(record);
  return range_write(record, kInfoOffset, MFG_INFO_SIZE);
}

extern "C" void mfg_get_macaddr(const unsigned char *record, unsigned char *mac) {
  std::memcpy(mac, record + MFG_INFO_MAC, kMacSize);
}

extern "C" int mfg_num_macaddr(const unsigned char *record) {
  return record[MFG_INFO_MAC_COUNT];
}
