// Local time in the current time zone.
#pragma once

#include <ctime>

namespace talvera {

// Calls tzset() because localtime_r(), unlike localtime(), need not read TZ again, and a
// long-running daemon must follow changes to the zone. Returns false if the C library cannot
// represent the time.
[[gnu::noinline]] inline bool local_time(std::time_t when, std::tm &result) {
  tzset();
  return localtime_r(&when, &result) != nullptr;
}

}  // namespace talvera
