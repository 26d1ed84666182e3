// The MD5 message digest of RFC 1321.
#include "talvera/md5.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/big_endian.h"

namespace talvera::container {
namespace {

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthOffset = 56;  // of the bit count in the last block

// Entry i is the integer part of 2^32 * abs(sin(i + 1)).
constexpr std::array<std::uint32_t, 64> kSines = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

constexpr std::uint32_t as_little_endian(std::uint32_t value) {
  return std::endian::native == std::endian::little ? value : __builtin_bswap32(value);
}

std::uint32_t load_le32(const unsigned char *bytes) {
  return as_little_endian(load_unaligned<std::uint32_t>(bytes));
}

void store_le32(unsigned char *bytes, std::uint32_t value) {
  store_unaligned(bytes, as_little_endian(value));
}

using State = std::uint32_t[4];
using Block = std::uint32_t[16];

// The four auxiliary functions of RFC 1321, each added to `sum`. x is the result of the previous
// step, so it enters last to shorten the dependency chain. In G the two terms have no bits in
// common, so each is added separately.
struct F {
  static std::uint32_t add(std::uint32_t sum, std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return sum + (z ^ (x & (y ^ z)));
  }
};
struct G {
  static std::uint32_t add(std::uint32_t sum, std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return sum + (y & ~z) + (x & z);
  }
};
struct H {
  static std::uint32_t add(std::uint32_t sum, std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return sum + (x ^ (y ^ z));
  }
};
struct I {
  static std::uint32_t add(std::uint32_t sum, std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return sum + (y ^ (x | ~z));
  }
};

template <typename Mix>
[[gnu::always_inline]] inline void step(std::uint32_t &w, std::uint32_t x, std::uint32_t y,
                                        std::uint32_t z, std::uint32_t added, int shift) {
  w = x + std::rotl(Mix::add(w + added, x, y, z), shift);
}

// The message word at an index modulo 16. Addressing it by byte offset takes fewer instructions.
[[gnu::always_inline]] inline std::uint32_t word_at(const Block &block, std::size_t index) {
  const void *const word = reinterpret_cast<const char *>(block) + 4 * index % kBlockSize;
  return *static_cast<const std::uint32_t *>(word);
}

// Round `Number` (0 to 3): 16 steps that cycle through four shifts. Step i takes message word
// `First` + i * `Stride`, modulo 16.
template <typename Mix, std::size_t Number, std::size_t First, std::size_t Stride, int S1, int S2,
          int S3, int S4>
[[gnu::always_inline]] inline void round(State &state, const Block &block) {
  auto &[a, b, c, d] = state;
  const std::uint32_t *const sines = &kSines[16 * Number];
  // Unrolled for speed, so that offsets and sines become constants; not when optimising for size.
#ifndef __OPTIMIZE_SIZE__
#pragma GCC unroll 4
#endif
  for (std::size_t i = 0; i < 16; i += 4) {
    const std::size_t word = First + Stride * i;
    step<Mix>(a, b, c, d, word_at(block, word) + sines[i], S1);
    step<Mix>(d, a, b, c, word_at(block, word + Stride) + sines[i + 1], S2);
    step<Mix>(c, d, a, b, word_at(block, word + 2 * Stride) + sines[i + 2], S3);
    step<Mix>(b, c, d, a, word_at(block, word + 3 * Stride) + sines[i + 3], S4);
  }
}

void add_block(State &state, const unsigned char *bytes) {
  Block block;
  for (std::size_t i = 0; i < 16; ++i) {
    block[i] = load_le32(bytes + 4 * i);
  }
  auto [a, b, c, d] = state;
  State mixed = {a, b, c, d};
  round<F, 0, 0, 1, 7, 12, 17, 22>(mixed, block);
  round<G, 1, 1, 5, 5, 9, 14, 20>(mixed, block);
  round<H, 2, 5, 3, 4, 11, 16, 23>(mixed, block);
  round<I, 3, 0, 7, 6, 10, 15, 21>(mixed, block);
  state[0] += mixed[0];
  state[1] += mixed[1];
  state[2] += mixed[2];
  state[3] += mixed[3];
}

// Number of bytes in the buffer.
std::size_t pending(const md5_context &context) {
  return context.count[0] / 8 % kBlockSize;
}

}  // namespace
}  // namespace talvera::container

using namespace talvera::container;

extern "C" void MD5CInit(md5_context *context) {
  context->state[0] = 0x67452301;
  context->state[1] = 0xEFCDAB89;
  context->state[2] = 0x98BADCFE;
  context->state[3] = 0x10325476;
  context->count[0] = 0;
  context->count[1] = 0;
}

extern "C" void MD5CUpdate(md5_context *context, const unsigned char *data, unsigned int length) {
  if (length == 0) return;
  unsigned char *const end = context->buffer + kBlockSize;
  std::size_t missing = kBlockSize - pending(*context);
  const std::uint32_t bits = length << 3;
  context->count[0] += bits;
  context->count[1] += (length >> 29) + (context->count[0] < bits ? 1 : 0);

  // Blocks are taken from `data` directly, except for one that began in the buffer.
  std::size_t left = length;
  while (left >= missing) {
    const unsigned char *block = data;
    if (missing < kBlockSize) {
      std::memcpy(end - missing, data, missing);
      block = context->buffer;
    }
    add_block(context->state, block);
    data += missing;
    left -= missing;
    missing = kBlockSize;
  }
  std::memcpy(end - missing, data, left);
}

extern "C" void MD5CFinal(unsigned char digest[MD5_DIGEST_SIZE], md5_context *context) {
  std::size_t filled = pending(*context);
  context->buffer[filled++] = 0x80;
  if (filled > kLengthOffset) {
    std::memset(context->buffer + filled, 0, kBlockSize - filled);
    add_block(context->state, context->buffer);
    filled = 0;
  }
  std::memset(context->buffer + filled, 0, kLengthOffset - filled);
  store_le32(context->buffer + kLengthOffset, context->count[0]);
  store_le32(context->buffer + kLengthOffset + 4, context->count[1]);
  add_block(context->state, context->buffer);

  for (std::size_t i = 0; i < 4; ++i) {
    store_le32(digest + 4 * i, context->state[i]);
  }
  *context = {};
}

extern "C" void UTIL_MD5(const char *string, unsigned char digest[MD5_DIGEST_SIZE]) {
  MD5_digest(reinterpret_cast<const unsigned char *>(string),
             static_cast<unsigned>(std::strlen(string)), digest);
}

extern "C" void MD5_digest(const unsigned char *data, unsigned int length,
                           unsigned char digest[MD5_DIGEST_SIZE]) {
  md5_context context;
  MD5CInit(&context);
  MD5CUpdate(&context, data, length);
  MD5CFinal(digest, &context);
}
