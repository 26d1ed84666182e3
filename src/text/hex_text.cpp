// Values of hexadecimal digits, and bytes as hexadecimal text.
#include "internal/alias.h"
#include "internal/ascii.h"
#include "talvera/strutil.h"

using talvera::kHexDigits;

extern "C" int hex(int ch) {
  const int value = talvera::digit_value(static_cast<char>(ch));
  return value < 16 ? value : -1;
}

extern "C" void GN_HexToString(const unsigned char *in, char *out, char delim, int digits) {
  char *const start = out;
  for (int left = digits; left > 1; left -= 2) {
    *out++ = kHexDigits[*in >> 4];
    *out++ = kHexDigits[*in++ & 0xF];
    if (delim != '\0') *out++ = delim;
  }
  if (digits > 0 && digits % 2 != 0) {
    *out++ = kHexDigits[*in >> 4];
  } else if (delim != '\0' && out != start) {
    --out;  // no delimiter after the last byte
  }
  *out = '\0';
}
TALVERA_ALIAS(hex_to_str_with_delim, GN_HexToString);

extern "C" void hex_to_str(const unsigned char *in, char *out, int digits) {
  GN_HexToString(in, out, '\0', digits);
}
