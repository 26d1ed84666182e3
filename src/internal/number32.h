// Numbers read from text as the 32-bit target reads them, where a long has 32 bits: the results and
// their limits are the same on a 64-bit machine.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace talvera {

// strtoul(): what is too large becomes the greatest value, a minus sign negates.
inline std::uint32_t parse_unsigned32(const char *text, char **end, int base) {
  const long long value = std::strtoll(text, end, base);
  constexpr long long kLimit = UINT32_MAX;
  return value > kLimit || value < -kLimit ? UINT32_MAX : static_cast<std::uint32_t>(value);
}

// atoi()
inline std::int32_t parse_int32(const char *text) {
  const long long value = std::strtoll(text, nullptr, 10);
  if (value > INT32_MAX) return INT32_MAX;
  return value < INT32_MIN ? INT32_MIN : static_cast<std::int32_t>(value);
}

}  // namespace talvera
