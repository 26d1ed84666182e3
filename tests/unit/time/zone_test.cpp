// Time zone strings and the SOAP date-time.
#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <string>

#include "support/system_double.h"
#include "talvera/time.h"
#include "unit/time/zone_fixture.h"

namespace talvera::test {
namespace {

// Calls write(out, size) with rooms of all sizes up to one that is large enough: the text is cut to
// fit, its whole length returned, and nothing touched beyond the room. The room holds `before`
// when it is written to, if that is given.
template <typename Write>
void expect_text(const std::string &text, Write write, const char *before = nullptr) {
  for (std::size_t size = 0; size <= text.size() + 2; ++size) {
    char out[256];
    std::memset(out, '#', sizeof out);
    if (before != nullptr) std::strcpy(out, before);
    const char behind = out[size];
    ASSERT_EQ(write(out, size), static_cast<int>(text.size())) << size;
    if (size > 0) {
      ASSERT_EQ(std::string(out), text.substr(0, size - 1)) << size;
    }
    ASSERT_EQ(out[size], behind) << size;
  }
}

TEST(Zone, ToPosix) {
  const std::string long_name(150, 'Z');
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"EST5EDT", "us", "EST+5EDT,M3.2.0/2,M11.1.0/2"},
      {"MSK-3MSD", "us", "MSK-3MSD,M3.2.0/2,M11.1.0/2"},
      {"EST+5EDT", "us", "EST+5EDT,M3.2.0/2,M11.1.0/2"},
      {"PST8PDT", "US", "PST+8PDT"},
      {"PST8PDT", "usa", "PST+8PDT"},
      {"JST-9", "us", "JST-9"},  // no daylight-saving name, no rule
      {"UTC", "us", "UTC"},
      {"ABC:30", "x", "ABC+:30"},
      {"ABC+-5X", "x", "ABC+-5X"},
      {"5X", "us", "+5X,M3.2.0/2,M11.1.0/2"},
      {"ABC+", "us", "ABC+"},
      {"ABC5X6Y", "x", "ABC+5X6Y"},
      {"", "us", "UNK"},
      {"EST5EDT", "", "UNK"},
      {long_name + "5EDT", "x", long_name + "+5EDT"},
  };
  for (const auto &[zone, country, posix] : cases) {
    SCOPED_TRACE(zone + ' ' + country);
    expect_text(posix, [&](char *out, std::size_t size) {
      return get_posix_timezone(zone.c_str(), country.c_str(), out, size);
    });
    const auto in_place = [&](char *out, std::size_t size) {
      return get_posix_timezone(out, country.c_str(), out, size);
    };
    expect_text(posix, in_place, zone.c_str());
  }
}

TEST(Zone, FromPosix) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"EST+5EDT,M3.2.0/2,M11.1.0/2", "EST+5EDT", "EST5EDT"},
      {"EST5EDT", "EST5EDT", "EST5EDT"},
      {"UTC,M3", "UTC", "UTC"},
      {"ABC:30DEF", "ABC:30DEF", "ABC:30DEF"},
      {"ABC++5DEF", "ABC++5DEF", "ABC+5DEF"},
      // East of Greenwich the sign alone is left of name and offset.
      {"CET-1CEST,M3.5.0,M10.5.0/3", "CET-1CEST", "-CEST"},
      {"-9X", "-9X", "-X"},
      {"", "", ""},
      {",M3", "", ""},
  };
  for (const auto &[tz, left, zone] : cases) {
    SCOPED_TRACE(tz);
    expect_text(zone, [&tz = tz, &left = left](char *out, std::size_t size) {
      std::string input = tz;
      const int length = convert_tz_from_posix(input.data(), out, size);
      EXPECT_STREQ(input.c_str(), left.c_str());
      return length;
    });
    const auto in_place = [](char *out, std::size_t size) {
      return convert_tz_from_posix(out, out, size);
    };
    // The cut at the comma may lie behind the room.
    if (tz == left) expect_text(zone, in_place, tz.c_str());
    char out[64];
    std::strcpy(out, tz.c_str());
    EXPECT_EQ(in_place(out, sizeof out), static_cast<int>(zone.size()));
    EXPECT_EQ(out, zone);
  }
}

// Each character is one of the offset or not: at its start, and at its end.
TEST(Zone, CharactersOfTheOffset) {
  for (int code = 1; code < 256; ++code) {
    const std::string c(1, static_cast<char>(code));
    const bool belongs = std::strchr("+-0123456789:", code) != nullptr;
    SCOPED_TRACE(code);
    char out[64];

    get_posix_timezone(("ABC" + c + "5DEF").c_str(), "x", out, sizeof out);
    const std::string sign = c == "+" || c == "-" ? c : "+" + c;
    EXPECT_EQ(out, belongs ? "ABC" + sign + "5DEF" : "ABC" + c + "+5DEF");
    get_posix_timezone(("ABC5" + c).c_str(), "us", out, sizeof out);
    EXPECT_EQ(out, "ABC+5" + c + (belongs ? "" : ",M3.2.0/2,M11.1.0/2"));

    std::string tz = "ABC-5" + c + "DEF";
    convert_tz_from_posix(tz.data(), out, sizeof out);
    EXPECT_EQ(out, belongs ? "-DEF" : c == "," ? "-" : "-" + c + "DEF");
  }
}

TEST(Zone, ConstantsWithoutRuleAreNotWrittenTo) {
  for (const char *constant : {"", "EST5EDT"}) {
    char out[16];
    convert_tz_from_posix(const_cast<char *>(constant), out, sizeof out);
    EXPECT_STREQ(out, constant);
  }
}

TEST(Zone, SoapDateTime) {
  SystemDouble system;
  system.set_time(951782400 + 3 * 3600 + 4 * 60 + 5);  // 2000-02-29 03:04:05 UTC
  const std::tuple<const char *, const char *, std::string> cases[] = {
      {"1", "UTC0", "2000-02-29T03:04:05Z"},
      {"1", "IST-5:30", "2000-02-29T08:34:05+05:30"},
      {"1", "NST3:30", "2000-02-28T23:34:05-03:30"},
      {"1", "LINT-14", "2000-02-29T17:04:05+14:00"},
      {"1", "ABC0:30", "2000-02-29T02:34:05+00:30"},  // the sign is that of 0 hours
      {"1", "ABC-0:00:30", "2000-02-29T03:04:35+00:00"},
      {"0", "UTC0", "0001-01-01T00:00:00Z"},
      {"11", "UTC0", "0001-01-01T00:00:00Z"},
  };
  for (const auto &[clock_set, zone, text] : cases) {
    SCOPED_TRACE(std::string(clock_set) + ' ' + zone);
    const LocalZone local(zone);
    expect_text(text, [clock_set = clock_set](char *out, std::size_t size) {
      return get_soap_datetimestr(clock_set, out, size);
    });
  }
  if (sizeof(std::time_t) == 8) {
    system.set_time(static_cast<std::time_t>(INT64_MAX));
    char out[32];
    get_soap_datetimestr("1", out, sizeof out);
    EXPECT_STREQ(out, "0001-01-01T00:00:00Z");
  }
}

}  // namespace
}  // namespace talvera::test
