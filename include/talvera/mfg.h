/** @file
 *  Manufacturing data and device identity.
 *
 *  @code
 *  unsigned char record[MFG_INFO_SIZE], mac[6];
 *  mfg_info_read(record);
 *  mfg_get_macaddr(record, mac);
 *  printf("%d addresses from %02x:%02x:%02x:%02x:%02x:%02x on, serial number %s\n",
 *         mfg_num_macaddr(record), mac[0], mac[1], mac[2], mac[3], mac[4], mac[5],
 *         (const char *)record + MFG_INFO_SERIAL);
 *  @endcode
 *
 *  The factory partition "mtd:mfg" (jffs2, mounted on "/mfg" around each access and unmounted after
 *  it, even if something else had mounted it there) holds one file, the manufacturing file
 *  "/mfg/mfg.dat", of 131072 bytes:
 *
 *      0x18000  16384 bytes  certificate slot 2
 *      0x1C000  14336 bytes  certificate slot 1
 *      0x1F800   1792 bytes  wireless calibration
 *      0x1FF00    256 bytes  info record: base MAC address, number of MAC addresses, serial number
 *
 *  mfg_init() hands that identity, and the wireless calibration, to the platform driver behind
 *  "/dev/talvera". <talvera/ccert.h> works on the content of the certificate slots.
 *
 *  Multi-byte fields of the file are big-endian. Messages go to syslog at LOG_ERR ("MFG: ...",
 *  "mfg_ccert_...") and, for the device, LOG_WARNING ("libtalvera: ..."). Nothing is locked:
 *  callers serialise writes, each of which rewrites the whole file.
 */
#ifndef TALVERA_MFG_H
#define TALVERA_MFG_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/* ---- Info record ----------------------------------------------------------------------------- */

/** Size of the info record in bytes. */
#define MFG_INFO_SIZE 256

/** Byte offsets in the info record. Bytes that no field covers are carried unchanged. */
enum mfg_info_offset {
  MFG_INFO_MAC = 0,            /**< 6 bytes: base MAC address, OUI first */
  MFG_INFO_TIME = 12,          /**< 4 bytes: last write, in seconds since 1904-01-01 00:00 UTC */
  MFG_INFO_WRITE_COUNT = 16,   /**< 2 bytes: number of writes, modulo 65536 */
  MFG_INFO_DEVICE_TYPE = 20,   /**< 1 byte: type code handed to the driver; 40 by default */
  MFG_INFO_WLCAL_PRESENT = 40, /**< 4 bytes: not 0 when the file holds wireless calibration */
  MFG_INFO_MAC_COUNT = 46,     /**< 1 byte: MAC addresses owned, from the base on; 16 by default */
  MFG_INFO_SERIAL = 67,        /**< 16 bytes: decimal digits, NUL-terminated as the factory writes
                                    it, which mfg_info_read() does not check */
  MFG_INFO_CHECKSUM = 254      /**< 2 bytes: makes the sum of the 128 big-endian words 0 */
};

/** Reads the info record.
 *
 *  A record that is missing, unreadable, all zeros or of wrong checksum is replaced by the default
 *  one: MAC 02:5A:30:96:02:D0, 16 addresses, type code 40, serial number 1234567890. An empty
 *  serial number is derived from the MAC address. Neither is written back.
 *
 *  @param[out] record  room for MFG_INFO_SIZE bytes
 *  @return 0, always
 */
TALVERA_API int mfg_info_read(unsigned char *record) TALVERA_NONNULL(1);

/** Stamps the record (time, write counter, checksum) and writes it.
 *
 *  @param[in,out] record  MFG_INFO_SIZE bytes
 *  @return 0, or -1 with errno set when the file cannot be opened, read or written; a mount that
 *          fails is logged and no failure by itself
 */
TALVERA_API int mfg_info_write(unsigned char *record) TALVERA_NONNULL(1);

/** Copies the base MAC address.
 *
 *  @param record    MFG_INFO_SIZE bytes
 *  @param[out] mac  room for 6 bytes
 */
TALVERA_API void mfg_get_macaddr(const unsigned char *record, unsigned char *mac)
    TALVERA_NONNULL(1, 2);

/** @return the number of MAC addresses that the device owns, 0 to 255
 *  @param record  MFG_INFO_SIZE bytes */
TALVERA_API int mfg_num_macaddr(const unsigned char *record) TALVERA_NONNULL(1);

/** Prepares the manufacturing file and hands identity and calibration to the platform driver.
 *
 *  To be called once at system start. An empty or missing file becomes an erased one (131072 bytes
 *  of 0xFF); a file with content is never overwritten. The identity is sent with TVRA_INFO_SET;
 *  the calibration with TVRA_WLCAL_SET, when the record says that there is one. Failures are
 *  logged and do not stop what follows.
 */
TALVERA_API void mfg_init(void);

/* ---- Wireless calibration -------------------------------------------------------------------- */

/** Reads a range of the wireless calibration: from the file when the info record says that the file
 *  holds one, else from the driver.
 *
 *  The driver's data is not checked against @p offset: what lies past the length that it reports
 *  reads as zeros.
 *
 *  @param[out] buf  room for @p len bytes
 *  @param offset    first byte, counted from the start of the calibration
 *  @param len       bytes wanted
 *  @return 0; -1 with errno EINVAL when the range ends past TVRA_WLCAL_SIZE or the driver has fewer
 *          than @p len bytes; -1 with another errno when the file or the driver fails
 */
TALVERA_API int mfg_wlcal_get(unsigned char *buf, unsigned int offset, unsigned int len)
    TALVERA_NONNULL(1);

