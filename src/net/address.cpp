// IPv4 address arithmetic, and parsing of IPv4 and IPv6 addresses.
#include <arpa/inet.h>

#include <cstdint>

#include "talvera/netu.h"

namespace talvera::net {
namespace {

enum class Part { kNetwork, kBroadcast, kHost };

bool parse(const char *text, std::uint32_t &address) {
  return text != nullptr && inet_pton(AF_INET, text, &address) > 0;
}

// Stores a part of the address in `result` if address and mask are valid.
[[gnu::always_inline]] inline int calculate(const char *address_text, const char *mask_text,
                                            std::uint32_t *result, Part part) {
  std::uint32_t address;
  std::uint32_t mask;
  if (!parse(address_text, address) || !parse(mask_text, mask)) return NETU_INVALID_ADDRESS;
  if (part != Part::kNetwork) mask = ~mask;
  *result = part == Part::kBroadcast ? address | mask : address & mask;
  return 0;
}

// Shared by the parts that are needed less often.
[[gnu::noinline]] int calculate_out_of_line(const char *address, const char *mask,
                                            std::uint32_t *result, Part part) {
  return calculate(address, mask, result, part);
}

// Converts an address of either family; `result` may be null.
int convert(const char *text, void *result, int family) {
  in6_addr scratch;
  if (text == nullptr) return 0;
  return inet_pton(family, text, result != nullptr ? result : &scratch);
}

}  // namespace
}  // namespace talvera::net

using namespace talvera::net;

extern "C" int netu_calc_network(const char *address, const char *mask, std::uint32_t *result) {
  return calculate(address, mask, result, Part::kNetwork);
}

extern "C" int netu_calc_broadcast(const char *address, const char *mask, std::uint32_t *result) {
  return calculate_out_of_line(address, mask, result, Part::kBroadcast);
}

extern "C" int netu_calc_host(const char *address, const char *mask, std::uint32_t *result) {
  return calculate_out_of_line(address, mask, result, Part::kHost);
}

// Intentionally counts all set bits, even of a non-contiguous mask.
extern "C" unsigned int netu_calc_subnet_prefix(const char *mask) {
  std::uint32_t rest;
  if (netu_atoipv4(mask, &rest) != 1) return 0;
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
  return netu_atoipv4(address, &number) == 1 && number == INADDR_ANY ? 1 : 0;
}

extern "C" int netu_atoipv4(const char *address, void *result) {
  return convert(address, result, AF_INET);
}

extern "C" int netu_atoipv6(const char *address, void *result) {
  return convert(address, result, AF_INET6);
}
