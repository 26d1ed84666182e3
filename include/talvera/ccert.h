/** @file
 *  Client certificate blob: the device's certificate and private key, written at the factory into
 *  certificate slot 1 or 2 of the manufacturing file (<talvera/mfg.h>).
 *
 *  @code
 *  unsigned char *certificate;
 *  uint32_t length;
 *  if (ccert_init() == 0) {
 *    if (ccert_get_client_cert(&certificate, &length) == 0) fwrite(certificate, 1, length, stdout);
 *    ccert_deinit();
 *  }
 *  @endcode
 *
 *  A blob, all integers unsigned 32-bit big-endian:
 *
 *      offset      size  field
 *      0              4  magic: the bytes 0E 0C 0A 08
 *      4              4  format version, a byte a component; this library knows 02 04 06 07
 *      8              4  total length of the blob in bytes, header included
 *      12             4  item count N
 *      16             4  header word, carried and not interpreted
 *      20        16 * N  table of contents: for each item its data's offset, length, type and flags
 *      20 + 16 * N       item data, one item after the other without gaps; offsets count from here
 *
 *  ccert_init() loads the blob into the one copy that the process has; the getters read that copy.
 *  Addresses in it stay valid until ccert_deinit(). Nothing is locked. Failures to read the blob
 *  are reported on standard error, with the text of sdb_strerror() and without a line feed.
 */
#ifndef TALVERA_CCERT_H
#define TALVERA_CCERT_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Types of items. Items of other types are carried and reachable by index only. */
enum ccert_item_type {
  CCERT_KEY_PLAIN = 1,   /**< private key, handed out as it is */
  CCERT_CERTIFICATE = 2, /**< client certificate */
  CCERT_KEY_PKCS8 = 4,   /**< private key, PKCS#8 */
  CCERT_KEY_PEM = 5      /**< private key, PEM */
};

/** Flag of a CCERT_KEY_PKCS8 item: the key bytes are encrypted. */
#define CCERT_FLAG_ENCRYPTED 1U

/** Result when memory runs out. */
#define CCERT_NO_MEMORY (-12)

/** Item of the loaded copy's table of contents, in the processor's own byte order. */
struct ccert_toc_item {
  uint32_t offset; /**< of the item's bytes from the start of the loaded copy */
  uint32_t length; /**< bytes of the item */
  uint32_t type;   /**< one of enum ccert_item_type, or another value */
  uint32_t flags;  /**< CCERT_FLAG_ENCRYPTED, or other bits, which mean nothing here */
};

/* ---- The slots ------------------------------------------------------------------------------- */

/** Finds the slot that holds a blob: one whose length field lies between 1 and
 *  MFG_CCERT_MAX_QUERY_SIZE. Slot 2 comes first.
 *
 *  @return 2 or 1; 0 when neither slot holds one
 */
TALVERA_API int ccert_location(void);

/** Reads the blob of a slot. Its content is not checked.
 *
 *  @param[out] length  size of the blob in bytes
 *  @param[out] blob    the blob, which may hold a private key: the caller erases it and releases it
 *                      with free()
 *  @param slot         1 or 2
 *  @return 0; -1 with errno set when the slot cannot be read; CCERT_NO_MEMORY. The outputs are set
 *          on success only.
 */
TALVERA_API int ccert_get_ccertblob(uint32_t *length, unsigned char **blob,
                                    unsigned int slot) TALVERA_MUST_USE TALVERA_NONNULL(1, 2);

/** Checks a blob and writes it to a slot.
 *
 *  Refused is a blob of another magic, of a version with a byte above the library's byte at the
 *  same place, or whose first item does not start at offset 0, whose items do not follow each other
 *  without gaps, or whose total length is not that of header, table and items.
 *
 *  @param blob  at least 20 bytes, and as many as its total length field states
 *  @param slot  1 or 2
 *  @return 0; -1 with errno EINVAL when the blob is refused; -1 as of mfg_ccert_set(), which takes
 *          20 to 14336 bytes, when the write fails
 */
TALVERA_API int ccert_install_cert_blob(const unsigned char *blob, unsigned int slot)
    TALVERA_NONNULL(1);

/** @return the total length field of a blob
 *  @param blob  at least 12 bytes */
TALVERA_API uint32_t ccert_extract_certblob_total_length(const unsigned char *blob)
    TALVERA_NONNULL(1);

