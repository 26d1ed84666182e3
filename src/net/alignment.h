// The 4-byte boundaries of netlink messages and attributes.
#pragma once

#include <cstdint>

namespace talvera::net {

constexpr std::uint32_t aligned(std::uint32_t length) {
  return (length + 3) & ~std::uint32_t{3};
}

}  // namespace talvera::net
