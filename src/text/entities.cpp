// Hexadecimal character references for characters that are dangerous in markup.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/ascii.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "talvera/encode.h"

namespace {

constexpr std::size_t kReferenceSize = 6;  // "&#x3c;"

// One bit per dangerous character, counted from the first.
constexpr std::uint32_t kDangerous = [] {
  std::uint32_t set = 0;
  for (const char c : {'<', '>', '/', '"', '\'', '&'})
    set |= 1U << (c - '"');
  return set;
}();

[[gnu::always_inline]] inline bool is_dangerous(char c) {
  const std::uint32_t distance = static_cast<std::uint8_t>(c) - std::uint32_t{'"'};
  return distance < 32 && (kDangerous >> distance & 1) != 0;
}

char *write_reference(char *out, char c) {
  const auto byte = static_cast<std::uint8_t>(c);
  out[0] = '&';
  out[1] = '#';
  out[2] = 'x';
  out[3] = talvera::kHexDigits[byte >> 4];
  out[4] = talvera::kHexDigits[byte & 15];
  out[5] = ';';
  return out + kReferenceSize;
}

// Text is looked at and copied by words where they have eight characters.
using Word = std::uint64_t;
constexpr bool kByWords = sizeof(long) == sizeof(Word);
constexpr Word kOnes = ~Word{0} / 255;  // 1 in every byte
constexpr Word kHighBits = kOnes * 128;

// Not zero if a byte of `word` is zero.
constexpr Word zero_bytes(Word word) {
  return (word - kOnes) & ~word & kHighBits;
}

// Whether a byte of `word` may be dangerous; bytes that differ by one bit are asked for together.
constexpr bool has_dangerous(Word word) {
  return (zero_bytes((word | kOnes * 0x04) ^ kOnes * '&') |  // & "
          zero_bytes((word | kOnes * 0x02) ^ kOnes * '>') |  // > <
          zero_bytes(word ^ kOnes * '\'') | zero_bytes(word ^ kOnes * '/')) != 0;
}

// Copies words while nothing in them is dangerous, and returns how many characters.
std::size_t copy_harmless_words(const char *in, std::size_t length, char *out) {
  std::size_t done = 0;
  for (Word word; length - done >= sizeof word; done += sizeof word) {
    std::memcpy(&word, in + done, sizeof word);
    if (has_dangerous(word)) break;
    std::memcpy(out + done, &word, sizeof word);
  }
  return done;
}

// Writes what comes of `length` characters, at least one, for which there is room, and returns its
// end. Words are tried where a run of harmless characters promises more of them.
char *encode_fitting(const char *in, std::size_t length, char *out) {
  const char *const end = in + length;
  std::size_t run = sizeof(Word);
  do {
    if (kByWords && run == sizeof(Word)) {
      run = copy_harmless_words(in, static_cast<std::size_t>(end - in), out);
      in += run;
      out += run;
      run = 0;
      if (in == end) break;
    }
    const char c = *in++;
    if (is_dangerous(c)) {
      out = write_reference(out, c);
      run = 0;
    } else {
      *out++ = c;
      ++run;
    }
  } while (in != end);
  return out;
}

}  // namespace

extern "C" int entities_hex_encode(char *out, unsigned int size, const char *in) {
  if (size == 0 || out == nullptr) return talvera::fail(EINVAL);
  std::size_t room = in == nullptr ? 0 : size - 1;
  std::size_t length = in == nullptr ? 0 : strnlen(in, room);
  // As much as fits whatever it is, again and again: the room that references left is used up.
  while (const std::size_t fits = std::min(length, room / kReferenceSize)) {
    char *const end = encode_fitting(in, fits, out);
    room -= static_cast<std::size_t>(end - out);
    out = end;
    in += fits;
    length -= fits;
  }
  // No reference fits any more.
  for (; length > 0 && room > 0; --length, --room, ++in)
    *out++ = is_dangerous(*in) ? '-' : *in;
  *out = '\0';
  // Full counts as cut short, intentionally also when the text ended just here.
  return room > 0 ? 0 : talvera::fail(in == nullptr ? EINVAL : ENOSPC);
}

extern "C" int entities_hex_encode_in_place(unsigned int size, char *buf) {
  if (size == 0 || buf == nullptr) return talvera::fail(EINVAL);
  const talvera::MallocPtr<char> copy = talvera::allocate<char>(size);
  if (copy == nullptr) return -1;
  std::memcpy(copy.get(), buf, size);
  return entities_hex_encode(buf, size, copy.get());
}
