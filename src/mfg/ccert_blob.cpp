// Validation of the client certificate blob and its installation in a slot.
#include "mfg/ccert_blob.h"

#include <array>
#include <cerrno>
#include <cstddef>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "talvera/ccert.h"
#include "talvera/mfg.h"

namespace talvera::mfg {
namespace {

constexpr std::uint32_t kMagic = 0x0E0C0A08;
constexpr std::array<std::uint8_t, 4> kLibraryVersion{2, 4, 6, 7};

// Compares each component on its own: 2.4.0.9 is unsupported although it is lower than 2.4.6.7.
bool is_known_version(const std::uint8_t *version) {
  for (std::size_t i = 0; i < kLibraryVersion.size(); ++i) {
    if (version[i] > kLibraryVersion[i]) return false;
  }
  return true;
}

}  // namespace

bool is_consistent(const std::uint8_t *blob, std::uint32_t size) {
  if (size < kBlobHeaderSize || load_be32(blob + kBlobTotalLength) != size) return false;
  const std::uint32_t count = load_be32(blob + kBlobItemCount);
  if (count > (size - kBlobHeaderSize) / kBlobItemSize) return false;
  const std::uint32_t data_size = size - kBlobHeaderSize - kBlobItemSize * count;
  std::uint32_t end = 0;  // of the items so far; never exceeds data_size
  const std::uint8_t *item = blob + kBlobHeaderSize;
  for (std::uint32_t i = 0; i < count; ++i, item += kBlobItemSize) {
    const std::uint32_t length = load_be32(item + 4);
    if (load_be32(item) != end || length > data_size - end) return false;
    end += length;
  }
  return end == data_size;
}

}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" uint32_t ccert_extract_certblob_total_length(const unsigned char *blob) {
  return talvera::load_be32(blob + kBlobTotalLength);
}

extern "C" int ccert_install_cert_blob(const unsigned char *blob, unsigned int slot) {
  if (talvera::load_be32(blob) != kMagic || !is_known_version(blob + kBlobVersion) ||
      !is_consistent(blob, talvera::load_be32(blob + kBlobTotalLength))) {
    return talvera::fail(EINVAL);
  }
  const mfg_ccert_set_info info = {blob, talvera::load_be32(blob + kBlobTotalLength), slot};
  return mfg_ccert_set(&info);
}
