// Validation of the client certificate blob and its installation in a slot.
#include "mfg/ccert_blob.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "talvera/ccert.h"
#include "talvera/mfg.h"

namespace talvera::mfg {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic{0x0E, 0x0C, 0x0A, 0x08};
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
  std::uint64_t end = 0;  // of the items so far; 64 bits, so that hostile lengths cannot wrap
  const std::uint8_t *item = blob + kBlobHeaderSize;
  for (std::uint32_t i = 0; i < count; ++i, item += kBlobItemSize) {
    if (load_be32(item) != end) return false;
    end += load_be32(item + 4);
  }
  return kBlobHeaderSize + std::uint64_t{kBlobItemSize} * count + end == size;
}

}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" uint32_t ccert_extract_certblob_total_length(const unsigned char *blob) {
  return talvera::load_be32(blob + kBlobTotalLength);
}

extern "C" int ccert_install_cert_blob(const unsigned char *blob, unsigned int slot) {
  if (std::memcmp(blob, kMagic.data(), kMagic.size()) != 0 ||
      !is_known_version(blob + kBlobVersion) ||
      !is_consistent(blob, ccert_extract_certblob_total_length(blob))) {
    return talvera::fail(EINVAL);
  }
  const mfg_ccert_set_info info = {blob, ccert_extract_certblob_total_length(blob), slot};
  return mfg_ccert_set(&info);
}
