// IPv4 address arithmetic, and parsing of IPv4 and IPv6 addresses.
#include <arpa/inet.h>

#include <cstdint>

#include "talvera/netu.h"

namespace talvera::net {
namespace {

bool parse(const char *text, std::uint32_t &address) {
  return text != nullptr && inet_pton(AF_INET, text, &address) == 1;
}

// Stores `combine` of both addresses in `result` if both are valid.
template <typename Combine>
int calculate(const char *address_text, const char *mask_text, std::uint32_t *result,
              Combine combine) {
  std::uint32_t address;
  std::uint32_t mask;
  if (!parse(address_text, address) || !parse(mask_text, mask)) return NETU_INVALID_ADDRESS;
  *result = combine(address, mask);
  return 0;
}

}  // namespace
}  // namespace talvera::net

using namespace talvera::net;

extern "C" int netu_calc_network(const char *address, const char *mask, std::uint32_t *result) {
  return calculate(address, mask, result, [](auto a, auto m) { return a & m; });
}

extern "C" int netu_calc_broadcast(const char *address, const char *mask, std::uint32_t *result) {
  return calculate(address, mask, result, [](auto a, auto m) { return a | ~m; });
}

extern "C" int netu_calc_host(const char *address, const char *mask, std::uint32_t *result) {
  return calculate(address, mask, result, [](auto a, auto m) { return a & ~m; });
}

// Intentionally counts all set bits, even of a non-contiguous mask.
extern "C" unsigned int netu_calc_subnet_prefix(const char *mask) {
  std::uint32_t rest;
  if (!parse(mask, rest)) return 0;
  // Not std::popcount(), which needs a table of 256 bytes on the target.
  unsigned int bits = 0;
  for (; rest != 0; rest &= rest - 1)
    ++bits;
  return bits;
}

// Intentionally modulo 32: a prefix of 32 gives an empty mask.
extern "C" std::uint32_t netu_subnet_mask_from_prefix(unsigned int prefix) {
  return ~(UINT32_MAX >> prefix % 32);
}

extern "C" int netu_is_empty_ip4addr(const char *address) {
  if (address == nullptr || *address == '\0') return 1;
  std::uint32_t number;
  return parse(address, number) && number == INADDR_ANY ? 1 : 0;
}

extern "C" int netu_atoipv4(const char *address, void *result) {
  in_addr scratch;
  if (address == nullptr) return 0;
  return inet_pton(AF_INET, address, result != nullptr ? result : &scratch);
}

extern "C" int netu_atoipv6(const char *address, void *result) {
  in6_addr scratch;
  if (address == nullptr) return 0;
  return inet_pton(AF_INET6, address, result != nullptr ? result : &scratch);
}
