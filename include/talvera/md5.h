/** @file
 *  The MD5 message digest (RFC 1321).
 *
 *  @code
 *  unsigned char digest[MD5_DIGEST_SIZE];
 *  md5_context context;
 *  MD5CInit(&context);
 *  MD5CUpdate(&context, (const unsigned char *)"ab", 2);
 *  MD5CUpdate(&context, (const unsigned char *)"c", 1);
 *  MD5CFinal(digest, &context);  // as UTIL_MD5("abc", digest) gives at once
 *  @endcode
 *
 *  For checks and identifiers that are defined with it, not for security. Nothing is allocated and
 *  nothing fails; digests are 16 raw bytes, not hexadecimal text.
 */
#ifndef TALVERA_MD5_H
#define TALVERA_MD5_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Bytes of a digest. */
#define MD5_DIGEST_SIZE 16

/** A digest in the making: RFC 1321's MD5_CTX, under a name that leaves OpenSSL's alone. */
typedef struct md5_context {
  uint32_t state[4];        /**< the words A, B, C and D */
  uint32_t count[2];        /**< number of message bits modulo 2^64, lower word first */
  unsigned char buffer[64]; /**< input of an unfinished block */
} md5_context;

/** Begins a digest.
 *
 *  @param[out] context  the digest to begin
 */
TALVERA_API void MD5CInit(md5_context *context) TALVERA_NONNULL(1);

/** Adds bytes to a digest.
 *
 *  @param[in,out] context  the digest
 *  @param input            @p length bytes; may be null when there are none
 *  @param length           bytes to add
 */
TALVERA_API void MD5CUpdate(md5_context *context, const unsigned char *input, unsigned int length)
    TALVERA_NONNULL(1);

/** Ends a digest. Mind the order of the arguments.
 *
 *  @param[out] digest       receives 16 bytes
 *  @param[in,out] context   all zero afterwards
 */
TALVERA_API void MD5CFinal(unsigned char digest[MD5_DIGEST_SIZE], md5_context *context)
    TALVERA_NONNULL(1, 2);

/** Digest of a string without its terminator.
 *
 *  @param string       the string
 *  @param[out] digest  receives 16 bytes
 */
TALVERA_API void UTIL_MD5(const char *string, unsigned char digest[MD5_DIGEST_SIZE])
    TALVERA_NONNULL(1, 2);

/** Digest of a block of bytes.
 *
 *  @param data         @p length bytes; may be null when there are none
 *  @param length       number of bytes
 *  @param[out] digest  receives 16 bytes
 */
TALVERA_API void MD5_digest(const unsigned char *data, unsigned int length,
                            unsigned char digest[MD5_DIGEST_SIZE]) TALVERA_NONNULL(3);

TALVERA_END_DECLS

#endif
