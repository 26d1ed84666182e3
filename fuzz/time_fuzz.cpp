// Time zones, SOAP times and dates from any text, into buffers of every size.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/line.h"
#include "talvera/time.h"

namespace {

// The text is whole, or cut and terminated, in its block.
void check(const char *text, std::size_t room, int length) {
  if (length < 0 || (room > 0 && std::strlen(text) >= room)) std::abort();
  const auto whole = static_cast<std::size_t>(length);
  if (room > whole && std::strlen(text) != whole) std::abort();
}

void convert_zones(Lines &lines, std::size_t room) {
  const std::unique_ptr<char[]> out(new char[room]);
  const Line zone = lines.next();
  const Line country = lines.next();
  check(out.get(), room, get_posix_timezone(zone.get(), country.get(), out.get(), room));
  check(out.get(), room, get_posix_timezone(zone.get(), "us", out.get(), room));
  check(out.get(), room, convert_tz_from_posix(zone.get(), out.get(), room));
}

void local_times(const Line &zone, std::size_t room, std::int32_t when) {
  setenv("TZ", zone.get(), 1);
  get_gmt_offset(when);
  get_dow(when);
  ytt_get_noontime(static_cast<unsigned>(when) % 4, static_cast<std::uint8_t>(when) & 1);
  const std::unique_ptr<char[]> out(new char[room]);
  check(out.get(), room, get_soap_datetimestr("1", out.get(), room));
  check(out.get(), room, get_soap_datetimestr(zone.get(), out.get(), room));
}

void dates(std::int32_t when) {
  datetime date;
  stod(when, &date);
  if (when >= 0 && dtos(&date) != static_cast<std::uint32_t>(when)) std::abort();
  std::memset(&date, when, sizeof date);
  dtos(&date);
  is_valid_date(date.month, date.day, date.year);
  get_daysinmonth(when, when);
  const std::unique_ptr<char[]> text(new char[15]);
  GN_Sec2DayHrMinSecStr(text.get(), when);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  std::int32_t when;
  if (size < sizeof when + 1) return 0;
  std::memcpy(&when, data, sizeof when);
  const std::size_t room = data[sizeof when] % 64;
  Lines lines(data + sizeof when + 1, size - sizeof when - 1);
  convert_zones(lines, room);
  local_times(lines.next(), room, when);
  dates(when);
  return 0;
}
