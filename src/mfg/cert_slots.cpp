// The certificate slots of the manufacturing file: reading, writing and querying the size of blobs.
#include <syslog.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "mfg/ccert_blob.h"
#include "mfg/mfg_file.h"
#include "talvera/mfg.h"

namespace talvera::mfg {
namespace {

static_assert(offsetof(mfg_ccert_get_info, len) == sizeof(void *) &&
              offsetof(mfg_ccert_get_info, slot) == 2 * sizeof(void *));
static_assert(offsetof(mfg_ccert_set_info, len) == sizeof(void *) &&
              offsetof(mfg_ccert_set_info, slot) == sizeof(void *) + 4);

// Slot 0 passes validation but has no storage: its offset is the last byte of the file, so that at
// most that byte can be transferred.
constexpr std::array<std::int32_t, 3> kSlotOffsets{-1, kCertSlot1Offset, kCertSlot2Offset};

int refuse(const char *message) {
  syslog(LOG_ERR, "%s", message);
  return fail(EIO);
}

int refuse_get(int reason) {
  return refuse(reason == 1 ? "mfg_ccert_get: invalid cert info structure passed (1)"
                            : "mfg_ccert_get: invalid cert info structure passed (2)");
}

std::uint32_t stated_length(std::uint32_t slot) {
  if (slot != 1 && slot != 2) return 0;
  std::uint8_t field[4];
  const std::int32_t offset = kSlotOffsets[slot] + static_cast<std::int32_t>(kBlobTotalLength);
  if (range_read(field, offset, sizeof field) != 0) return 0;
  return load_be32(field);
}

int query_size(const mfg_ccert_get_info &info) {
  *info.len = stated_length(info.slot);
  if (*info.len >= 1 && *info.len <= MFG_CCERT_MAX_QUERY_SIZE) return 0;
  return refuse("mfg_ccert_get: cert blob size is invalid");
}

}  // namespace
}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int mfg_ccert_get(struct mfg_ccert_get_info *info) {
  if (info == nullptr || info->len == nullptr) return refuse_get(1);
  const std::uint32_t length = *info->len;
  if (info->data == nullptr && length == 0) return query_size(*info);
  if (length == 0 || info->slot >= kSlotOffsets.size()) return refuse_get(1);
  if (info->data == nullptr || *info->data == nullptr) return refuse_get(2);
  return range_read(*info->data, kSlotOffsets[info->slot], length);
}

extern "C" int mfg_ccert_set(const struct mfg_ccert_set_info *info) {
  if (info == nullptr || info->data == nullptr || info->len < MFG_CCERT_MIN_SIZE ||
      info->len > MFG_CCERT_MAX_SIZE || info->slot >= kSlotOffsets.size()) {
    return refuse("mfg_ccert_set: invalid cert info structure passed (1)");
  }
  return range_write(info->data, kSlotOffsets[info->slot], info->len);
}
