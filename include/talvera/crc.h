/** @defgroup talvera_crc Checksums
 *  CRC-8, CRC-16 and CRC-32, the last two in both bit orders.
 *
 *  @include crc.c
 *
 *  Each function takes the running value and returns the updated one, so chained calls can process
 *  data that arrives in pieces. The caller chooses the initial value and any final inversion; the
 *  functions apply neither. A length of 0 returns the running value (truncated to its width).
 *
 *  The functions work byte by byte with a table of 256 entries, which suits the target's small
 *  caches. No function keeps state or fails.
 *  @{ */
#ifndef TALVERA_CRC_H
#define TALVERA_CRC_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Updates a CRC-32 with polynomial 0x04C11DB7, most significant bit first.
 *
 *  With initial value 0xFFFFFFFF and final inversion it is bzip2's CRC: 0xFC891918 for "123456789".
 *
 *  @param crc     running value
 *  @param data    @p length bytes; may be null when @p length is 0
 *  @param length  number of bytes
 *  @return the updated value
 */
TALVERA_API uint32_t crc32_be(uint32_t crc, const unsigned char *data, unsigned int length);

/** Updates a CRC-32 with polynomial 0x04C11DB7 reflected (0xEDB88320), least significant bit first.
 *
 *  With initial value 0xFFFFFFFF and final inversion it is the CRC-32 of Ethernet (IEEE 802.3) and
 *  gzip (RFC 1952): 0xCBF43926 for "123456789".
 *
 *  @param crc     running value
 *  @param data    @p length bytes; may be null when @p length is 0
 *  @param length  number of bytes
 *  @return the updated value
 */
TALVERA_API uint32_t crc32_le(uint32_t crc, const unsigned char *data, unsigned int length);

/** Updates a CRC-16 with polynomial 0x1021, most significant bit first. With initial value 0 it is
 *  XMODEM's.
 *
 *  @param crc     running value; only the low 16 bits count
 *  @param data    @p length bytes; may be null when @p length is 0
 *  @param length  number of bytes
 *  @return the updated value, 0 to 0xFFFF
 */
TALVERA_API unsigned int crc16_be(unsigned int crc, const unsigned char *data, unsigned int length);

/** Updates a CRC-16 with polynomial 0x1021 reflected (0x8408), least significant bit first. With
 *  initial value 0xFFFF and final inversion it is PPP's frame check sequence (RFC 1662).
 *
 *  @param crc     running value; only the low 16 bits count
 *  @param data    @p length bytes; may be null when @p length is 0
 *  @param length  number of bytes
 *  @return the updated value, 0 to 0xFFFF
 */
TALVERA_API unsigned int crc16_le(unsigned int crc, const unsigned char *data, unsigned int length);

/** Updates a CRC-8 with polynomial 0xD5, most significant bit first. With initial value 0 it is
 *  DVB-S2's.
 *
 *  @param crc     running value; only the low 8 bits count
 *  @param data    @p length bytes; may be null when @p length is 0
 *  @param length  number of bytes
 *  @return the updated value, 0 to 0xFF
 */
TALVERA_API unsigned int crc8(unsigned int crc, const unsigned char *data, unsigned int length);

TALVERA_END_DECLS

#endif
/** @} */
