// Bindings of time conversions, clocks and zones.
#include "runner/bind.h"
#include "talvera/time.h"

FIELDS(datetime, &R::year, &R::month, &R::day, &R::hour, &R::minute, &R::second, &R::weekday);

namespace talvera::test {
namespace {

BIND(stod, seconds_to_datetime, dtos, datetime_to_seconds, UDA_DaysInMonth, get_daysinmonth,
     ValiDateProc, is_valid_date, get_sysuptime, KS_GetTimeSeconds, get_utctime, KS_getUTCtime,
     get_datetime, GN_Sec2DayHrMinSecStr, ytt_get_noontime, get_gmt_offset, get_dow, powi);

// Writes with every size up to a sufficient one into a buffer that contains `before`: the result
// must be the whole length, the text truncated to fit, and nothing written beyond.
template <typename Write>
std::string with_all_sizes(Call &call, const char *before, Write write) {
  std::string whole(255, '\0');
  whole.replace(0, std::strlen(before), before);
  const int length = write(whole.data(), whole.size());
  whole = whole.c_str();
  for (std::size_t size = 0; size <= whole.size() + 1; ++size) {
    GuardedBuffer &out = call.memory(std::max(size, std::strlen(before) + 1), 1);
    std::strcpy(out.data(), before);
    const std::string rest = out.content().substr(size);
    const std::string cut = size == 0 ? "" : whole.substr(0, size - 1) + '\0';
    const int again = write(out.data(), size);
    if (again != length || out.content().substr(0, std::min(size, cut.size())) != cut ||
        out.content().substr(size) != rest)
      return "differs with size " + std::to_string(size);
  }
  return std::to_string(length) + ' ' + in_quotes(whole + '\0');
}

BIND_AS(get_posix_timezone, [](Call &call, const char *zone, const char *country) {
  const auto apart = [=](char *out, std::size_t size) {
    return get_posix_timezone(zone, country, out, size);
  };
  const auto in_place = [=](char *out, std::size_t size) {
    return get_posix_timezone(out, country, out, size);
  };
  const std::string text = with_all_sizes(call, "", apart);
  return text == with_all_sizes(call, zone, in_place) ? text : "differs in place";
});
BIND_AS(convert_tz_from_posix, [](Call &call, char *tz) {
  return with_all_sizes(
      call, "", [=](char *out, std::size_t size) { return convert_tz_from_posix(tz, out, size); });
});
BIND_AS(convert_in_place,
        [](char *tz) { return convert_tz_from_posix(tz, tz, std::strlen(tz) + 1); });
BIND_AS(get_soap_datetimestr, [](Call &call, const char *clock_set) {
  return with_all_sizes(call, "", [=](char *out, std::size_t size) {
    return get_soap_datetimestr(clock_set, out, size);
  });
});

// The characters that may be part of an offset: at its start and at its end.
BIND_AS(offset_characters, [] {
  std::string starting, ending;
  for (int code = 1; code < 256; ++code) {
    const char c = static_cast<char>(code);
    char out[64];
    get_posix_timezone((std::string("ABC") + c + "5DEF").c_str(), "x", out, sizeof out);
    if (out[3] == '+' || out[3] == '-') starting += c;
    get_posix_timezone((std::string("ABC5") + c).c_str(), "us", out, sizeof out);
    if (std::strchr(out, ',') == nullptr || c == ',') ending += c;
  }
  return in_quotes(starting) + ' ' + in_quotes(ending);
});

// Converts every day in both directions: the first difference from the C library, or none.
BIND_AS(day_that_differs, [] {
  constexpr std::int32_t kDay = 86400, kDays = INT32_MAX / kDay;
  for (std::int32_t day = 0; day <= kDays; ++day) {
    const std::int32_t seconds = day * kDay + (day * 7919) % (day < kDays ? kDay : 11647);
    const std::time_t when = seconds;
    std::tm tm;
    gmtime_r(&when, &tm);
    datetime dt;
    stod(seconds, &dt);
    if (dt.second != tm.tm_sec || dt.minute != tm.tm_min || dt.hour != tm.tm_hour ||
        dt.day != tm.tm_mday || dt.month != tm.tm_mon + 1 || dt.year != tm.tm_year + 1900 ||
        dt.weekday != (tm.tm_wday + 1) % 7 || dtos(&dt) != static_cast<std::uint32_t>(seconds))
      return day;
  }
  return -1;
});

}  // namespace
}  // namespace talvera::test
