/** @defgroup talvera_ccert Client certificate
 *  The device's certificate and private key, written at the factory as a blob into certificate slot
 *  1 or 2 of the manufacturing file.
 *
 *  @include ccert.c
 *
 *  A blob consists of unsigned 32-bit big-endian integers, followed by the data:
 *
 *      offset      size  field
 *      0              4  magic: the bytes 0E 0C 0A 08
 *      4              4  format version, one byte per component; this library knows 02 04 06 07
 *      8              4  total length of the blob in bytes, header included
 *      12             4  item count N
 *      16             4  header word, preserved and not interpreted
 *      20        16 * N  table of contents: offset, length, type and flags of each item
 *      20 + 16 * N       item data without gaps; item offsets count from here
 *
 *  ccert_init() loads the blob into memory for the whole process, and the getters return parts of
 *  that loaded blob; pointers into it stay valid until ccert_deinit(). Nothing is locked. Failures
 *  to read the blob are reported on standard error, with the message of sdb_strerror() and without
 *  a line feed. The slots belong to the @ref talvera_mfg "manufacturing data".
 *  @{ */
#ifndef TALVERA_CCERT_H
#define TALVERA_CCERT_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Item types. Items of other types are preserved, and reachable by index only. */
enum ccert_item_type {
  CCERT_KEY_PLAIN = 1,   /**< private key, returned unchanged */
  CCERT_CERTIFICATE = 2, /**< client certificate */
  CCERT_KEY_PKCS8 = 4,   /**< private key, PKCS#8 */
  CCERT_KEY_PEM = 5      /**< private key, PEM */
};

/** Flag of a CCERT_KEY_PKCS8 item: the key bytes are encrypted. */
#define CCERT_FLAG_ENCRYPTED 1U

/** Result when memory runs out. */
#define CCERT_NO_MEMORY (-12)

/** Entry of the loaded blob's table of contents, in host byte order. */
struct ccert_toc_item {
  uint32_t offset; /**< where the item's bytes begin, from the start of the loaded blob */
  uint32_t length; /**< number of bytes */
  uint32_t type;   /**< enum ccert_item_type, or another value */
  uint32_t flags;  /**< CCERT_FLAG_ENCRYPTED, or other bits, which have no meaning here */
};

/** @name Slots
 *  @{ */

/** Finds the slot that holds a blob: one whose length field is 1 to MFG_CCERT_MAX_QUERY_SIZE. Slot
 *  2 takes precedence.
 *
 *  @return 2 or 1; 0 when neither slot holds a blob
 */
TALVERA_API int ccert_location(void);

/** Reads the blob of a slot. Its content is not checked.
 *
 *  @param[out] length  size of the blob in bytes; unchanged on failure
 *  @param[out] blob    the blob, which may hold a private key: the caller erases it and frees it
 *                      with free(); unchanged on failure
 *  @param slot         1 or 2
 *  @return 0; -1 with errno set when the slot holds no blob or cannot be read; CCERT_NO_MEMORY
 */
TALVERA_API int ccert_get_ccertblob(uint32_t *length, unsigned char **blob,
                                    unsigned int slot) TALVERA_MUST_USE TALVERA_NONNULL(1, 2);

/** Checks a blob and writes it to a slot.
 *
 *  The blob must have the right magic, no version byte greater than the corresponding byte of 02 04
 *  06 07, items that start at offset 0 and follow each other without gaps, and a total length field
 *  that equals the size of header, table and items.
 *
 *  @param blob  at least 20 bytes, and as many as its total length field states
 *  @param slot  1 or 2
 *  @return 0; -1 with errno EINVAL when the blob is invalid; -1 with errno set by mfg_ccert_set(),
 *          which accepts 20 to 14336 bytes, when the write fails
 */
TALVERA_API int ccert_install_cert_blob(const unsigned char *blob, unsigned int slot)
    TALVERA_NONNULL(1);

/** Returns the total length field of a blob.
 *
 *  @param blob  at least 12 bytes
 *  @return the field, in bytes
 */
TALVERA_API uint32_t ccert_extract_certblob_total_length(const unsigned char *blob)
    TALVERA_NONNULL(1);

/** @}
 *  @name The loaded blob
 *  @{ */