/* ---- The loaded copy ------------------------------------------------------------------------- */

/** Finds the blob, reads it and makes it the loaded copy.
 *
 *  The table of contents is checked as ccert_install_cert_blob() does, magic and version are not. A
 *  blob that fails the check is dropped with result 0, which is meant: nothing is loaded then, and
 *  ccert_get_data_count() is 0. Of several certificates, and of several keys, the last one counts.
 *
 *  An earlier copy is replaced but not released, so that its addresses stay valid: call
 *  ccert_deinit() first. A negative result leaves it loaded.
 *
 *  @return 0; -1 with errno set when no slot holds a blob or it cannot be read; CCERT_NO_MEMORY
 */
TALVERA_API int ccert_init(void);

/** Erases and releases the loaded copy, if there is one.
 *
 *  @return 0
 */
TALVERA_API int ccert_deinit(void);

/** @return the slot in which the last ccert_init() found a blob: 1 or 2, or 0 for none */
TALVERA_API int ccert_get_location(void);

/** @return the number of items; 0 when nothing is loaded */
TALVERA_API unsigned int ccert_get_data_count(void);

/** @return the item, which is part of the loaded copy; null when there are not that many
 *  @param index  counted from 0 */
TALVERA_API struct ccert_toc_item *ccert_get_toc_item_from_index(unsigned int index);

/** @return the item's bytes in the loaded copy; null for a null item or when nothing is loaded
 *  @param item  of the loaded copy, or null */
TALVERA_API unsigned char *ccert_get_data_from_toc_item(const struct ccert_toc_item *item);

/** Tells all of an item.
 *
 *  @param index        counted from 0
 *  @param[out] data    the item's bytes in the loaded copy
 *  @param[out] length  their number
 *  @param[out] type    the item's type; may be null
 *  @param[out] flags   the item's flags; may be null
 *  @return 0; -1 with errno EINVAL and the outputs untouched when there are not that many items
 */
TALVERA_API int ccert_get_data_from_index(unsigned int index, unsigned char **data,
                                          uint32_t *length, uint32_t *type, uint32_t *flags)
    TALVERA_NONNULL(2, 3);

/** Tells where the client certificate is.
 *
 *  @param[out] certificate  its bytes in the loaded copy, which are not to be freed
 *  @param[out] length       their number
 *  @return 0; -1 with errno ENOENT, null and 0 when there is no certificate
 */
TALVERA_API int ccert_get_client_cert(unsigned char **certificate, uint32_t *length)
    TALVERA_NONNULL(1, 2);

/** Copies the private key.
 *
 *  Only plain keys are handed out: PKCS#8 and PEM ones go through the hooks below, which provide
 *  nothing, and end with result 0, null and 0. So does a lack of memory.
 *
 *  @param[out] key     copy of the key, which the caller erases and releases with free(); null when
 * none is handed out
 *  @param[out] length  its bytes
 *  @return 0; -1 with errno ENOENT, null and 0 when there is no key
 */
TALVERA_API int ccert_get_client_private_key(unsigned char **key, uint32_t *length) TALVERA_MUST_USE
    TALVERA_NONNULL(1, 2);

/** @return the certificate's 6-byte MAC address, or null while none is held, which is always so */
TALVERA_API const unsigned char *ccert_get_mac_address(void);

/** @return the certificate's common name, which is always empty */
TALVERA_API const char *ccert_get_cert_common_name(void);

/* ---- Key hooks ------------------------------------------------------------------------------- */

/** Would take the bare RSA key out of PKCS#8; not provided.
 *
 *  @param[out] key     untouched
 *  @param[out] length  untouched
 *  @return -1 with errno ENOSYS
 */
TALVERA_API int MEAPCA_ExtractBareRSAKeyFromPKCS8(unsigned char **key, uint32_t *length);

/** Would convert a PEM key; not provided.
 *
 *  @return -1 with errno ENOSYS
 */
TALVERA_API int MEAPCA_convertKeyPEM(void);

/** Would decrypt a key in place; not provided.
 *
 *  @param buffer  untouched
 *  @param length  bytes in it
 *  @return -1 with errno ENOSYS
 */
TALVERA_API int MKEY_Decrypt(unsigned char *buffer, uint32_t length);

TALVERA_END_DECLS

#endif
