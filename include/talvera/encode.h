/** @defgroup talvera_encode Encoding
 *  Base64, character references for HTML, and MAC addresses typed by users.
 *
 *  @include encode.c
 *
 *  No function keeps state.
 *  @{ */
#ifndef TALVERA_ENCODE_H
#define TALVERA_ENCODE_H

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Encodes bytes as Base64 (RFC 4648: standard alphabet, "=" padding), without line breaks.
 *
 *  @param data          @p length bytes; may be null when @p length is 0
 *  @param length        number of bytes
 *  @param[out] buf      receives the string, terminated; may be null when @p *size is 0
 *  @param[in,out] size  size of @p buf in bytes; on success set to the number of characters
 *                       written, without the terminator; on failure to the size needed,
 *                       (@p length + 2) / 3 * 4 + 1 bytes (4294967295 when that does not fit)
 *  @return 0; -1 with errno ENOSPC, and nothing written, when the buffer is too small
 */
TALVERA_API int base64_encode(const unsigned char *data, unsigned int length, char *buf,
                              unsigned int *size) TALVERA_NONNULL(4);

/** Decodes Base64 (RFC 4648, standard alphabet).
 *
 *  Bytes that are neither in the alphabet nor "=", such as line breaks, are skipped. Intentionally,
 *  a padded group also shortens the groups after it: each yields at most as many bytes as the
 *  padded one, and at least one. This matters only for concatenated encodings.
 *
 *  @param text          @p length characters; need not be terminated
 *  @param length        number of characters; 0 gives 0 bytes
 *  @param[out] buf      receives the bytes; may be @p text
 *  @param[in,out] size  size of @p buf in bytes; on success set to the number of bytes written;
 *                       unchanged on failure
 *  @return 0; -1 with errno ENOSPC when the buffer is too small, or EINVAL when the last group does
 *          not have four characters, with the preceding groups written; -1 with errno EINVAL when a
 *          pointer is null
 */
TALVERA_API int base64_decode(const char *text, unsigned int length, unsigned char *buf,
                              unsigned int *size);

/** Escapes a string for HTML content and attributes.
 *
 *  Each of < > / & and each double quote and apostrophe becomes a hexadecimal character reference
 *  of six characters, such as "&#x3c;".
 *
 *  @param[out] buf  receives the string, terminated; empty when @p text is null
 *  @param size      size of @p buf in bytes; a reference that does not fit is replaced by "-"
 *  @param text      string to escape
 *  @return 0, even when a reference was replaced; -1 with errno EINVAL when @p size is 0 or a
 *          pointer is null; -1 with errno ENOSPC when the buffer is full, intentionally even when
 *          the result fits exactly
 */
TALVERA_API int entities_hex_encode(char *buf, unsigned int size, const char *text);

/** Escapes a string in place, as entities_hex_encode() does, using a heap copy.
 *
 *  @param size         size of @p buf in bytes
 *  @param[in,out] buf  string
 *  @return 0; -1 with errno EINVAL when @p size is 0 or @p buf is null, ENOSPC when the buffer is
 *          full, as for entities_hex_encode(), or ENOMEM, with the string unchanged, when memory
 *          runs out
 */
TALVERA_API int entities_hex_encode_in_place(unsigned int size, char *buf);

/** Failures of parse_macaddr(). */
enum {
  MACADDR_MALFORMED = -2, /**< not a MAC address */
  MACADDR_MULTICAST = -3, /**< a group address, and these are not allowed */
  MACADDR_ZERO = -4       /**< the all-zero address, and it is not allowed */
};

/** Reads a MAC address typed by a user: six groups of one or two hexadecimal digits, separated by
 *  ":" throughout or "-" throughout, with optional white space around each group. Nothing else may
 *  follow.
 *
 *  Each call, successful or not, prints "Parse MAC error %d\n" with its result to standard output.
 *
 *  @param s                string; null is malformed
 *  @param allow_zero       non-zero accepts the address of six zero bytes
 *  @param allow_multicast  non-zero accepts group addresses (low bit of the first byte set)
 *  @param[out] mac         the address; on failure the bytes read so far
 *  @return 0, MACADDR_MALFORMED, MACADDR_MULTICAST or MACADDR_ZERO
 */
TALVERA_API int parse_macaddr(const char *s, int allow_zero, int allow_multicast,
                              unsigned char mac[6]) TALVERA_NONNULL(4);

TALVERA_END_DECLS

#endif
/** @} */
