// Local time by the zone that is set now.
#pragma once

#include <ctime>
#include <optional>

namespace talvera {

// Unlike localtime(), localtime_r() need not look at TZ again; a daemon that lives through a change
// of the zone is to see it. Empty when the C library cannot break the time down.
inline std::optional<std::tm> local_time(std::time_t when) {
  std::tm result;
  tzset();
  if (localtime_r(&when, &result) == nullptr) return std::nullopt;
  return result;
}

}  // namespace talvera
