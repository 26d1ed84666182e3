/** @file
 *  Encoders at text boundaries: Base64 for arbitrary bytes, character references for markup, and
 *  strict MAC addresses. All work on the caller's buffers and keep no state.
 *
 *  @code
 *  const unsigned char bytes[] = {1, 2, 3};
 *  char text[8], cell[64];
 *  unsigned int length = sizeof text;
 *  if (base64_encode(bytes, sizeof bytes, text, &length) == 0) puts(text);  // AQID
 *  if (entities_hex_encode(cell, sizeof cell, "<b>") == 0) puts(cell);      // &#x3c;b&#x3e;
 *  @endcode
 */
#ifndef TALVERA_ENCODE_H
#define TALVERA_ENCODE_H

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Encodes bytes as Base64 (RFC 4648: standard alphabet, "=" padding), without line breaks.
 *
 *  @param in               @p len bytes; may be null when @p len is 0
 *  @param len              bytes to encode
 *  @param[out] out         receives the text, terminated; may be null when *@p out_len is 0
 *  @param[in,out] out_len  bytes of room in @p out; on success the characters written, without the
 *                          terminator; on failure the room needed, (@p len + 2) / 3 * 4 + 1
 *                          (4294967295 when that is more)
 *  @return 0, or -1 with errno ENOSPC when the room is too small and nothing was written
 */
TALVERA_API int base64_encode(const unsigned char *in, unsigned int len, char *out,
                              unsigned int *out_len) TALVERA_NONNULL(4);

/** Decodes Base64 (RFC 4648, standard alphabet).
 *
 *  Bytes outside of the alphabet and "=" are skipped, line breaks among them. A group with pads
 *  shortens the groups behind it too: they yield as many bytes as it did at most, one at the least;
 *  this is meant and matters for joined texts alone.
 *
 *  @param in               @p len characters, no terminator needed
 *  @param len              characters to decode; 0 gives 0 bytes
 *  @param[out] out         receives the bytes; may be @p in
 *  @param[in,out] out_len  bytes of room in @p out; on success the bytes written, on failure left
 *  @return 0; -1 with errno set when the room is too small (ENOSPC) or the last group has not four
 *          characters (EINVAL), with the groups before written; -1 (EINVAL) when a pointer is null
 */
TALVERA_API int base64_decode(const char *in, unsigned int len, unsigned char *out,
                              unsigned int *out_len);

/** Escapes text for HTML, in content and in attributes: the characters
 *  `< > / " ' &` become hexadecimal character references of six characters, such as "&\#x3c;".
 *
 *  @param[out] out  receives the text, terminated; empty when @p in is null
 *  @param size      bytes of room; where a reference does not fit any more, "-" takes its place
 *  @param in        text
 *  @return 0; -1 with errno EINVAL when @p size is 0 or a pointer is null; -1 with errno ENOSPC
 * when the room was used up: also when the text just fills it, which is meant
 */
TALVERA_API int entities_hex_encode(char *out, unsigned int size, const char *in);

/** entities_hex_encode() of a text in its own buffer, by way of a heap copy.
 *
 *  @param size         bytes of room in @p buf
 *  @param[in,out] buf  text
 *  @return as entities_hex_encode(); -1 also when memory runs out, with the text untouched
 */
TALVERA_API int entities_hex_encode_in_place(unsigned int size, char *buf);

/** Results of parse_macaddr() other than 0. */
enum {
  MACADDR_MALFORMED = -2, /**< no MAC address */
  MACADDR_MULTICAST = -3, /**< a group address, which is not allowed */
  MACADDR_ZERO = -4       /**< the address of zeros, which is not allowed */
};

/** Reads a MAC address typed by a user: six groups of one or two hexadecimal digits, joined by ":"
 *  throughout or by "-" throughout, with white space around any group. Nothing may follow.
 *
 *  Each call, a successful one too, prints "Parse MAC error %d\n" with its result to standard
 *  output.
 *
 *  @param s                text; null is malformed
 *  @param allow_zero       non-zero accepts the address of six zero bytes
 *  @param allow_multicast  non-zero accepts group addresses (the low bit of the first byte is set)
 *  @param[out] mac         the address; on failure as many bytes as were read
 *  @return 0, MACADDR_MALFORMED, MACADDR_MULTICAST (a group address that is not allowed) or
 *          MACADDR_ZERO (an address of zeros that is not allowed)
 */
TALVERA_API int parse_macaddr(const char *s, int allow_zero, int allow_multicast,
                              unsigned char mac[6]) TALVERA_NONNULL(4);

TALVERA_END_DECLS

#endif
