// Parsing of MAC addresses entered by users.
#include <cstdio>
#include <cstdlib>

#include "internal/ascii.h"
#include "talvera/encode.h"

namespace talvera::text {
namespace {

constexpr unsigned kMacSize = 6;
constexpr unsigned char kGroupBit = 1;  // of the first byte (IEEE 802)

// Value of a hexadecimal digit; the caller has checked that it is one.
unsigned parse_macaddr_comp(char digit) {
  const int c = digit_value(digit);
  if (!((c >= 0) && (c <= 0xF))) {
    std::fputs("strutil: parse_macaddr_comp: Assertion `(c >= 0) && (c <= 0xF)' failed.\n", stderr);
    std::abort();
  }
  return static_cast<unsigned>(c);
}

// Parses a group of one or two digits and surrounding white space. Returns its end; null for any
// other number of digits.
const char *take_group(const char *p, unsigned char *byte) {
  p = skip_spaces(p);
  const char *const digits = p;
  unsigned value = 0;
  for (; is_hex_digit(*p); ++p)
    value = value << 4 | parse_macaddr_comp(*p);
  if (p - digits < 1 || p - digits > 2) return nullptr;
  *byte = static_cast<unsigned char>(value);
  return skip_spaces(p);
}

// Parses exactly six groups and checks the address. Returns 0 or a MACADDR_ error.
int validate(const char *p, bool allow_zero, bool allow_multicast, unsigned char *mac) {
  unsigned all = 0;
  char separator = ':';
  for (unsigned i = 0;; ++p) {
    p = take_group(p, &mac[i]);
    if (p == nullptr) return MACADDR_MALFORMED;
    all |= mac[i];
    if (++i == kMacSize) break;
    if (i == 1 && *p == '-') separator = '-';
    if (*p != separator) return MACADDR_MALFORMED;
  }
  if (*p != '\0') return MACADDR_MALFORMED;
  if ((mac[0] & kGroupBit) != 0 && !allow_multicast) return MACADDR_MULTICAST;
  return all == 0 && !allow_zero ? MACADDR_ZERO : 0;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" int parse_macaddr(const char *s, int allow_zero, int allow_multicast,
                             unsigned char mac[6]) {
  const int result =
      s != nullptr ? validate(s, allow_zero != 0, allow_multicast != 0, mac) : MACADDR_MALFORMED;
  std::printf("Parse MAC error %d\n", result);  // intentionally printed even on success
  return result;
}
