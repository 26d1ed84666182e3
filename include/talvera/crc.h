/** @file
 *  Cyclic redundancy checks in five widths and bit orders.
 *
 *  @code
 *  uint32_t check = 0xFFFFFFFF;
 *  check = crc32_le(check, (const unsigned char *)"12345", 5);
 *  check = crc32_le(check, (const unsigned char *)"6789", 4);
 *  printf("%08X\n", (unsigned)~check);  // CBF43926
 *  @endcode
 *
 *  Each function takes the running value and returns it updated, so the check of scattered pieces
 *  is made by chaining calls. Initial value and final inversion are the caller's choice; nothing is
 *  applied inside, and a length of 0 returns the running value as it is (cut to its width).
 *
 *  The functions go byte by byte through a table of 256 entries, which spares the small caches of
 *  the target. No function keeps state or fails.
 */
#ifndef TALVERA_CRC_H
#define TALVERA_CRC_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** CRC-32 with the polynomial 0x04C11DB7, most significant bit first. Started with 0xFFFFFFFF and
 *  inverted at the end it is the check of bzip2: 0xFC891918 for "123456789".
 *
 *  @param crc     running value
 *  @param data    @p length bytes; may be null when there are none
 *  @param length  number of bytes at @p data
 *  @return the updated value
 */
TALVERA_API uint32_t crc32_be(uint32_t crc, const unsigned char *data, unsigned int length);

/** CRC-32 with the polynomial 0x04C11DB7 reflected (0xEDB88320), least significant bit first.
 *  Started with 0xFFFFFFFF and inverted at the end it is the common CRC-32 of Ethernet (IEEE 802.3)
 *  and gzip (RFC 1952): 0xCBF43926 for "123456789".
 *
 *  @param crc     running value
 *  @param data    @p length bytes; may be null when there are none
 *  @param length  number of bytes at @p data
 *  @return the updated value
 */
TALVERA_API uint32_t crc32_le(uint32_t crc, const unsigned char *data, unsigned int length);

/** CRC-16 with the polynomial 0x1021, most significant bit first (started with 0, that of XMODEM).
 *
 *  @param crc     running value, of which the lower 16 bits count
 *  @param data    @p length bytes; may be null when there are none
 *  @param length  number of bytes at @p data
 *  @return the updated value, 0 to 0xFFFF
 */
TALVERA_API unsigned int crc16_be(unsigned int crc, const unsigned char *data, unsigned int length);

/** CRC-16 with the polynomial 0x1021 reflected (0x8408), least significant bit first; started with
 *  0xFFFF and inverted at the end, the frame check sequence of PPP (RFC 1662).
 *
 *  @param crc     running value, of which the lower 16 bits count
 *  @param data    @p length bytes; may be null when there are none
 *  @param length  number of bytes at @p data
 *  @return the updated value, 0 to 0xFFFF
 */
TALVERA_API unsigned int crc16_le(unsigned int crc, const unsigned char *data, unsigned int length);

/** CRC-8 with the polynomial 0xD5, most significant bit first (started with 0, that of DVB-S2).
 *
 *  @param crc     running value, of which the lower 8 bits count
 *  @param data    @p length bytes; may be null when there are none
 *  @param length  number of bytes at @p data
 *  @return the updated value, 0 to 0xFF
 */
TALVERA_API unsigned int crc8(unsigned int crc, const unsigned char *data, unsigned int length);

TALVERA_END_DECLS

#endif
