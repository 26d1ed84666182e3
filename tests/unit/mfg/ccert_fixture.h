// Certificate blobs for tests: built field by field, put into a slot of the factory file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "talvera/ccert.h"
#include "unit/mfg/fixture.h"

namespace talvera::test {

inline std::string be32(std::uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift);
  return bytes;
}

struct Item {
  std::string data;
  std::uint32_t type = 0;
  std::uint32_t flags = 0;
};

// A blob that keeps every rule.
inline std::string make_blob(const std::vector<Item> &items) {
  std::string table;
  std::string data;
  for (const Item &item : items) {
    table += be32(static_cast<std::uint32_t>(data.size())) +
             be32(static_cast<std::uint32_t>(item.data.size())) + be32(item.type) +
             be32(item.flags);
    data += item.data;
  }
  return std::string("\x0E\x0C\x0A\x08\x02\x04\x06\x07") +
         be32(static_cast<std::uint32_t>(20 + table.size() + data.size())) +
         be32(static_cast<std::uint32_t>(items.size())) + be32(0x89ABCDEF) + table + data;
}

// A blob with one of its 32-bit fields replaced. Header fields: 8 total length, 12 count; the first
// item's: 20 offset, 24 length, 28 type; the second one's from 36 on.
inline std::string with_field(std::string blob, std::size_t offset, std::uint32_t value) {
  return blob.replace(offset, 4, be32(value));
}

class CcertTest : public MfgTest {
 protected:
  static constexpr std::size_t kSlotOffset[] = {0, 0x1C000, 0x18000};

  void TearDown() override {
    EXPECT_EQ(ccert_deinit(), 0);
    MfgTest::TearDown();
  }
  void store(unsigned slot, const std::string &blob) { write_file_with(kSlotOffset[slot], blob); }
  // ccert_init() after the blob was put into slot 1.
  int load(const std::string &blob) {
    store(1, blob);
    return ccert_init();
  }
};

}  // namespace talvera::test