/** Finds the blob and loads it.
 *
 *  The table of contents is checked as in ccert_install_cert_blob(); magic and version are not.
 *  Intentionally, a blob that fails the check gives 0 with nothing loaded: ccert_get_data_count()
 *  is then 0. When there are several certificates, or several keys, the last one counts.
 *
 *  A blob loaded earlier is replaced but not freed, so that pointers into it stay valid; call
 *  ccert_deinit() first to avoid the leak. On failure the earlier blob stays loaded.
 *
 *  @return 0; -1 with errno set when no slot holds a blob or it cannot be read; CCERT_NO_MEMORY
 */
TALVERA_API int ccert_init(void);

/** Erases and frees the loaded blob, if there is one.
 *
 *  @return 0
 */
TALVERA_API int ccert_deinit(void);

/** Returns the slot in which the last ccert_init() found a blob.
 *
 *  @return 1 or 2; 0 for none
 */
TALVERA_API int ccert_get_location(void);

/** Returns the number of items.
 *
 *  @return number of items; 0 when nothing is loaded
 */
TALVERA_API unsigned int ccert_get_data_count(void);

/** Returns an entry of the table of contents.
 *
 *  @param index  counted from 0
 *  @return the entry, part of the loaded blob; null when there is none
 */
TALVERA_API struct ccert_toc_item *ccert_get_toc_item_from_index(unsigned int index);

/** Returns the bytes of an item.
 *
 *  @param item  entry of the loaded blob, or null
 *  @return the bytes, part of the loaded blob; null when @p item is null or nothing is loaded
 */
TALVERA_API unsigned char *ccert_get_data_from_toc_item(const struct ccert_toc_item *item);

/** Returns the bytes, type and flags of an item.
 *
 *  @param index        counted from 0
 *  @param[out] data    the bytes, part of the loaded blob
 *  @param[out] length  number of bytes
 *  @param[out] type    item type; may be null
 *  @param[out] flags   item flags; may be null
 *  @return 0; -1 with errno EINVAL, and the outputs unchanged, when there is no such item
 */
TALVERA_API int ccert_get_data_from_index(unsigned int index, unsigned char **data,
                                          uint32_t *length, uint32_t *type, uint32_t *flags)
    TALVERA_NONNULL(2, 3);

/** Returns the client certificate.
 *
 *  @param[out] certificate  its bytes, part of the loaded blob; do not free them
 *  @param[out] length       number of bytes
 *  @return 0; -1 with errno ENOENT, and null and length 0 stored, when there is no certificate
 */
TALVERA_API int ccert_get_client_cert(unsigned char **certificate, uint32_t *length)
    TALVERA_NONNULL(1, 2);

/** Copies the private key.
 *
 *  Only plain keys are returned: PKCS#8 and PEM keys need the conversions below, which are not
 *  implemented, and give 0 with a null key and length 0. So does running out of memory.
 *
 *  @param[out] key     copy of the key, which the caller erases and frees with free(); or null
 *  @param[out] length  number of bytes
 *  @return 0; -1 with errno ENOENT, and null and length 0 stored, when there is no key
 */
TALVERA_API int ccert_get_client_private_key(unsigned char **key, uint32_t *length) TALVERA_MUST_USE
    TALVERA_NONNULL(1, 2);

/** Returns the certificate's MAC address.
 *
 *  @return null: the MAC address is not stored
 */
TALVERA_API const unsigned char *ccert_get_mac_address(void);

/** Returns the certificate's common name.
 *
 *  @return the empty string
 */
TALVERA_API const char *ccert_get_cert_common_name(void);

/** @}
 *  @name Key conversions
 *  Placeholders for key formats that this library does not support.
 *  @{ */

/** Extracts the bare RSA key from PKCS#8; not implemented.
 *
 *  @param[out] key     unchanged
 *  @param[out] length  unchanged
 *  @return -1 with errno ENOSYS
 */
TALVERA_API int MEAPCA_ExtractBareRSAKeyFromPKCS8(unsigned char **key, uint32_t *length);

/** Converts a PEM key; not implemented.
 *
 *  @return -1 with errno ENOSYS
 */
TALVERA_API int MEAPCA_convertKeyPEM(void);

/** Decrypts a key in place; not implemented.
 *
 *  @param data    unchanged
 *  @param length  number of bytes
 *  @return -1 with errno ENOSYS
 */
TALVERA_API int MKEY_Decrypt(unsigned char *data, uint32_t length);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
