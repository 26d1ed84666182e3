// The private key of the loaded client certificate blob, and the unimplemented conversions for
// encoded keys.
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "internal/wipe.h"
#include "mfg/loaded_blob.h"
#include "talvera/ccert.h"

namespace talvera::mfg {
namespace {

// An encrypted key starts with the word 1 and a second word; the ciphertext follows.
constexpr std::uint32_t kEncryptedHeaderSize = 8;
constexpr std::uint32_t kEncryptedFormat = 1;

// A heap copy of an item's data; null when memory runs out.
unsigned char *copy_of(const ccert_toc_item &item) {
  unsigned char *copy = allocate<unsigned char>(item.length).release();
  if (copy != nullptr) std::memcpy(copy, ccert_get_data_from_toc_item(&item), item.length);
  return copy;
}

void get_plain(const ccert_toc_item &item, unsigned char **key, std::uint32_t *length) {
  unsigned char *copy = copy_of(item);
  if (copy == nullptr) return;
  *key = copy;
  *length = item.length;
}

void get_encrypted(const ccert_toc_item &item, unsigned char **key, std::uint32_t *length) {
  const MallocPtr<unsigned char> copy(copy_of(item));
  if (copy == nullptr) return;
  const ScopedWipe wipe_keys(copy.get(), item.length);
  if (item.length >= kEncryptedHeaderSize && load_be32(copy.get()) == kEncryptedFormat &&
      MKEY_Decrypt(copy.get() + kEncryptedHeaderSize, item.length - kEncryptedHeaderSize) == 0) {
    MEAPCA_ExtractBareRSAKeyFromPKCS8(key, length);
  }
}

int not_provided() {
  return fail(ENOSYS);
}

}  // namespace
}  // namespace talvera::mfg

using namespace talvera::mfg;

extern "C" int ccert_get_client_private_key(unsigned char **key, uint32_t *length) {
  *key = nullptr;
  *length = 0;
  const ccert_toc_item *item = loaded_key();
  if (item == nullptr) return talvera::fail(ENOENT);
  switch (item->type) {
    case CCERT_KEY_PLAIN:
      get_plain(*item, key, length);
      break;
    case CCERT_KEY_PKCS8:
      if ((item->flags & CCERT_FLAG_ENCRYPTED) != 0) {
        get_encrypted(*item, key, length);
      } else {
        MEAPCA_ExtractBareRSAKeyFromPKCS8(key, length);
      }
      break;
    default:  // CCERT_KEY_PEM
      MEAPCA_convertKeyPEM();
      break;
  }
  return 0;
}

extern "C" int MEAPCA_ExtractBareRSAKeyFromPKCS8(unsigned char **, uint32_t *) {
  return not_provided();
}

extern "C" int MEAPCA_convertKeyPEM(void) {
  return not_provided();
}

extern "C" int MKEY_Decrypt(unsigned char *, uint32_t) {
  return not_provided();
}
