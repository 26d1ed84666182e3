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

// inet_pton() for texts whose numbers have no zeros in front. The last four bytes of an IPv6
// address may be a dotted quad.
inline int address_from_text(int family, const char *text, void *address) {
  const char *const colon = std::strrchr(text, ':');
  const char *const quad = family == AF_INET || colon == nullptr ? text : colon + 1;
  const bool dotted = family == AF_INET || std::strchr(quad, '.') != nullptr;
  if (dotted && has_padded_number(quad)) return 0;
  return inet_pton(family, text, address);
}

}  // namespace talvera
