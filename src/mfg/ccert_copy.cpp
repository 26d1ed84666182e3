// The loaded client certificate blob: locating, loading, validation and access to its items.
#include "mfg/ccert_copy.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "internal/wipe.h"
#include "mfg/ccert_blob.h"
#include "talvera/mfg.h"
#include "talvera/sdb.h"

namespace talvera::mfg {
namespace {

// Header of the loaded blob; the table of contents and the item data follow.
struct Copy {
  std::uint32_t length;  // including this header
  std::uint32_t count;
  std::uint32_t header_word;

  ccert_toc_item *items() { return reinterpret_cast<ccert_toc_item *>(this + 1); }
  std::uint8_t *data(const ccert_toc_item &item) {
    return reinterpret_cast<std::uint8_t *>(this) + item.offset;
  }
};
static_assert(sizeof(Copy) == 12 && sizeof(ccert_toc_item) == kBlobItemSize);

// The loaded form omits the blob's magic and version.
constexpr std::uint32_t kLeftOut = kBlobHeaderSize - sizeof(Copy);

Copy *loaded = nullptr;
const ccert_toc_item *certificate = nullptr;
const ccert_toc_item *key = nullptr;
int location = 0;

int query_size(unsigned int slot, std::uint32_t *length) {
  mfg_ccert_get_info info = {nullptr, length, slot};
  *length = 0;
  return mfg_ccert_get(&info);
}

int report_read_failure() {
  const ErrnoKeeper keep;
  std::fprintf(stderr, "ccert_get_ccertblob: mfg_ccert_get failed: %s", sdb_strerror(errno));
  return -1;
}

// Converts a consistent blob to its loaded form.
Copy *copy_blob(const std::uint8_t *blob, std::uint32_t length) {
  auto *copy = static_cast<Copy *>(std::malloc(length - kLeftOut));
  if (copy == nullptr) return nullptr;
  copy->length = length - kLeftOut;
  copy->count = load_be32(blob + kBlobItemCount);
  copy->header_word = load_be32(blob + kBlobHeaderWord);
  const std::uint32_t data_offset = kBlobHeaderSize + kBlobItemSize * copy->count;
  const std::uint8_t *entry = blob + kBlobHeaderSize;
  for (std::uint32_t i = 0; i < copy->count; ++i, entry += kBlobItemSize) {
    copy->items()[i] = {load_be32(entry) + data_offset - kLeftOut, load_be32(entry + 4),
                        load_be32(entry + 8), load_be32(entry + 12)};
  }
  std::memcpy(copy->items() + copy->count, blob + data_offset, length - data_offset);
  return copy;
}

// Does not free the previous blob: callers may still use pointers into it.
void replace_loaded(Copy *copy) {
  loaded = copy;
  certificate = nullptr;
  key = nullptr;
  for (std::uint32_t i = 0; i < ccert_get_data_count(); ++i) {
    const ccert_toc_item *item = loaded->items() + i;
    switch (item->type) {
      case CCERT_CERTIFICATE:
        certificate = item;
        break;
      case CCERT_KEY_PLAIN:
      case CCERT_KEY_PKCS8:
      case CCERT_KEY_PEM:
        key = item;
        break;
      default:
        break;
    }
  }
}

}  // namespace

const ccert_toc_item *loaded_key() {
  return key;
}

}  // namespace talvera::mfg

using namespace talvera;

extern "C" int ccert_location(void) {
  for (const unsigned int slot : {2U, 1U}) {
    std::uint32_t length;
    if (mfg::query_size(slot, &length) == 0) return static_cast<int>(slot);
  }
  return 0;
}

extern "C" int ccert_get_ccertblob(uint32_t *length, unsigned char **blob, unsigned int slot) {
  std::uint32_t size;
  if (mfg::query_size(slot, &size) != 0) return mfg::report_read_failure();
  MallocPtr<unsigned char> content = allocate<unsigned char>(size);
  if (content == nullptr) return CCERT_NO_MEMORY;
  unsigned char *buffer = content.get();
  mfg_ccert_get_info info = {&buffer, &size, slot};
  if (mfg_ccert_get(&info) != 0) {
    wipe(buffer, size);  // may be partly read
    return mfg::report_read_failure();
  }
  *length = size;
  *blob = content.release();
  return 0;
}

extern "C" int ccert_init(void) {
  mfg::location = ccert_location();
  if (mfg::location == 0) return -1;
  std::uint32_t length;
  unsigned char *content;
  const int result =
      ccert_get_ccertblob(&length, &content, static_cast<unsigned int>(mfg::location));
  if (result != 0) return result;
  const MallocPtr<unsigned char> blob(content);
  const WipeAtEnd no_key_left(content, length);
  // An invalid blob intentionally counts as nothing to load, not as a failure.
  if (!mfg::is_consistent(blob.get(), length)) {
    mfg::replace_loaded(nullptr);
    return 0;
  }
  mfg::Copy *copy = mfg::copy_blob(blob.get(), length);
  if (copy == nullptr) return CCERT_NO_MEMORY;
  mfg::replace_loaded(copy);
  return 0;
}

extern "C" int ccert_deinit(void) {
  if (mfg::loaded != nullptr) wipe(mfg::loaded, mfg::loaded->length);
  std::free(mfg::loaded);
  mfg::replace_loaded(nullptr);
  return 0;
}

extern "C" int ccert_get_location(void) {
  return mfg::location;
}

extern "C" unsigned int ccert_get_data_count(void) {
  return mfg::loaded != nullptr ? mfg::loaded->count : 0;
}

extern "C" struct ccert_toc_item *ccert_get_toc_item_from_index(unsigned int index) {
  return index < ccert_get_data_count() ? mfg::loaded->items() + index : nullptr;
}

extern "C" unsigned char *ccert_get_data_from_toc_item(const struct ccert_toc_item *item) {
  return item != nullptr && mfg::loaded != nullptr ? mfg::loaded->data(*item) : nullptr;
}

extern "C" int ccert_get_data_from_index(unsigned int index, unsigned char **data, uint32_t *length,
                                         uint32_t *type, uint32_t *flags) {
  const ccert_toc_item *item = ccert_get_toc_item_from_index(index);
  if (item == nullptr) return fail(EINVAL);
  *data = ccert_get_data_from_toc_item(item);
  *length = item->length;
  if (type != nullptr) *type = item->type;
  if (flags != nullptr) *flags = item->flags;
  return 0;
}

extern "C" int ccert_get_client_cert(unsigned char **certificate, uint32_t *length) {
  *certificate = ccert_get_data_from_toc_item(mfg::certificate);
  *length = *certificate != nullptr ? mfg::certificate->length : 0;
  return *certificate != nullptr ? 0 : fail(ENOENT);
}

// The MAC address and common name of the certificate are never extracted.
extern "C" const unsigned char *ccert_get_mac_address(void) {
  return nullptr;
}

extern "C" const char *ccert_get_cert_common_name(void) {
  return "";
}
