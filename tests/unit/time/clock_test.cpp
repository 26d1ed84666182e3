// Uptime, wall clock, local noon, offsets and weekdays, durations, powers.
#include <gmock/gmock.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "support/system_double.h"
#include "talvera/time.h"
#include "unit/time/zone_fixture.h"

namespace talvera::test {
namespace {

constexpr std::time_t kDay = 86400;
constexpr std::time_t kLeapDay = 951782400;  // 2000-02-29 00:00:00 UTC

TEST(Clock, UptimeIsLaidOutAsADate) {
  SystemDouble system;
  system.set_time(kLeapDay);
  system.answer("sysinfo", 31 * kDay + 3661, 0, 2);
  EXPECT_EQ(get_sysuptime(), 31 * kDay + 3661);
  datetime dt;
  get_datetime(&dt);
  EXPECT_EQ(std::tuple(dt.year, dt.month, dt.day), std::tuple(1970, 2, 1));
  EXPECT_EQ(std::tuple(dt.hour, dt.minute, dt.second), std::tuple(1, 1, 1));
  get_datetime(nullptr);
  system.fail("sysinfo", EFAULT);
  EXPECT_EQ(get_sysuptime(), 0);
  EXPECT_GT(get_sysuptime(), 0);
}

TEST(Clock, UnsetClockIsNoTime) {
  SystemDouble system;
  for (const std::time_t now : {1, 946079999, 946080000, -5}) {
    system.set_time(now);
    EXPECT_EQ(get_utctime(), now == 1 || now == 946079999 ? 0 : now);
  }
}

TEST(Clock, Durations) {
  const std::pair<std::int32_t, const char *> cases[] = {
      {-5, "00:00:00:00"},    {3599, "00:00:59:59"},         {86399, "00:23:59:59"},
      {90061, "01:01:01:01"}, {INT32_MAX, "24855:03:14:07"},
  };
  for (const auto &[seconds, text] : cases) {
    char buf[16];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(GN_Sec2DayHrMinSecStr(buf, seconds), static_cast<int>(std::strlen(text)));
    EXPECT_STREQ(buf, text);
    EXPECT_EQ(buf[15], '#');
  }
}

TEST(Clock, NoonTime) {
  SystemDouble system;
  const LocalZone zone("XYZ-2");
  constexpr std::time_t kNoon = kLeapDay + 10 * 3600;  // 12 o'clock local time
  const std::tuple<std::time_t, unsigned, std::uint8_t, std::time_t> cases[] = {
      {kLeapDay + 1234, 0, 0, kNoon + 1234 - kDay},
      {kLeapDay + 1234, 1, 0, kNoon + 1234},
      {kLeapDay + 1234, 2, 0, kNoon + 1234 + kDay},
      {kLeapDay + 1234, 3, 0, kNoon + 1234},
      {kLeapDay + 22 * 3600 - 1, 1, 0, kNoon + 3599},
      {kLeapDay + 22 * 3600, 1, 0, kNoon + kDay},  // the next local day
      // A recheck drops the shift, unless it is 12 already.
      {kLeapDay + 1234, 0, 1, kNoon + 1234},
      {kLeapDay + 1234, 2, 255, kNoon + 1234},
      {kNoon, 0, 1, kNoon - kDay},
      {kNoon + 3599, 2, 1, kNoon + 3599 + kDay},
      {kNoon + 3600, 2, 1, kNoon},
      {kNoon - 1, 0, 1, kNoon + 3599},
      // The day after wraps where time_t has 32 bits.
      {2147428800, 2, 0, static_cast<std::time_t>(INT64_C(2147508000))},
  };
  for (const auto &[now, which, recheck, noon] : cases) {
    system.set_time(now);
    EXPECT_EQ(ytt_get_noontime(which, recheck), noon) << now << ' ' << which << ' ' << +recheck;
  }
}

// The clock is put by the zone's rule after the time is broken down, not before.
TEST(Clock, NoonKeepsTheDaylightSavingOfNow) {
  SystemDouble system;
  const LocalZone zone("EST5EDT,M3.2.0/2,M11.1.0/2");
  system.set_time(1710054000);  // 2024-03-10 02:00 EST, an hour that is 03:00 EDT
  EXPECT_EQ(ytt_get_noontime(1, 0), 1710086400);
  system.set_time(1710050400);  // 01:00 EST: noon is still taken as EST
  EXPECT_EQ(ytt_get_noontime(1, 0), 1710090000);
}

TEST(Clock, TimeThatCannotBeBrokenDown) {
  if (sizeof(std::time_t) < 8) return;  // no such time
  SystemDouble system;
  const auto beyond = static_cast<std::time_t>(INT64_MAX);
  system.set_time(beyond);
  EXPECT_EQ(ytt_get_noontime(2, 0), -1);
  EXPECT_EQ(get_gmt_offset(beyond), 0);
  EXPECT_EQ(get_dow(beyond), -1);
}

TEST(Clock, OffsetAndWeekdayFollowTheZoneThatIsSet) {
  {
    const LocalZone zone("ABC+3:30");
    EXPECT_EQ(get_gmt_offset(kLeapDay), -12600);
    EXPECT_EQ(get_dow(kLeapDay), 1);  // still Monday there
  }
  const LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(get_gmt_offset(kLeapDay), 3600);
  EXPECT_EQ(get_gmt_offset(kLeapDay + 120 * kDay), 7200);
  EXPECT_EQ(get_dow(kLeapDay + 5 * kDay - 3601), 6);
  EXPECT_EQ(get_dow(kLeapDay + 5 * kDay - 3600), 0);
}

TEST(Clock, Powers) {
  const std::int32_t cases[][3] = {
      {2, 10, 1024}, {7, 0, 1},  {7, -3, 1},          {-3, 3, -27},
      {5, 1, 5},     {2, 32, 0}, {3, 21, 1870418611}, {-1, INT32_MAX, -1},
  };
  for (const auto &[base, exp, power] : cases)
    EXPECT_EQ(powi(base, exp), power) << base << '^' << exp;
}

}  // namespace
}  // namespace talvera::test
