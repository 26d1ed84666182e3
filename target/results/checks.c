/* Redundancy checks and digests. */
#include <stdio.h>
#include <string.h>

#include "results.h"
#include "talvera/crc.h"
#include "talvera/md5.h"

static unsigned char input[1024];

static void print_crc(unsigned start, unsigned offset, unsigned length) {
  const unsigned char *const data = input + offset;
  printf("crc of %u from %u on, started with %08x: %08x %08x %04x %04x %02x\n", length, offset,
         start, crc32_be(start, data, length), crc32_le(start, data, length),
         crc16_be(start, data, length), crc16_le(start, data, length), crc8(start, data, length));
}

static void print_digest(unsigned offset, unsigned length) {
  unsigned char digest[MD5_DIGEST_SIZE];
  md5_context context;
  unsigned done;
  unsigned piece = 1;

  MD5_digest(input + offset, length, digest);
  printf("md5 of %u from %u on: %s", length, offset, hexed(digest, sizeof digest));
  MD5CInit(&context);
  for (done = 0; done < length; done += piece, piece = piece * 2 + 1) {
    if (piece > length - done) piece = length - done;
    MD5CUpdate(&context, input + offset + done, piece);
  }
  printf(" state %08x %u", context.state[0], context.count[0]);
  MD5CFinal(digest, &context);
  printf(" %s\n", hexed(digest, sizeof digest));
}

void print_checks(void) {
  static const unsigned starts[] = {0, 1, 0x80, 0xFF, 0xFFFF, 0x80000000U, 0xFFFFFFFFU};
  static const unsigned lengths[] = {0, 1, 2, 3, 9, 55, 56, 57, 63, 64, 65, 119, 120, 128, 1000};
  unsigned char digest[MD5_DIGEST_SIZE];
  uint32_t state = 1;
  size_t i;
  size_t k;
  for (i = 0; i < sizeof input; i++) {
    state = state * 1103515245U + 12345U;
    input[i] = (unsigned char)(state >> 16);
  }
  for (k = 0; k < COUNT(lengths); k++) {
    for (i = 0; i < COUNT(starts); i++)
      print_crc(starts[i], (unsigned)i % 3, lengths[k]);
    print_digest(0, lengths[k]);
    print_digest(3, lengths[k]);
  }
  for (i = 0; i < sample_count; i++) {
    UTIL_MD5(sample_texts[i], digest);
    printf("md5 of %s: %s\n", quoted(sample_texts[i]), hexed(digest, sizeof digest));
  }
}
