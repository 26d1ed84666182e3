// Time zone strings and the SOAP date-time.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

#include "internal/local_time.h"
#include "talvera/time.h"

namespace talvera::time {
namespace {

constexpr char kOffsetCharacters[] = "+-0123456789:";
constexpr char kUnitedStatesRule[] = ",M3.2.0/2,M11.1.0/2";

// Counts every character and stores those that fit, like snprintf().
struct Output {
  char *text;
  std::size_t size;
  std::size_t length = 0;

  [[gnu::always_inline]] void put(char c) {
    if (length + 1 < size) text[length] = c;
    ++length;
  }
};

// Converts a zone string to a TZ value for `country` or, if that is null, a TZ value without a rule
// to a zone string. Writes like snprintf(), also in place.
int rewrite(const char *zone, const char *country, char *buf, std::size_t size) {
  std::size_t name_length = std::strcspn(zone, kOffsetCharacters);
  const char *rest = zone + name_length;
  const char *const daylight_name = rest + std::strspn(rest, kOffsetCharacters);
  char sign = '\0';            // inserted between name and rest
  const char *rule = nullptr;  // appended to the rest
  if (country != nullptr) {
    if (*rest != '\0' && *rest != '+' && *rest != '-') sign = '+';
    if (*daylight_name != '\0' && std::strcmp(country, "us") == 0) rule = kUnitedStatesRule;
  } else if (*rest == '+') {
    ++rest;
  } else if (*rest == '-') {
    // Intentionally, for a zone east of Greenwich only the sign remains before the daylight-saving
    // name.
    name_length = 0;
    sign = '-';
    rest = daylight_name;
  }

  Output out{buf, size};
  while (out.length < name_length)
    out.put(zone[out.length]);
  // In place, an inserted sign shifts the rest by one character: each character is read before the
  // one before it is written.
  for (char next = sign != '\0' ? sign : *rest++; next != '\0';) {
    const char c = next;
    next = *rest++;
    if (next == '\0' && rule != nullptr) {
      rest = std::exchange(rule, nullptr);
      next = *rest++;
    }
    out.put(c);
  }
  if (size > 0) buf[out.length < size ? out.length : size - 1] = '\0';
  return static_cast<int>(out.length);
}

}  // namespace
}  // namespace talvera::time

using namespace talvera::time;

extern "C" int get_posix_timezone(const char *zone, const char *country, char *buf, size_t size) {
  if (*zone == '\0' || *country == '\0') zone = "UNK";
  return rewrite(zone, country, buf, size);
}

extern "C" int convert_tz_from_posix(char *tz, char *buf, size_t size) {
  // Truncated only if there is a rule: without one, the caller's string may be a constant.
  if (char *rule = std::strchr(tz, ',')) *rule = '\0';
  return rewrite(tz, nullptr, buf, size);
}

extern "C" int get_soap_datetimestr(const char *clock_set, char *buf, size_t size) {
  std::tm now;
  if (std::strcmp(clock_set, "1") != 0 || !talvera::local_time(time(nullptr), now)) {
    return std::snprintf(buf, size, "0001-01-01T00:00:00Z");
  }
  // Intentionally takes the sign of the UTC offset from its whole hours: -00:30 prints as +00:30.
  const long east = now.tm_gmtoff;
  return std::snprintf(
      buf, size,
      east == 0 ? "%4d-%02d-%02dT%02d:%02d:%02dZ" : "%4d-%02d-%02dT%02d:%02d:%02d%+.2ld:%.2ld",
      now.tm_year + 1900, now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec,
      east / 3600, std::labs(east % 3600 / 60));
}
