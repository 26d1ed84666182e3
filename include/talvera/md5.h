/** @defgroup talvera_md5 MD5
 *  The MD5 message digest (RFC 1321), for checksums and identifiers that are defined in terms of
 *  it, not for security.
 *
 *  @include md5.c
 *
 *  Digests are 16 raw bytes, not hexadecimal text. Nothing is allocated and no function fails.
 *  @{ */
#ifndef TALVERA_MD5_H
#define TALVERA_MD5_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Size of a digest in bytes. */
#define MD5_DIGEST_SIZE 16

/** Digest state: RFC 1321's MD5_CTX, under a name that does not clash with OpenSSL's. */
typedef struct md5_context {
  uint32_t state[4];        /**< the words A, B, C and D */
  uint32_t count[2];        /**< number of message bits modulo 2^64, lower word first */
  unsigned char buffer[64]; /**< input of an incomplete block */
} md5_context;

/** Starts a digest.
 *
 *  @param[out] context  digest state
 */
TALVERA_API void MD5CInit(md5_context *context) TALVERA_NONNULL(1);

/** Adds bytes to a digest.
 *
 *  @param[in,out] context  digest state
 *  @param data             @p length bytes; may be null when @p length is 0
 *  @param length           number of bytes
 */
TALVERA_API void MD5CUpdate(md5_context *context, const unsigned char *data, unsigned int length)
    TALVERA_NONNULL(1);

/** Finishes a digest. Note the argument order.
 *
 *  @param[out] digest      receives MD5_DIGEST_SIZE bytes
 *  @param[in,out] context  digest state; zeroed
 */
TALVERA_API void MD5CFinal(unsigned char digest[MD5_DIGEST_SIZE], md5_context *context)
    TALVERA_NONNULL(1, 2);

/** Computes the digest of a string, without its terminator.
 *
 *  @param string       the string
 *  @param[out] digest  receives MD5_DIGEST_SIZE bytes
 */
TALVERA_API void UTIL_MD5(const char *string, unsigned char digest[MD5_DIGEST_SIZE])
    TALVERA_NONNULL(1, 2);

/** Computes the digest of a block of bytes.
 *
 *  @param data         @p length bytes; may be null when @p length is 0
 *  @param length       number of bytes
 *  @param[out] digest  receives MD5_DIGEST_SIZE bytes
 */
TALVERA_API void MD5_digest(const unsigned char *data, unsigned int length,
                            unsigned char digest[MD5_DIGEST_SIZE]) TALVERA_NONNULL(3);

TALVERA_END_DECLS

#endif
/** @} */
