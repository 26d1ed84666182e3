// Values of hexadecimal digits, and bytes as hexadecimal text.
#include "internal/alias.h"
#include "internal/ascii.h"
#include "talvera/strutil.h"

using talvera::kHexDigits;

extern "C" int hex(int ch) {
  const int value = talvera::digit_value(static_cast<char>(ch));
  return value < 16 ? value : -1;
}

extern "C" void GN_HexToString(const unsigned char *data, char *buf, char delim, int digits) {
  char *const start = buf;
  for (int left = digits; left > 1; left -= 2) {
    *buf++ = kHexDigits[*data >> 4];
    *buf++ = kHexDigits[*data++ & 0xF];
    if (delim != '\0') *buf++ = delim;
  }
  if (digits > 0 && digits % 2 != 0) {
    *buf++ = kHexDigits[*data >> 4];
  } else if (delim != '\0' && buf != start) {
    --buf;  // no delimiter after the last byte
  }
  *buf = '\0';
}
TALVERA_ALIAS(hex_to_str_with_delim, GN_HexToString);

extern "C" void hex_to_str(const unsigned char *data, char *buf, int digits) {
  GN_HexToString(data, buf, '\0', digits);
}
