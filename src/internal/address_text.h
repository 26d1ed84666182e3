// Addresses as texts, read alike with every C library.
#pragma once

#include <arpa/inet.h>

#include <cstring>

namespace talvera {

// True when a number of a dotted quad has a zero in front: decimal to some and octal to others, so
// that one C library refuses it and another does not.
inline bool has_padded_number(const char *quad) {
  for (bool first = true; *quad != '\0'; ++quad) {
    if (first && quad[0] == '0' && quad[1] >= '0' && quad[1] <= '9') return true;
    first = *quad == '.';
  }
  return false;
}

// The dotted quad that an address text is or ends with; null without one.
inline const char *dotted_quad(int family, const char *text) {
  if (family == AF_INET) return text;
  const char *const colon = std::strrchr(text, ':');
  return colon != nullptr && std::strchr(colon, '.') != nullptr ? colon + 1 : nullptr;
}

// inet_pton() for texts whose numbers have no zeros in front.
inline int address_from_text(int family, const char *text, void *address) {
  const char *const quad = dotted_quad(family, text);
  if (quad != nullptr && has_padded_number(quad)) return 0;
  return inet_pton(family, text, address);
}

}  // namespace talvera
