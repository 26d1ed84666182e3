// Scanners of IPv4 and MAC addresses in a line.
#include <arpa/inet.h>
#include <netinet/ether.h>

#include <cstddef>
#include <cstring>

#include "internal/alias.h"
#include "talvera/scan.h"

namespace talvera::text {
namespace {

// Copies the token at `s`, which ends at white space, and returns its end. A token that does not
// fit gives an empty copy, which is not a valid address.
char *copy_token(char *s, char *token, std::size_t size) {
  char *const end = skip_nonspace(s);
  auto length = static_cast<std::size_t>(end - s);
  if (length >= size) length = 0;
  std::memcpy(token, s, length);
  token[length] = '\0';
  return end;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *getip(char *s, struct in_addr *addr) {
  char token[INET_ADDRSTRLEN];
  char *const end = copy_token(s, token, sizeof token);
  return inet_pton(AF_INET, token, addr) == 1 ? end : s;
}
TALVERA_ALIAS(get_ip, getip);

extern "C" char *get_mac(char *s, struct ether_addr *mac) {
  char token[20];
  ether_addr address;
  char *const end = copy_token(s, token, sizeof token);
  if (ether_aton_r(token, &address) == nullptr) return s;
  *mac = address;
  return end;
}
TALVERA_ALIAS(getether, get_mac);
