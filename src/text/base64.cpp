// Base64, standard alphabet with padding (RFC 4648).
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "talvera/encode.h"

namespace talvera::text {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Class of an encoded character: a value below 64, or one of these.
constexpr std::uint8_t kPad = 64;
constexpr std::uint8_t kSkipped = 65;

constexpr std::array<std::uint8_t, 256> kSymbols = [] {
  std::array<std::uint8_t, 256> symbols{};
  symbols.fill(kSkipped);
  for (std::uint8_t value = 0; value < 64; ++value)
    symbols[static_cast<std::uint8_t>(kAlphabet[value])] = value;
  symbols['='] = kPad;
  return symbols;
}();

std::uint8_t symbol(char c) {
  return kSymbols[static_cast<std::uint8_t>(c)];
}

// Decodes groups of four characters from `in` to `end`, stopping before a group that contains
// padding or a skipped character. Advances `out` and returns the position reached.
const char *decode_values(const char *in, const char *end, unsigned char *&out) {
  for (; in != end; in += 4, out += 3) {
    const std::uint32_t a = symbol(in[0]);
    const std::uint32_t b = symbol(in[1]);
    const std::uint32_t c = symbol(in[2]);
    const std::uint32_t d = symbol(in[3]);
    if ((a | b | c | d) >= kPad) break;
    const std::uint32_t group = a << 18 | b << 12 | c << 6 | d;
    out[0] = static_cast<unsigned char>(group >> 16);
    out[1] = static_cast<unsigned char>(group >> 8);
    out[2] = static_cast<unsigned char>(group);
  }
  return in;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" int base64_encode(const unsigned char *data, unsigned int length, char *buf,
                             unsigned int *size) {
  constexpr std::uint32_t kMaxGroups = (UINT32_MAX - 1) / 4;
  const std::uint32_t groups = length / 3 + (length % 3 != 0 ? 1 : 0);
  const std::uint32_t needed = groups <= kMaxGroups ? groups * 4 + 1 : UINT32_MAX;
  if (groups > kMaxGroups || *size < needed) {
    *size = needed;
    return talvera::fail(ENOSPC);
  }
  // Each load reads a byte past its group, so the last group is encoded separately.
  for (; length > 3; length -= 3, data += 3, buf += 4) {
    const std::uint32_t group = talvera::load_be32(data);
    buf[0] = kAlphabet[group >> 26];
    buf[1] = kAlphabet[group >> 20 & 63];
    buf[2] = kAlphabet[group >> 14 & 63];
    buf[3] = kAlphabet[group >> 8 & 63];
  }
  if (length > 0) {
    std::uint32_t group = data[0] << 16;
    if (length > 1) group |= data[1] << 8;
    if (length > 2) group |= data[2];
    buf[0] = kAlphabet[group >> 18];
    buf[1] = kAlphabet[group >> 12 & 63];
    buf[2] = kAlphabet[group >> 6 & 63];
    buf[3] = kAlphabet[group & 63];
    if (length < 3) buf[3] = '=';
    if (length < 2) buf[2] = '=';
    buf += 4;
  }
  *buf = '\0';
  *size = needed - 1;
  return 0;
}

extern "C" int base64_decode(const char *text, unsigned int length, unsigned char *buf,
                             unsigned int *size) {
  if (text == nullptr || buf == nullptr || size == nullptr) return talvera::fail(EINVAL);
  const char *const end = text + length;
  unsigned char *out = buf;
  std::uint32_t group = 0;   // values collected for the next group, in the lower bits
  unsigned collected = 0;    // number of values in `group`
  unsigned group_bytes = 3;  // reduced by each pad, intentionally for all later groups too
  while (text != end) {
    if (collected == 0 && group_bytes == 3) {
      const std::size_t room = *size - static_cast<std::size_t>(out - buf);
      const std::size_t groups = std::min(static_cast<std::size_t>(end - text) / 4, room / 3);
      text = decode_values(text, text + 4 * groups, out);
      if (text == end) break;
    }
    std::uint8_t value = symbol(*text++);
    if (value == kSkipped) continue;
    if (value == kPad) {
      value = 0;
      if (group_bytes > 1) --group_bytes;
    }
    group = group << 6 | value;
    if (++collected < 4) continue;
    if (*size - static_cast<std::size_t>(out - buf) < group_bytes) return talvera::fail(ENOSPC);
    collected = 0;
    for (unsigned i = 0; i < group_bytes; ++i, group <<= 8)
      *out++ = static_cast<unsigned char>(group >> 16);
  }
  if (collected != 0) return talvera::fail(EINVAL);
  *size = static_cast<unsigned int>(out - buf);
  return 0;
}
