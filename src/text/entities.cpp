// Hexadecimal character references for characters that are dangerous in markup.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "internal/ascii.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "talvera/encode.h"

namespace talvera::text {
namespace {

constexpr std::size_t kReferenceSize = 6;  // "&#x3c;"

// Bit set of dangerous characters; bit 0 is '"', the lowest of them.
constexpr std::uint32_t kDangerous = [] {
  std::uint32_t set = 0;
  for (const char c : {'<', '>', '/', '"', '\'', '&'})
    set |= 1U << (c - '"');
  return set;
}();

[[gnu::always_inline]] inline bool is_dangerous(char c) {
  const std::uint32_t distance = static_cast<std::uint32_t>(c) - '"';
  return distance < 32 && (kDangerous >> distance & 1) != 0;
}

char *write_reference(char *out, char c) {
  out[0] = '&';
  out[1] = '#';
  out[2] = 'x';
  out[3] = static_cast<char>('0' + (c >> 4));  // all dangerous characters are below 0x40
  out[4] = kHexDigits[c & 15];
  out[5] = ';';
  return out + kReferenceSize;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" int entities_hex_encode(char *buf, unsigned int size, const char *text) {
  if (size == 0 || buf == nullptr) return talvera::fail(EINVAL);
  if (text == nullptr) {
    *buf = '\0';
    return talvera::fail(EINVAL);
  }
  char *const last = buf + size - 1;  // position of the terminator in a full buffer
  for (; buf != last && *text != '\0'; ++text) {
    const char c = *text;
    if (!is_dangerous(c)) {
      *buf++ = c;
    } else if (static_cast<std::size_t>(last - buf) >= kReferenceSize) {
      buf = write_reference(buf, c);
    } else {
      *buf++ = '-';
    }
  }
  *buf = '\0';
  // A full buffer counts as truncated, intentionally even if the text ends exactly there.
  return buf != last ? 0 : talvera::fail(ENOSPC);
}

extern "C" int entities_hex_encode_in_place(unsigned int size, char *buf) {
  if (size == 0 || buf == nullptr) return talvera::fail(EINVAL);
  const talvera::MallocPtr<char> copy = talvera::allocate<char>(size);
  if (copy == nullptr) return -1;
  std::memcpy(copy.get(), buf, size);
  return entities_hex_encode(buf, size, copy.get());
}
