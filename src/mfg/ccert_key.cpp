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

// An encrypted key starts with two 32-bit words, the first of which is 1; the ciphertext follows.
constexpr std::uint32_t kEncryptedHeaderSize = 8;
constexpr std::uint32_t kEncryptedFormat = 1;

// Decrypts the copy of an encrypted item in place and extracts the key.
void extract_encrypted(unsigned char *copy, std::uint32_t size, unsigned char **key,
                       std::uint32_t *length) {
  if (size >= kEncryptedHeaderSize && load_be32(copy) == kEncryptedFormat &&
      MKEY_Decrypt(copy + kEncryptedHeaderSize, size - kEncryptedHeaderSize) == 0) {
    MEAPCA_ExtractBareRSAKeyFromPKCS8(key, length);
  }
}

int unsupported() {
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
  const bool encrypted = item->type == CCERT_KEY_PKCS8 && (item->flags & CCERT_FLAG_ENCRYPTED) != 0;
  if (item->type == CCERT_KEY_PLAIN || encrypted) {
    auto copy = talvera::allocate<unsigned char>(item->length);
    if (copy == nullptr) return 0;
    std::memcpy(copy.get(), ccert_get_data_from_toc_item(item), item->length);
    if (encrypted) {
      extract_encrypted(copy.get(), item->length, key, length);
      talvera::wipe(copy.get(), item->length);
    } else {
      *key = copy.release();
      *length = item->length;
    }
  } else if (item->type == CCERT_KEY_PKCS8) {
    MEAPCA_ExtractBareRSAKeyFromPKCS8(key, length);
  } else {  // CCERT_KEY_PEM
    MEAPCA_convertKeyPEM();
  }
  return 0;
}

extern "C" int MEAPCA_ExtractBareRSAKeyFromPKCS8(unsigned char **, uint32_t *) {
  return unsupported();
}

extern "C" int MEAPCA_convertKeyPEM(void) {
  return unsupported();
}

extern "C" int MKEY_Decrypt(unsigned char *, uint32_t) {
  return unsupported();
}
