// atoi() with the 32-bit target's result for numbers that are too large: the nearest limit.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace talvera {

inline int decimal_int(const char *text) {
  return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

}  // namespace talvera
