// Time zone strings and the SOAP date-time.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>

#include "internal/local_time.h"
#include "talvera/time.h"

namespace talvera::time {
namespace {

constexpr std::string_view kUnitedStatesRule = ",M3.2.0/2,M11.1.0/2";
constexpr char kUnknownTime[] = "0001-01-01T00:00:00Z";

// The three parts of a zone string.
struct Zone {
  explicit Zone(const char *text)
      : name(text, std::strcspn(text, kOffsetCharacters)),
        after_name(text + name.size()),
        offset(after_name, std::strspn(after_name, kOffsetCharacters)),
        daylight_name(after_name + offset.size()) {}

  static constexpr char kOffsetCharacters[] = "+-0123456789:";
  std::string_view name;
  const char *after_name;  // offset and daylight-saving name
  std::string_view offset;
  std::string_view daylight_name;
};

// Copies as much as fits; source and destination may overlap.
void put(std::span<char> buffer, std::size_t at, std::string_view text) {
  if (at >= buffer.size()) return;
  std::memmove(buffer.data() + at, text.data(), std::min(text.size(), buffer.size() - at));
}

// Concatenates the pieces like snprintf(). The head and the tail may overlap `out` (the head only
// at its start), so the tail is moved to its final place before anything else is written.
int join(char *out, std::size_t size, std::string_view head, std::string_view sign,
         std::string_view tail, std::string_view rule) {
  const std::size_t length = head.size() + sign.size() + tail.size() + rule.size();
  if (size > 0) {
    const std::span buffer{out, size - 1};
    put(buffer, head.size() + sign.size(), tail);
    put(buffer, 0, head);
    put(buffer, head.size(), sign);
    put(buffer, length - rule.size(), rule);
    out[std::min(length, size - 1)] = '\0';
  }
  return static_cast<int>(length);
}

// The UTC offset suffix of a date-time. Intentionally takes its sign from the whole hours: -00:30
// prints as +00:30.
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
}  // namespace talvera::time

using namespace talvera::time;

extern "C" int get_posix_timezone(const char *zone, const char *country, char *buf, size_t size) {
  if (*zone == '\0' || *country == '\0') return join(buf, size, "UNK", "", "", "");
  const Zone parts(zone);
  const bool has_offset = !parts.offset.empty();
  const bool has_sign = has_offset && (parts.offset.front() == '-' || parts.offset.front() == '+');
  const bool has_rule =
      has_offset && !parts.daylight_name.empty() && std::strcmp(country, "us") == 0;
  return join(buf, size, parts.name, has_offset && !has_sign ? "+" : "", parts.after_name,
              has_rule ? kUnitedStatesRule : "");
}

extern "C" int convert_tz_from_posix(char *tz, char *buf, size_t size) {
  // Truncated only if there is a rule: without one, the caller's string may be a constant.
  if (char *rule = std::strchr(tz, ',')) *rule = '\0';
  const Zone parts(tz);
  // Intentionally, for a zone east of Greenwich only the sign remains before the daylight-saving
  // name.
  if (parts.offset.starts_with('-')) return join(buf, size, "", "-", parts.daylight_name, "");
  const std::size_t sign_length = parts.offset.starts_with('+') ? 1 : 0;
  return join(buf, size, parts.name, "", parts.after_name + sign_length, "");
}

extern "C" int get_soap_datetimestr(const char *clock_set, char *buf, size_t size) {
  std::tm now;
  if (std::strcmp(clock_set, "1") != 0 || !talvera::local_time(time(nullptr), now)) {
    return std::snprintf(buf, size, "%s", kUnknownTime);
  }
  const OffsetText offset(now.tm_gmtoff);
  return std::snprintf(buf, size, "%4d-%02d-%02dT%02d:%02d:%02d%s", now.tm_year + 1900,
                       now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec,
                       offset.c_str());
}
