// Local time by the zone that is set now.
#pragma once

#include <ctime>

namespace talvera {

// Unlike localtime(), localtime_r() need not look at TZ again; a daemon that lives through a change
// of the zone is to see it. False when the C library cannot break the time down.
[[gnu::noinline]] inline bool local_time(std::time_t when, std::tm &result) {
  tzset();
  return localtime_r(&when, &result) != nullptr;
}

}  // namespace talvera
