// Seconds and dates, month lengths, date validation.
#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <ctime>

#include "talvera/time.h"

namespace talvera::test {
namespace {

constexpr std::int32_t kDay = 86400;

// Second, minute, hour, day, month, year, weekday.
using Date = std::array<std::int32_t, 7>;

Date broken_down(std::int32_t seconds) {
  datetime dt;
  stod(seconds, &dt);
  return {dt.second, dt.minute, dt.hour, dt.day, dt.month, dt.year, dt.weekday};
}

TEST(Calendar, SecondsToDate) {
  const std::pair<std::int32_t, Date> cases[] = {
      {0, {0, 0, 0, 1, 1, 1970, 5}},
      {951782400, {0, 0, 0, 29, 2, 2000, 3}},
      {INT32_MAX, {7, 14, 3, 19, 1, 2038, 3}},
      // Before 1970 the divisions truncate.
      {-3725, {-5, -2, -1, 1, 1, 1970, 5}},
      {-kDay - 1, {-1, 0, 0, 31, 12, 1969, 4}},
      {-307 * kDay, {0, 0, 0, 28, 2, 1969, -1}},
      {-365 * kDay, {0, 0, 0, 1, 1, 1969, -3}},
      // Before 1969 there are no years and months.
      {-366 * kDay, {0, 0, 0, 0, 0, 1969, -4}},
      {INT32_MIN, {-8, -14, -3, -24489, 0, 1969, 0}},
  };
  for (const auto &[seconds, date] : cases)
    EXPECT_EQ(broken_down(seconds), date) << seconds;
  stod(5, nullptr);
}

TEST(Calendar, EveryDayThereAndBack) {
  constexpr std::int32_t kDays = INT32_MAX / kDay;  // 2038-01-19
  for (std::int32_t day = 0; day <= kDays; ++day) {
    const std::int32_t seconds = day * kDay + (day * 7919) % (day < kDays ? kDay : 11647);
    const std::time_t when = seconds;
    std::tm expected;
    gmtime_r(&when, &expected);
    ASSERT_EQ(broken_down(seconds),
              (Date{expected.tm_sec, expected.tm_min, expected.tm_hour, expected.tm_mday,
                    expected.tm_mon + 1, expected.tm_year + 1900, (expected.tm_wday + 1) % 7}));
    datetime dt;
    stod(seconds, &dt);
    dt.weekday = -99;
    ASSERT_EQ(dtos(&dt), static_cast<std::uint32_t>(seconds));
  }
}

TEST(Calendar, DateToSecondsOutsideTheRanges) {
  const std::pair<datetime, std::int32_t> cases[] = {
      {{7, 14, 3, 19, 1, 2038, 0}, INT32_MAX},
      {{15, 28, 6, 6, 2, 2106, 0}, -1},  // 2100 is a leap year here
      // Fields carry over.
      {{61, 61, 25, 32, 1, 1970, 0}, 32 * kDay + 2 * 3600 + 60 + 61},
      {{-1, 0, 0, 0, 1, 1970, 0}, -kDay - 1},
      // A month below 1 adds nothing, one beyond December the year's days.
      {{0, 0, 0, 2, 0, 1970, 0}, kDay},
      {{0, 0, 0, 2, -7, 1970, 0}, kDay},
      {{0, 0, 0, 1, 13, 1971, 0}, 730 * kDay},
      {{0, 0, 0, 1, INT32_MAX, 1972, 0}, 1096 * kDay},
      // Years before 1970: leap days count toward zero from 1969.
      {{0, 0, 0, 1, 1, 1966, 0}, -4 * 365 * kDay},
      {{0, 0, 0, 1, 1, 1965, 0}, -(5 * 365 + 1) * kDay},
      {{0, 0, 0, 1, 3, 1968, 0}, (60 - 2 * 365) * kDay},
      {{0, 0, 0, 1, 3, 1967, 0}, (59 - 3 * 365) * kDay},
  };
  for (const auto &[date, seconds] : cases) {
    EXPECT_EQ(dtos(&date), static_cast<std::uint32_t>(seconds))
        << date.year << '-' << date.month << '-' << date.day << ' ' << date.hour;
  }
}

TEST(Calendar, DaysInMonth) {
  constexpr unsigned kCommon[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    EXPECT_EQ(UDA_DaysInMonth(month, 2023), kCommon[month - 1]) << month;
    EXPECT_EQ(UDA_DaysInMonth(month, 2024), kCommon[month - 1] + (month == 2)) << month;
  }
  EXPECT_EQ(UDA_DaysInMonth(2, 1900), 28U);
  EXPECT_EQ(UDA_DaysInMonth(2, 2000), 29U);
  EXPECT_EQ(UDA_DaysInMonth(0, 2000), 0U);
  EXPECT_EQ(UDA_DaysInMonth(13, 2000), 0U);
}

TEST(Calendar, ValidDates) {
  const int cases[][4] = {
      // month, day, year, validity
      {2, 29, 2023, 0}, {2, 29, 2024, 1}, {4, 30, 2024, 1}, {4, 31, 2024, 0},
      {12, 31, 0, 1},   {0, 0, 2024, 0},  {13, 0, 2024, 0}, {1, 0, 2024, 1},
      {1, -5, 2024, 1}, {1, 1, 2069, 1},  {1, 1, 2070, 0},  {1, 1, -1, 0},
  };
  for (const auto &[month, day, year, valid] : cases)
    EXPECT_EQ(ValiDateProc(month, day, year), valid) << month << '/' << day << '/' << year;
}

TEST(Calendar, SecondNamesAreTheSameCode) {
  EXPECT_EQ(&seconds_to_datetime, &stod);
  EXPECT_EQ(&datetime_to_seconds, &dtos);
  EXPECT_EQ(&get_daysinmonth, &UDA_DaysInMonth);
  EXPECT_EQ(&is_valid_date, &ValiDateProc);
  EXPECT_EQ(&KS_GetTimeSeconds, &get_sysuptime);
  EXPECT_EQ(&KS_getUTCtime, &get_utctime);
}

}  // namespace
}  // namespace talvera::test
