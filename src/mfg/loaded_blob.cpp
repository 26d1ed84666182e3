// The loaded client certificate blob: locating, loading, validation and access to its items.
#include "mfg/loaded_blob.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

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

LoadedBlob *loaded = nullptr;
const ccert_toc_item *certificate_item = nullptr;
const ccert_toc_item *key_item = nullptr;
int location = 0;

int query_size(unsigned int slot, std::uint32_t *length) {
  mfg_ccert_get_info info = {nullptr, length, slot};
  *length = 0;
  return mfg_ccert_get(&info);
}

int report_read_failure() {
  const ErrnoSaver saver;
  std::fprintf(stderr, "ccert_get_ccertblob: mfg_ccert_get failed: %s", sdb_strerror(errno));
  return -1;
}

// Converts a consistent blob to its loaded form.
LoadedBlob *load_blob(const std::uint8_t *blob, std::uint32_t length) {
  auto *loaded_blob = static_cast<LoadedBlob *>(std::malloc(length - kOmittedSize));
  if (loaded_blob == nullptr) return nullptr;
  loaded_blob->length = length - kOmittedSize;
  loaded_blob->count = load_be32(blob + kBlobItemCount);
  loaded_blob->header_word = load_be32(blob + kBlobHeaderWord);
  const std::uint32_t data_offset = kBlobHeaderSize + kBlobItemSize * loaded_blob->count;
  const std::uint8_t *entry = blob + kBlobHeaderSize;
  for (std::uint32_t i = 0; i < loaded_blob->count; ++i, entry += kBlobItemSize) {
    loaded_blob->items()[i] = {load_be32(entry) + data_offset - kOmittedSize, load_be32(entry + 4),
                               load_be32(entry + 8), load_be32(entry + 12)};
  }
  std::memcpy(loaded_blob->items() + loaded_blob->count, blob + data_offset, length - data_offset);
  return loaded_blob;
}

// Does not free the previous blob: callers may still use pointers into it.
void replace_loaded(LoadedBlob *loaded_blob) {
  loaded = loaded_blob;
  certificate_item = nullptr;
  key_item = nullptr;
  for (std::uint32_t i = 0; i < ccert_get_data_count(); ++i) {
    const ccert_toc_item *item = loaded->items() + i;
    switch (item->type) {
      case CCERT_CERTIFICATE:
        certificate_item = item;
        break;
      case CCERT_KEY_PLAIN:
      case CCERT_KEY_PKCS8:
      case CCERT_KEY_PEM:
        key_item = item;
        break;
      default:
        break;
    }
  }
}

}  // namespace

const ccert_toc_item *loaded_key() {
  return key_item;
}

}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int ccert_location(void) {
  for (const unsigned int slot : {2U, 1U}) {
    std::uint32_t length;
    if (query_size(slot, &length) == 0) return static_cast<int>(slot);
  }
  return 0;
}

extern "C" int ccert_get_ccertblob(uint32_t *length, unsigned char **blob, unsigned int slot) {
  std::uint32_t size;
  if (query_size(slot, &size) != 0) return report_read_failure();
  talvera::MallocPtr<unsigned char> content = talvera::allocate<unsigned char>(size);
  if (content == nullptr) return CCERT_NO_MEMORY;
  unsigned char *buffer = content.get();
  mfg_ccert_get_info info = {&buffer, &size, slot};
  if (mfg_ccert_get(&info) != 0) {
    talvera::wipe(buffer, size);  // may be partly read
    return report_read_failure();
  }
  *length = size;
  *blob = content.release();
  return 0;
}

extern "C" int ccert_init(void) {
  location = ccert_location();
  if (location == 0) return -1;
  std::uint32_t length;
  unsigned char *content;
  const int result = ccert_get_ccertblob(&length, &content, static_cast<unsigned int>(location));
  if (result != 0) return result;
  const talvera::MallocPtr<unsigned char> blob(content);
  const talvera::ScopedWipe wipe_keys(content, length);
  // An invalid blob intentionally counts as nothing to load, not as a failure.
  if (!is_consistent(blob.get(), length)) {
    replace_loaded(nullptr);
    return 0;
  }
  LoadedBlob *loaded_blob = load_blob(blob.get(), length);
  if (loaded_blob == nullptr) return CCERT_NO_MEMORY;
  replace_loaded(loaded_blob);
  return 0;
}

extern "C" int ccert_deinit(void) {
  if (loaded != nullptr) talvera::wipe(loaded, loaded->length);
  std::free(loaded);
  replace_loaded(nullptr);
  return 0;
}

extern "C" int ccert_get_location(void) {
  return location;
}

extern "C" unsigned int ccert_get_data_count(void) {
  return loaded != nullptr ? loaded->count : 0;
}

extern "C" struct ccert_toc_item *ccert_get_toc_item_from_index(unsigned int index) {
  return index < ccert_get_data_count() ? loaded->items() + index : nullptr;
}

extern "C" unsigned char *ccert_get_data_from_toc_item(const struct ccert_toc_item *item) {
  return item != nullptr && loaded != nullptr ? loaded->data(*item) : nullptr;
}

extern "C" int ccert_get_data_from_index(unsigned int index, unsigned char **data, uint32_t *length,
                                         uint32_t *type, uint32_t *flags) {
  const ccert_toc_item *item = ccert_get_toc_item_from_index(index);
  if (item == nullptr) return talvera::fail(EINVAL);
  *data = ccert_get_data_from_toc_item(item);
  *length = item->length;
  if (type != nullptr) *type = item->type;
  if (flags != nullptr) *flags = item->flags;
  return 0;
}

extern "C" int ccert_get_client_cert(unsigned char **certificate, uint32_t *length) {
  *certificate = ccert_get_data_from_toc_item(certificate_item);
  *length = *certificate != nullptr ? certificate_item->length : 0;
  return *certificate != nullptr ? 0 : talvera::fail(ENOENT);
}

// The MAC address and common name of the certificate are never extracted.
extern "C" const unsigned char *ccert_get_mac_address(void) {
  return nullptr;
}

extern "C" const char *ccert_get_cert_common_name(void) {
  return "";
}
