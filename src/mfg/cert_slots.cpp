// The certificate slots of the manufacturing file.
#include "mfg/cert_slots.h"

#include <syslog.h>

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

constexpr std::uint32_t kSlots = 3;

// Slot 0 intentionally passes validation but has no storage: its offset is that of the last byte of
// the file, so that at most that byte can be transferred.
std::uint32_t slot_offset(std::uint32_t slot) {
  return kFileSize - (slot != 0 ? slot * kCertSlotSize : 1);
}

[[gnu::noinline]] int reject(const char *function, int reason) {
  syslog(LOG_ERR, "%s: invalid cert info structure passed (%d)", function, reason);
  return fail(EIO);
}

}  // namespace

int query_size(std::uint32_t slot, std::uint32_t *length) {
  std::uint8_t field[4];
  const bool read = (slot == 1 || slot == 2) &&
                    range_read(field, slot_offset(slot) + kBlobTotalLength, sizeof field) == 0;
  *length = read ? load_be32(field) : 0;
  if (*length >= 1 && *length <= MFG_CCERT_MAX_QUERY_SIZE) return 0;
  syslog(LOG_ERR, "mfg_ccert_get: cert blob size is invalid");
  return fail(EIO);
}

int read_slot(std::uint32_t slot, void *buffer, std::uint32_t length) {
  return range_read(buffer, slot_offset(slot), length);
}

}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int mfg_ccert_get(struct mfg_ccert_get_info *info) {
  if (info == nullptr || info->len == nullptr) return reject(__func__, 1);
  const std::uint32_t length = *info->len;
  if (info->data == nullptr && length == 0) return query_size(info->slot, info->len);
  if (length == 0 || info->slot >= kSlots) return reject(__func__, 1);
  if (info->data == nullptr || *info->data == nullptr) return reject(__func__, 2);
  return read_slot(info->slot, *info->data, length);
}

extern "C" int mfg_ccert_set(const struct mfg_ccert_set_info *info) {
  if (info == nullptr || info->data == nullptr || info->len < MFG_CCERT_MIN_SIZE ||
      info->len > MFG_CCERT_MAX_SIZE || info->slot >= kSlots) {
    return reject(__func__, 1);
  }
  return range_write(info->data, slot_offset(info->slot), info->len);
}
