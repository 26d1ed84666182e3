// Clock readings: uptime, the validated wall clock, local noon, UTC offset and weekday; formatted
// durations; integer powers.
#include <sys/sysinfo.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <type_traits>

#include "internal/alias.h"
#include "internal/local_time.h"
#include "talvera/time.h"

namespace talvera::time {
namespace {

using Seconds = std::make_unsigned_t<std::time_t>;  // wraps instead of overflowing

constexpr int32_t kDaySeconds = 86400;
constexpr int kNoonHour = 12;
constexpr Seconds kEarliestSetClock = 946080000;                    // 1999-12-25
constexpr std::size_t kDurationTextSize = sizeof "24855:03:14:07";  // the longest duration

}  // namespace
}  // namespace talvera::time

using namespace talvera::time;

extern "C" int32_t get_sysuptime() {
  struct sysinfo system;
  if (sysinfo(&system) != 0) return 0;
  return static_cast<int32_t>(system.uptime);
}
TALVERA_ALIAS(KS_GetTimeSeconds, get_sysuptime);

extern "C" time_t get_utctime() {
  const std::time_t now = time(nullptr);
  return static_cast<Seconds>(now) < kEarliestSetClock ? 0 : now;
}
TALVERA_ALIAS(KS_getUTCtime, get_utctime);

// Intentionally the uptime, not the wall clock.
extern "C" void get_datetime(struct datetime *dt) {
  stod(get_sysuptime(), dt);
}

extern "C" int GN_Sec2DayHrMinSecStr(char *buf, int32_t seconds) {
  if (seconds < 0) seconds = 0;
  const int32_t minutes = seconds / 60;
  const int32_t hours = minutes / 60;
  return std::snprintf(buf, kDurationTextSize, "%02d:%02d:%02d:%02d", hours / 24, hours % 24,
                       minutes % 60, seconds % 60);
}

extern "C" time_t ytt_get_noontime(unsigned int which, uint8_t recheck) {
  std::tm local;
  if (!talvera::local_time(time(nullptr), local)) return -1;
  // Intentionally, a recheck tests the current hour and so applies the day shift only during the
  // noon hour.
  int32_t shift = 0;
  if (which <= 2 && (recheck == 0 || local.tm_hour == kNoonHour)) {
    shift = (static_cast<int32_t>(which) - 1) * kDaySeconds;
  }
  local.tm_hour = kNoonHour;
  return static_cast<std::time_t>(static_cast<Seconds>(mktime(&local)) + shift);
}

extern "C" long get_gmt_offset(time_t t) {
  std::tm local;
  return talvera::local_time(t, local) ? local.tm_gmtoff : 0;
}

extern "C" int get_dow(time_t t) {
  std::tm local;
  return talvera::local_time(t, local) ? local.tm_wday : -1;
}

extern "C" int32_t powi(int32_t base, int32_t exp) {
  std::uint32_t result = 1;
  auto power = static_cast<std::uint32_t>(base);
  for (; exp > 0; exp >>= 1) {
    if ((exp & 1) != 0) result *= power;
    power *= power;
  }
  return static_cast<int32_t>(result);
}