/** Writes a range of the wireless calibration to the file, marks it present in the info record
 *  (which is rewritten only when it was not) and sends the whole calibration to the driver.
 *
 *  The later steps are taken even when the write failed. The record that is rewritten is the one
 *  that mfg_info_read() gives: where none is valid, the default one is stored with its MAC address,
 *  and a derived serial number is stored with it.
 *
 *  @param data    @p len bytes
 *  @param offset  where they go, counted from the start of the calibration
 *  @param len     number of bytes
 *  @return 0, or -1 with errno set: EINVAL, with nothing done, when the range ends past
 *          TVRA_WLCAL_SIZE; else the outcome of the last write to the file. A driver that refuses
 *          the data is logged and no failure.
 */
TALVERA_API int mfg_wlcal_set(const unsigned char *data, unsigned int offset, unsigned int len)
    TALVERA_NONNULL(1);

/** Marks the calibration absent in the info record, if it was present, and tells the driver to drop
 *  what it has. The calibration bytes stay in the file. */
TALVERA_API void mfg_wlcal_clear(void);

/* ---- Certificate slots ----------------------------------------------------------------------- */

/** Least size in bytes of what mfg_ccert_set() writes. */
#define MFG_CCERT_MIN_SIZE 20

/** Greatest size in bytes of what mfg_ccert_set() writes. */
#define MFG_CCERT_MAX_SIZE 14336

/** Greatest blob size that a size query of mfg_ccert_get() accepts; below what can be written,
 * which is meant. */
#define MFG_CCERT_MAX_QUERY_SIZE 8000

/** Argument of mfg_ccert_get(). All that it points to stays the caller's. */
struct mfg_ccert_get_info {
  unsigned char **data; /**< address of the pointer to the caller's buffer; null: size query */
  uint32_t *len; /**< in: bytes to read, 0 for a size query; out: the size found by a query */
  uint32_t slot; /**< 1 or 2; slot 0 has no area */
};

/** Argument of mfg_ccert_set(). Unlike in struct mfg_ccert_get_info, the first two fields hold the
 *  values themselves. */
struct mfg_ccert_set_info {
  const unsigned char *data; /**< the blob */
  uint32_t len;              /**< its size, MFG_CCERT_MIN_SIZE to MFG_CCERT_MAX_SIZE */
  uint32_t slot;             /**< 1 or 2; slot 0 has no area */
};

/** Reads the start of a certificate slot, or asks for the size of the blob in it.
 *
 *  With @c data set, reads @c *len bytes from the start of the slot into @c *data, whatever they
 *  are. With @c data null and @c *len 0, sets @c *len to the total length that the blob in the slot
 *  states (0 when there is no such slot or it cannot be read) and accepts 1 to
 *  MFG_CCERT_MAX_QUERY_SIZE; an erased slot fails.
 *
 *  @param[in,out] info  request
 *  @return 0; -1 with errno EIO and a log line when the request is malformed or the size not
 *          accepted; -1 with errno EINVAL when the range ends past the file, as more than one byte
 *          of slot 0 does; -1 with another errno when the file cannot be read
 */
TALVERA_API int mfg_ccert_get(struct mfg_ccert_get_info *info);

/** Writes a blob to the start of a certificate slot. Its content is not checked.
 *
 *  @param info  blob, size and slot
 *  @return 0; -1 with errno EIO and a log line when a field is out of its range or a pointer null;
 *          -1 with errno EINVAL for slot 0; -1 with another errno when the file cannot be written
 */
TALVERA_API int mfg_ccert_set(const struct mfg_ccert_set_info *info);

/* ---- Platform device ------------------------------------------------------------------------- */

/** @name Commands of "/dev/talvera"
 *  The target's values (32-bit MIPS encoding, type 'M', write) on every platform.
 *  @{ */

/** Takes struct tvra_info. */
#define TVRA_INFO_SET 0x80284D00U
/** Takes struct tvra_wlcal; the driver fills the buffer and sets the length to what it holds. */
#define TVRA_WLCAL_GET 0x80084D03U
/** Takes struct tvra_wlcal; a null buffer and length 0 make the driver drop what it has. */
#define TVRA_WLCAL_SET 0x80084D04U
/** @} */

/** Bytes of wireless calibration data. */
#define TVRA_WLCAL_SIZE 1792

/** Identity handed to the driver, in the processor's own byte order. */
struct tvra_info {
  uint32_t device_type; /**< type code of the info record */
  char serial[24];      /**< decimal digits, NUL-terminated */
  uint8_t mac[6];       /**< base MAC address */
  uint8_t padding[2];   /**< not used */
  uint32_t mac_count;   /**< number of MAC addresses */
};

/** Calibration transfer. On the 32-bit target 8 bytes. */
struct tvra_wlcal {
  void *buffer;    /**< data, or null */
  uint32_t length; /**< bytes in the buffer; TVRA_WLCAL_GET sets it to what the driver holds */
};

/** Opens "/dev/talvera" on first use, non-blocking and close-on-exec.
 *
 *  Opens are not counted: one tvra_close() closes the device, however many opens came before.
 *
 *  @return the device's descriptor, which stays the library's; negative with errno set on failure
 */
TALVERA_API int tvra_open(void);

/** Closes the device, if it is open. */
TALVERA_API void tvra_close(void);

/** Opens the device, runs one command and closes the device again.
 *
 *  @param request           one of the TVRA_ commands
 *  @param[in,out] argument  record that the command takes
 *  @return the result of ioctl() (-1 with errno set on failure), or tvra_open()'s negative result
 */
TALVERA_API int tvra_ioctl(unsigned int request, void *argument);

TALVERA_END_DECLS

#endif
