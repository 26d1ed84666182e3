/** @defgroup talvera_mfg Manufacturing data
 *  Device identity, wireless calibration and certificate slots in the factory partition, and the
 *  platform device.
 *
 *  @include mfg.c
 *
 *  The factory partition "mtd:mfg" (JFFS2) is mounted on "/mfg" for each access and unmounted
 *  afterwards, even if something else had mounted it there. It holds one file, the manufacturing
 *  file "/mfg/mfg.dat", of 131072 bytes:
 *
 *      0x18000  16384 bytes  certificate slot 2
 *      0x1C000  14336 bytes  certificate slot 1
 *      0x1F800   1792 bytes  wireless calibration
 *      0x1FF00    256 bytes  info record: base MAC address, number of MAC addresses, serial number
 *
 *  mfg_init() passes the identity and calibration to the platform driver, "/dev/talvera". The
 *  @ref talvera_ccert "client certificate family" interprets the certificate slots.
 *
 *  Multi-byte fields of the file are big-endian. Messages go to syslog at LOG_ERR ("MFG: ...",
 *  "mfg_ccert_...") and, for the device, LOG_WARNING ("libtalvera: ..."). Nothing is locked:
 *  callers must serialise all accesses, even reads, across threads and processes. An access that
 *  overlaps another may find the partition unmounted or read-only, and each write rewrites the
 *  whole file.
 *  @{ */
