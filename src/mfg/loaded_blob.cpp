// The loaded client certificate blob: locating, loading, validation and access to its items.
#include "mfg/loaded_blob.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "internal/wipe.h"
#include "mfg/ccert_blob.h"
#include "mfg/cert_slots.h"
#include "talvera/sdb.h"

namespace talvera::mfg {
namespace {

// Header of the loaded blob; the table of contents and the item data follow.
struct LoadedBlob {
  std::uint32_t length;  // including this header
  std::uint32_t count;
  std::uint32_t header_word;

  ccert_toc_item *items() { return reinterpret_cast<ccert_toc_item *>(this + 1); }
  std::uint8_t *data(const ccert_toc_item &item) {
    return reinterpret_cast<std::uint8_t *>(this) + item.offset;
  }
};
static_assert(sizeof(LoadedBlob) == 12 && sizeof(ccert_toc_item) == kBlobItemSize);

// The loaded form omits the blob's magic and version.
constexpr std::uint32_t kOmittedSize = kBlobHeaderSize - sizeof(LoadedBlob);

// One object, because it takes less code to address than four.
struct {
  LoadedBlob *blob;
  const ccert_toc_item *certificate;
  const ccert_toc_item *key;
  int location;
} loaded;

constexpr bool is_key(std::uint32_t type) {
  return type == CCERT_KEY_PLAIN || type == CCERT_KEY_PKCS8 || type == CCERT_KEY_PEM;
}

// Loads a copy of a consistent blob, converted to its loaded form. The previous one is not freed:
// callers may still use pointers into it. Returns false when memory runs out.
bool load(const std::uint8_t *content, std::uint32_t length) {
  auto *blob = static_cast<LoadedBlob *>(std::malloc(length - kOmittedSize));
  if (blob == nullptr) return false;
  std::memcpy(blob, content + kOmittedSize, length - kOmittedSize);
  blob->length = length - kOmittedSize;
  blob->count = as_big_endian(blob->count);
  blob->header_word = as_big_endian(blob->header_word);
  const std::uint32_t data_offset = std::uint32_t{sizeof *blob} + kBlobItemSize * blob->count;
  const ccert_toc_item *certificate = nullptr;
  const ccert_toc_item *key = nullptr;
  ccert_toc_item *item = blob->items();
  for (std::uint32_t left = blob->count; left > 0; --left, ++item) {
    item->offset = as_big_endian(item->offset) + data_offset;
    item->length = as_big_endian(item->length);
    item->type = as_big_endian(item->type);
    item->flags = as_big_endian(item->flags);
    if (item->type == CCERT_CERTIFICATE) certificate = item;
    if (is_key(item->type)) key = item;
  }
  loaded.blob = blob;
  loaded.certificate = certificate;
  loaded.key = key;
  return true;
}

void forget() {
  loaded.blob = nullptr;
  loaded.certificate = nullptr;
  loaded.key = nullptr;
}

// Reads the blob of a slot into a heap block. Returns 0, -1 with errno set, or CCERT_NO_MEMORY.
int read_blob(unsigned int slot, unsigned char **blob, std::uint32_t *length) {
  std::uint32_t size;
  if (query_size(slot, &size) != 0) return -1;
  MallocPtr<unsigned char> content = allocate<unsigned char>(size);
  if (content == nullptr) return CCERT_NO_MEMORY;
  if (read_slot(slot, content.get(), size) != 0) {
    wipe(content.get(), size);  // may hold part of a private key
    return -1;
  }
  *length = size;
  *blob = content.release();
  return 0;
}

}  // namespace

const ccert_toc_item *loaded_key() {
  return loaded.key;
}

}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int ccert_location(void) {
  unsigned int slot = 2;
  std::uint32_t length;
  while (slot > 0 && query_size(slot, &length) != 0)
    --slot;
  return static_cast<int>(slot);
}

extern "C" int ccert_get_ccertblob(uint32_t *length, unsigned char **blob, unsigned int slot) {
  const int result = read_blob(slot, blob, length);
  if (result == -1) {
    const talvera::ErrnoSaver saver;
    std::fprintf(stderr, "ccert_get_ccertblob: mfg_ccert_get failed: %s", sdb_strerror(errno));
  }
  return result;
}

extern "C" int ccert_init(void) {
  loaded.location = ccert_location();
  if (loaded.location == 0) return -1;
  std::uint32_t length;
  unsigned char *content;
  const int result =
      ccert_get_ccertblob(&length, &content, static_cast<unsigned int>(loaded.location));
  if (result != 0) return result;
  const talvera::MallocPtr<unsigned char> blob(content);
  const talvera::ScopedWipe wipe_keys(content, length);
  if (is_consistent(content, length)) return load(content, length) ? 0 : CCERT_NO_MEMORY;
  // An invalid blob intentionally counts as nothing to load, not as a failure.
  forget();
  return 0;
}

extern "C" int ccert_deinit(void) {
  if (loaded.blob == nullptr) return 0;
  talvera::wipe(loaded.blob, loaded.blob->length);
  std::free(loaded.blob);
  forget();
  return 0;
}

extern "C" int ccert_get_location(void) {
  return loaded.location;
}

extern "C" unsigned int ccert_get_data_count(void) {
  return loaded.blob != nullptr ? loaded.blob->count : 0;
}

extern "C" struct ccert_toc_item *ccert_get_toc_item_from_index(unsigned int index) {
  LoadedBlob *const blob = loaded.blob;
  return blob != nullptr && index < blob->count ? blob->items() + index : nullptr;
}

extern "C" unsigned char *ccert_get_data_from_toc_item(const struct ccert_toc_item *item) {
  LoadedBlob *const blob = loaded.blob;
  return item != nullptr && blob != nullptr ? blob->data(*item) : nullptr;
}

extern "C" int ccert_get_data_from_index(unsigned int index, unsigned char **data, uint32_t *length,
                                         uint32_t *type, uint32_t *flags) {
  LoadedBlob *const blob = loaded.blob;
  if (blob == nullptr || index >= blob->count) return talvera::fail(EINVAL);
  const ccert_toc_item &item = blob->items()[index];
  *data = blob->data(item);
  *length = item.length;
  if (type != nullptr) *type = item.type;
  if (flags != nullptr) *flags = item.flags;
  return 0;
}

extern "C" int ccert_get_client_cert(unsigned char **certificate, uint32_t *length) {
  *certificate = nullptr;
  *length = 0;
  const ccert_toc_item *const item = loaded.certificate;
  if (item == nullptr) return talvera::fail(ENOENT);
  *certificate = loaded.blob->data(*item);
  *length = item->length;
  return 0;
}

// The MAC address and common name of the certificate are never extracted.
extern "C" const unsigned char *ccert_get_mac_address(void) {
  return nullptr;
}

extern "C" const char *ccert_get_cert_common_name(void) {
  return "";
}
