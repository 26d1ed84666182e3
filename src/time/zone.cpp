// Time zone strings and the SOAP date-time.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "internal/local_time.h"
#include "talvera/time.h"

namespace {

constexpr char kUnitedStatesRule[] = "M3.2.0/2,M11.1.0/2";
constexpr char kUnknownTime[] = "0001-01-01T00:00:00Z";

// The three parts of a zone string; the last runs to the string's end.
struct Zone {
  explicit Zone(const char *text)
      : name(text, std::strcspn(text, kOffsetCharacters)),
        offset(name.end(), std::strspn(name.end(), kOffsetCharacters)),
        daylight_name(offset.end()) {}

  static constexpr char kOffsetCharacters[] = "+-0123456789:";
  std::string_view name;
  std::string_view offset;
  const char *daylight_name;
};

// A part as the two arguments of "%.*s".
#define TALVERA_PART(view) static_cast<int>((view).size()), (view).data()

// The offset from UTC as the date-time's suffix; the sign is that of the whole hours.
class OffsetText {
 public:
  explicit OffsetText(long seconds_east) {
    if (seconds_east == 0) {
      std::snprintf(text_, sizeof text_, "Z");
    } else {
      std::snprintf(text_, sizeof text_, "%+.2ld:%.2ld", seconds_east / 3600,
                    std::labs(seconds_east % 3600 / 60));
    }
  }
  [[nodiscard]] const char *c_str() const { return text_; }

 private:
  char text_[32];
};

}  // namespace

extern "C" int get_posix_timezone(const char *zone, const char *country, char *out, size_t size) {
  if (*zone == '\0' || *country == '\0') return std::snprintf(out, size, "UNK");
  const Zone parts(zone);
  if (parts.offset.empty()) return std::snprintf(out, size, "%s", zone);

  std::string_view offset = parts.offset;
  const char sign = offset.front() == '-' ? '-' : '+';
  if (offset.front() == '-' || offset.front() == '+') offset.remove_prefix(1);
  const bool has_rule = *parts.daylight_name != '\0' && std::strcmp(country, "us") == 0;
  return std::snprintf(out, size, "%.*s%c%.*s%s%s%s", TALVERA_PART(parts.name), sign,
                       TALVERA_PART(offset), parts.daylight_name, has_rule ? "," : "",
                       has_rule ? kUnitedStatesRule : "");
}

extern "C" int convert_tz_from_posix(char *tz, char *out, size_t size) {
  tz[std::strcspn(tz, ",")] = '\0';
  const Zone parts(tz);
  std::string_view offset = parts.offset;
  // Meant: of a zone east of Greenwich only the sign is left before the daylight-saving name.
  if (offset.starts_with('-')) return std::snprintf(out, size, "-%s", parts.daylight_name);
  if (offset.starts_with('+')) offset.remove_prefix(1);
  return std::snprintf(out, size, "%.*s%.*s%s", TALVERA_PART(parts.name), TALVERA_PART(offset),
                       parts.daylight_name);
}

extern "C" int get_soap_datetimestr(const char *clock_set, char *out, size_t size) {
  const auto now =
      std::strcmp(clock_set, "1") == 0 ? talvera::local_time(time(nullptr)) : std::nullopt;
  if (!now) return std::snprintf(out, size, "%s", kUnknownTime);
  return std::snprintf(out, size, "%4d-%02d-%02dT%02d:%02d:%02d%s", now->tm_year + 1900,
                       now->tm_mon + 1, now->tm_mday, now->tm_hour, now->tm_min, now->tm_sec,
                       OffsetText(now->tm_gmtoff).c_str());
}
