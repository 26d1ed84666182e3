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

// Encodes a group of three bytes, the upper ones of `group`, as four characters.
void write_characters(std::uint32_t group, char *out) {
  out[0] = kAlphabet[group >> 26];
  out[1] = kAlphabet[group >> 20 & 63];
  out[2] = kAlphabet[group >> 14 & 63];
  out[3] = kAlphabet[group >> 8 & 63];
}

// Decodes up to `groups` groups of four characters, stopping at one with padding or a skipped
// character; returns the number decoded.
std::size_t decode_values(const char *in, std::size_t groups, unsigned char *out) {
  for (std::size_t done = 0; done < groups; ++done, in += 4, out += 3) {
    const std::uint32_t a = symbol(in[0]);
    const std::uint32_t b = symbol(in[1]);
    const std::uint32_t c = symbol(in[2]);
    const std::uint32_t d = symbol(in[3]);
    if ((a | b | c | d) >= kPad) return done;
    const std::uint32_t group = a << 18 | b << 12 | c << 6 | d;
    out[0] = static_cast<unsigned char>(group >> 16);
    out[1] = static_cast<unsigned char>(group >> 8);
    out[2] = static_cast<unsigned char>(group);
  }
  return groups;
}

// Collects symbols into groups of 24 bits and writes their bytes.
class Decoder {
 public:
  Decoder(unsigned char *out, std::size_t capacity) : out_(out), capacity_(capacity) {}

  [[nodiscard]] std::size_t written() const { return written_; }
  [[nodiscard]] bool is_complete() const { return collected_ == 0; }

  // Decodes leading whole groups without padding or skipped characters; returns the number of
  // characters consumed.
  std::size_t take_whole_groups(const char *in, std::size_t length) {
    if (collected_ != 0 || bytes_per_group_ != 3) return 0;
    const std::size_t groups =
        decode_values(in, std::min(length / 4, (capacity_ - written_) / 3), out_ + written_);
    written_ += 3 * groups;
    return 4 * groups;
  }

  // Adds a value or a pad; false when it completes a group that does not fit.
  bool take(std::uint8_t value) {
    if (value == kPad) {
      value = 0;
      if (bytes_per_group_ > 1) --bytes_per_group_;
    }
    group_ = group_ << 6 | value;
    if (++collected_ < 4) return true;
    if (capacity_ - written_ < bytes_per_group_) return false;
    for (unsigned i = 0; i < bytes_per_group_; ++i)
      out_[written_++] = static_cast<unsigned char>(group_ >> (16 - 8 * i));
    collected_ = 0;
    return true;
  }

 private:
  unsigned char *out_;
  std::size_t capacity_;
  std::size_t written_ = 0;
  std::uint32_t group_ = 0;       // symbols collected so far, in the lower 24 bits
  unsigned collected_ = 0;        // number of symbols in group_
  unsigned bytes_per_group_ = 3;  // reduced by each pad, intentionally for all later groups too
};

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
  std::size_t rest = length;
  for (; rest > 3; rest -= 3, data += 3, buf += 4)
    write_characters(talvera::load_be32(data), buf);
  if (rest > 0) {
    std::uint32_t last = std::uint32_t{data[0]} << 24;
    if (rest > 1) last |= std::uint32_t{data[1]} << 16;
    if (rest > 2) last |= std::uint32_t{data[2]} << 8;
    write_characters(last, buf);
    if (rest < 3) buf[3] = '=';
    if (rest < 2) buf[2] = '=';
    buf += 4;
  }
  *buf = '\0';
  *size = needed - 1;
  return 0;
}

extern "C" int base64_decode(const char *text, unsigned int length, unsigned char *buf,
                             unsigned int *size) {
  if (text == nullptr || buf == nullptr || size == nullptr) return talvera::fail(EINVAL);
  Decoder decoder(buf, *size);
  for (std::size_t i = 0; i < length;) {
    i += decoder.take_whole_groups(text + i, length - i);
    if (i == length) break;
    const std::uint8_t value = symbol(text[i++]);
    if (value != kSkipped && !decoder.take(value)) return talvera::fail(ENOSPC);
  }
  if (!decoder.is_complete()) return talvera::fail(EINVAL);
  *size = static_cast<unsigned int>(decoder.written());
  return 0;
}
