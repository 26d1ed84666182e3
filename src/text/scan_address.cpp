// Scanners of IPv4 and MAC addresses in a line.
#include <arpa/inet.h>
#include <netinet/ether.h>

#include <cstddef>
#include <cstring>

#include "internal/alias.h"
#include "talvera/scan.h"

namespace talvera::text {
namespace {

// Copies the token at `s`, which ends at white space, and returns its end; null if it does not fit.
template <std::size_t Size>
char *copy_token(char *s, char (&token)[Size]) {
  char *const end = skip_nonspace(s);
  const auto length = static_cast<std::size_t>(end - s);
  if (length >= Size) return nullptr;
  std::memcpy(token, s, length);
  token[length] = '\0';
  return end;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *getip(char *s, struct in_addr *addr) {
  char token[INET_ADDRSTRLEN];
  char *const end = copy_token(s, token);
  return end != nullptr && inet_pton(AF_INET, token, addr) == 1 ? end : s;
}
TALVERA_ALIAS(get_ip, getip);

extern "C" char *get_mac(char *s, struct ether_addr *mac) {
  char token[20];
  ether_addr address;
  char *const end = copy_token(s, token);
  if (end == nullptr || ether_aton_r(token, &address) == nullptr) return s;
  *mac = address;
  return end;
}
TALVERA_ALIAS(getether, get_mac);
