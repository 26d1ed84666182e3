// Conversion between seconds and calendar dates, month lengths and date validation.
#include <array>
#include <cstdint>

#include "internal/alias.h"
#include "talvera/time.h"

namespace talvera::time {
namespace {

constexpr std::int32_t kDaySeconds = 86400;
constexpr int kMonths = 12;

// Day of the year on which each month starts, then the length of the year; for common and leap
// years.
using MonthStarts = std::array<std::uint16_t, kMonths + 1>;
constexpr std::array<MonthStarts, 2> kMonthStarts{{
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
}};

// Counts every fourth year as a leap year, which is exact from 1901 to 2099.
const MonthStarts &month_starts(std::uint32_t year) {
  return kMonthStarts[year % 4 == 0];
}

// Sets year, month and day from the days since 1970-01-01; the date must not be before 1969.
void set_date(datetime &date, std::int32_t days) {
  // Counting from 1969, the fourth of every four years (1461 days) is the leap year.
  const auto since_1969 = static_cast<std::uint32_t>(days + 365);
  const std::uint32_t years = (since_1969 * 4 + 3) / 1461;
  const std::uint32_t day_of_year = since_1969 - years * 1461 / 4;
  const std::uint32_t year = 1969 + years;

  // Month m (from 0) starts less than a month before day 32 * m, so the quotient is the month or
  // the one before it.
  const MonthStarts &starts = month_starts(year);
  std::uint32_t month = day_of_year / 32;
  if (day_of_year >= starts[month + 1]) ++month;
  date.day = static_cast<std::int32_t>(day_of_year - starts[month] + 1);
  date.month = static_cast<std::int32_t>(month + 1);
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
  const std::int32_t days = seconds / kDaySeconds;
  dt->second = seconds % 60;
  dt->minute = seconds / 60 % 60;
  dt->hour = seconds / 3600 % 24;
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
  if (dt->month > 1) days += month_starts(year)[dt->month <= kMonths ? dt->month - 1 : kMonths];
  days += static_cast<std::uint32_t>(dt->day) - 1;
  return ((days * 24 + static_cast<std::uint32_t>(dt->hour)) * 60 +
          static_cast<std::uint32_t>(dt->minute)) *
             60 +
         static_cast<std::uint32_t>(dt->second);
}
TALVERA_ALIAS(datetime_to_seconds, dtos);

extern "C" unsigned int UDA_DaysInMonth(int month, int year) {
  if (month < 1 || month > kMonths) return 0;
  const MonthStarts &starts = kMonthStarts[is_gregorian_leap_year(year)];
  return static_cast<unsigned int>(starts[month] - starts[month - 1]);
}
TALVERA_ALIAS(get_daysinmonth, UDA_DaysInMonth);

// Intentionally without a lower bound on the day.
extern "C" int ValiDateProc(int month, int day, int year) {
  if (month < 1 || month > kMonths) return 0;
  if (day > static_cast<int>(UDA_DaysInMonth(month, year))) return 0;
  return year >= 0 && year < 2070 ? 1 : 0;
}
TALVERA_ALIAS(is_valid_date, ValiDateProc);