#ifndef TALVERA_MFG_H
#define TALVERA_MFG_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Info record
 *  @{ */

/** Size of the info record in bytes. */
#define MFG_INFO_SIZE 256

/** Byte offsets in the info record. Bytes outside the fields are preserved. */
enum mfg_info_offset {
  MFG_INFO_MAC = 0,            /**< 6 bytes: base MAC address, OUI first */
  MFG_INFO_TIME = 12,          /**< 4 bytes: last write, in seconds since 1904-01-01 00:00 UTC */
  MFG_INFO_WRITE_COUNT = 16,   /**< 2 bytes: number of writes, modulo 65536 */
  MFG_INFO_DEVICE_TYPE = 20,   /**< 1 byte: type code for the driver; default 40 */
  MFG_INFO_WLCAL_PRESENT = 40, /**< 4 bytes: not 0 when the file holds wireless calibration */
  MFG_INFO_MAC_COUNT = 46,     /**< 1 byte: number of MAC addresses, base included; default 16 */
  MFG_INFO_SERIAL = 67,        /**< 16 bytes: decimal digits, NUL-terminated by the factory;
                                    mfg_info_read() does not check this */
  MFG_INFO_CHECKSUM = 254      /**< 2 bytes: makes the sum of the 128 big-endian 16-bit words 0
                                    modulo 65536 */
};

/** Reads the info record.
 *
 *  A record that is missing, unreadable or all zeros, or that has a wrong checksum, is replaced by
 *  the default: MAC 02:5A:30:96:02:D0, 16 addresses, type code 40, serial number 1234567890. An
 *  empty serial number is replaced by one derived from the MAC address. Neither replacement is
 *  written back.
 *
 *  @param[out] record  at least MFG_INFO_SIZE bytes
 *  @return 0, always
 */
TALVERA_API int mfg_info_read(unsigned char *record) TALVERA_NONNULL(1);

/** Updates the time, write count and checksum of the record and writes it.
 *
 *  @param[in,out] record  MFG_INFO_SIZE bytes
 *  @return 0; -1 with errno set when the file cannot be opened, read or written, or memory runs
 *          out. A failed mount is logged but is not a failure by itself
 */
TALVERA_API int mfg_info_write(unsigned char *record) TALVERA_NONNULL(1);

/** Copies the base MAC address.
 *
 *  @param record    MFG_INFO_SIZE bytes
 *  @param[out] mac  at least 6 bytes
 */
TALVERA_API void mfg_get_macaddr(const unsigned char *record, unsigned char *mac)
    TALVERA_NONNULL(1, 2);

/** Returns the number of MAC addresses that the device owns.
 *
 *  @param record  MFG_INFO_SIZE bytes
 *  @return 0 to 255
 */
TALVERA_API int mfg_num_macaddr(const unsigned char *record) TALVERA_NONNULL(1);

/** Prepares the manufacturing file and passes the identity and calibration to the platform driver.
 *  Call it once at system startup.
 *
 *  An empty or missing file becomes an erased one (131072 bytes of 0xFF); a non-empty file is never
 *  overwritten. The identity is sent with TVRA_INFO_SET, and the calibration with TVRA_WLCAL_SET
 *  when the record says that there is one. Failures are logged and do not stop the remaining steps.
 */
TALVERA_API void mfg_init(void);

/** @}
 *  @name Wireless calibration
 *  @{ */

/** Reads a range of the wireless calibration, from the file when the info record says that the file
 *  holds one, otherwise from the driver.
 *
 *  The length that the driver reports is not checked against @p offset: bytes past that length read
 *  as zeros.
 *
 *  @param[out] buf  at least @p size bytes
 *  @param offset    first byte, counted from the start of the calibration
 *  @param size      number of bytes to read
 *  @return 0; -1 with errno EINVAL when the range ends past TVRA_WLCAL_SIZE or the driver has fewer
 *          than @p size bytes; -1 with errno set when the file or the driver fails
 */
TALVERA_API int mfg_wlcal_get(unsigned char *buf, unsigned int offset, unsigned int size)
    TALVERA_NONNULL(1);

/** Writes a range of the wireless calibration to the file, marks it present in the info record
 *  (which is rewritten only if the mark was missing) and sends the whole calibration to the driver.
 *
 *  The later steps are taken even when the write fails. The record written is the one that
 *  mfg_info_read() returns: a default record or a derived serial number is thereby stored.
 *
 *  @param data    @p length bytes
 *  @param offset  where to write them, counted from the start of the calibration
 *  @param length  number of bytes
 *  @return 0; -1 with errno EINVAL, and nothing done, when the range ends past TVRA_WLCAL_SIZE;
 *          otherwise the outcome of the last write to the file. A failure of the driver is
 *          logged but not returned
 */
TALVERA_API int mfg_wlcal_set(const unsigned char *data, unsigned int offset, unsigned int length)
    TALVERA_NONNULL(1);

/** Marks the calibration absent in the info record, if it was present, and makes the driver drop
 *  its copy. The calibration bytes stay in the file. */
TALVERA_API void mfg_wlcal_clear(void);

/** @}
 *  @name Certificate slots
 *  @{ */

/** Minimum blob size in bytes for mfg_ccert_set(). */
#define MFG_CCERT_MIN_SIZE 20

/** Maximum blob size in bytes for mfg_ccert_set(). */
#define MFG_CCERT_MAX_SIZE 14336

/** Maximum blob size in bytes that a size query of mfg_ccert_get() accepts; intentionally below
 *  MFG_CCERT_MAX_SIZE. */
#define MFG_CCERT_MAX_QUERY_SIZE 8000

/** Argument of mfg_ccert_get(). The caller keeps ownership of everything it points to. */
struct mfg_ccert_get_info {
  unsigned char **data; /**< address of the pointer to the caller's buffer; null: size query */
  uint32_t *len;        /**< in: bytes to read, 0 for a size query; out: the size queried */
  uint32_t slot;        /**< 1 or 2; slot 0 passes validation but has no storage */
};

/** Argument of mfg_ccert_set(). Unlike in struct mfg_ccert_get_info, the first two fields hold the
 *  values themselves. */
struct mfg_ccert_set_info {
  const unsigned char *data; /**< the blob */
  uint32_t len;              /**< its size, MFG_CCERT_MIN_SIZE to MFG_CCERT_MAX_SIZE */
  uint32_t slot;             /**< 1 or 2; slot 0 passes validation but has no storage */
};

/** Reads the start of a certificate slot, or queries the size of the blob in it.
 *
 *  With @c data set, reads @c *len bytes from the start of the slot into @c *data, whatever they
 *  are. With @c data null and @c *len 0, sets @c *len to the total length stated by the blob in the
 *  slot (0 when there is no such slot or it cannot be read) and succeeds when that is 1 to
 *  MFG_CCERT_MAX_QUERY_SIZE; an erased slot fails.
 *
 *  @param[in,out] info  request
 *  @return 0; -1 with errno EIO and a log line when the request is malformed or the size not
 *          accepted; -1 with errno EINVAL when the range ends past the end of the file, or when
 *          more than one byte of slot 0 is read; -1 with errno set when the file cannot be read
 */
TALVERA_API int mfg_ccert_get(struct mfg_ccert_get_info *info);

/** Writes a blob to the start of a certificate slot. Its content is not checked.
 *
 *  @param info  blob, size and slot
 *  @return 0; -1 with errno EIO and a log line when a field is out of range or a pointer null; -1
 *          with errno EINVAL for slot 0; -1 with errno set when the file cannot be written
 */
TALVERA_API int mfg_ccert_set(const struct mfg_ccert_set_info *info);

/** @}
 *  @name Platform device
 *  The commands of "/dev/talvera" have the target's values on every platform (32-bit MIPS encoding,
 *  type 'M', direction write).
 *  @{ */

/** Command that takes struct tvra_info. */
#define TVRA_INFO_SET 0x80284D00U
/** Command that takes struct tvra_wlcal; the driver fills the buffer and sets the length to the
 *  number of bytes that the driver has. */
#define TVRA_WLCAL_GET 0x80084D03U
/** Command that takes struct tvra_wlcal; a null buffer and length 0 make the driver drop its copy.
 */
#define TVRA_WLCAL_SET 0x80084D04U

/** Size of the wireless calibration in bytes. */
#define TVRA_WLCAL_SIZE 1792

/** Identity for the driver, in host byte order. */
struct tvra_info {
  uint32_t device_type; /**< type code of the info record */
  char serial[24];      /**< decimal digits, NUL-terminated */
  uint8_t mac[6];       /**< base MAC address */
  uint8_t padding[2];   /**< unused */
  uint32_t mac_count;   /**< number of MAC addresses */
};

/** Calibration transfer; 8 bytes on the 32-bit target. */
struct tvra_wlcal {
  void *buffer;    /**< data, or null */
  uint32_t length; /**< bytes in the buffer; TVRA_WLCAL_GET sets it to how many the driver has */
};

/** Opens "/dev/talvera", non-blocking and close-on-exec, unless it is already open.
 *
 *  Opens are not counted: a single tvra_close() closes the device.
 *
 *  @return the device's descriptor, owned by the library; negative with errno set on failure
 */
TALVERA_API int tvra_open(void);

/** Closes the device, if it is open. */
TALVERA_API void tvra_close(void);

/** Opens the device, runs one command and closes the device again, even if the program had opened
 *  it with tvra_open().
 *
 *  @param request           one of the TVRA_ commands
 *  @param[in,out] argument  record that the command takes
 *  @return the result of ioctl() (-1 with errno set on failure); negative with errno set when the
 *          device cannot be opened
 */
TALVERA_API int tvra_ioctl(unsigned int request, void *argument);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
