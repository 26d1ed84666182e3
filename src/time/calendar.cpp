// Conversion between seconds and calendar dates, month lengths and date validation.
#include <algorithm>
#include <cstdint>

#include "internal/alias.h"
#include "talvera/time.h"

namespace talvera::time {
namespace {

constexpr std::int32_t kDaySeconds = 86400;
constexpr int kMonths = 12;

// Days by which February is shorter than 30 days. Counts every fourth year as a leap year, which is
// exact from 1901 to 2099.
std::uint32_t february_gap(std::uint32_t year) {
  return year % 4 == 0 ? 1 : 2;
}

// Day of the year (from 0) on which a month (1 to 13) starts if February has 30 days. A linear
// function, rounded down, then fits all months.
std::uint32_t month_start(std::uint32_t month) {
  return (489 * month - 481) / 16;
}

// Sets year, month and day from a count of days since 1970-01-01 that is at least -365.
void set_date(datetime &date, std::int32_t days) {
  // Counting from 1969, the fourth of every four years (1461 days) is the leap year.
  const auto since_1969 = static_cast<std::uint32_t>(days + 365);
  const std::uint32_t years = (since_1969 * 4 + 3) / 1461;
  const std::uint32_t year = 1969 + years;
  std::uint32_t day_of_year = since_1969 - years * 1461 / 4;
  if (day_of_year + february_gap(year) >= month_start(3)) day_of_year += february_gap(year);
  const std::uint32_t month = (67 * day_of_year + 2075) / 2048;  // the inverse of month_start()
  date.day = static_cast<std::int32_t>(day_of_year - month_start(month) + 1);
  date.month = static_cast<std::int32_t>(month);
  date.year = static_cast<std::int32_t>(year);
}

bool is_gregorian_leap_year(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

}  // namespace
}  // namespace talvera::time

using namespace talvera::time;

extern "C" void stod(int32_t seconds, struct datetime *dt) {
  if (dt == nullptr) return;
  const std::int32_t minutes = seconds / 60;
  const std::int32_t hours = minutes / 60;
  const std::int32_t days = seconds / kDaySeconds;
  dt->second = seconds % 60;
  dt->minute = minutes % 60;
  dt->hour = hours % 24;
  dt->weekday = (days + 5) % 7;  // intentionally numbered from 0 for Saturday
  if (days < -365) {
    // The earliest year is 1969; the days of earlier dates count down from its first day.
    dt->day = days + 365 + 1;
    dt->month = 0;
    dt->year = 1969;
    return;
  }
  set_date(*dt, days);
}
TALVERA_ALIAS(seconds_to_datetime, stod);

extern "C" uint32_t dtos(const struct datetime *dt) {
  const auto year = static_cast<std::uint32_t>(dt->year);
  const auto leap_days = static_cast<std::uint32_t>(static_cast<std::int32_t>(year - 1969) / 4);
  std::uint32_t days = (year - 1970) * 365 + leap_days;
  if (dt->month > 1) {
    days += month_start(static_cast<std::uint32_t>(std::min(dt->month, kMonths + 1)));
    if (dt->month > 2) days -= february_gap(year);
  }
  days += static_cast<std::uint32_t>(dt->day) - 1;
  return ((days * 24 + static_cast<std::uint32_t>(dt->hour)) * 60 +
          static_cast<std::uint32_t>(dt->minute)) *
             60 +
         static_cast<std::uint32_t>(dt->second);
}
TALVERA_ALIAS(datetime_to_seconds, dtos);

extern "C" unsigned int UDA_DaysInMonth(int month, int year) {
  if (month < 1 || month > kMonths) return 0;
  if (month == 2) return is_gregorian_leap_year(year) ? 29 : 28;
  return 30 + ((month ^ month >> 3) & 1);  // 31 and 30 alternate; July and August have 31
}
TALVERA_ALIAS(get_daysinmonth, UDA_DaysInMonth);

// Intentionally without a lower bound on the day.
extern "C" int ValiDateProc(int month, int day, int year) {
  const auto days = static_cast<int>(UDA_DaysInMonth(month, year));
  return days != 0 && day <= days && year >= 0 && year < 2070 ? 1 : 0;
}
TALVERA_ALIAS(is_valid_date, ValiDateProc);
