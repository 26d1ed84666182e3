// Time zones, SOAP times and dates from arbitrary text, into buffers of every size.
#include "fuzz/fuzz.h"
#include "talvera/time.h"

// The output is complete, or truncated and terminated.
template <typename Write>
static void check(std::size_t room, Write write) {
  const auto out = block(room);
  const int length = write(out.get());
  require(length >= 0);
  if (room > 0) {
    require(std::strlen(out.get()) == std::min(static_cast<std::size_t>(length), room - 1));
  }
}

FUZZ(input) {
  const auto when = input.number<std::int32_t>();
  const std::size_t room = input.byte() % 64;
  const Text zone = input.line(), country = input.line(), local = input.line();
  for (const char *where : {static_cast<char *>(country), const_cast<char *>("us")})
    check(room, [&](char *out) { return get_posix_timezone(zone, where, out, room); });
  check(room, [&](char *out) { return convert_tz_from_posix(zone, out, room); });

  setenv("TZ", local, 1);
  get_gmt_offset(when);
  get_dow(when);
  ytt_get_noontime(static_cast<unsigned>(when) % 4, static_cast<std::uint8_t>(when) & 1);
  for (const char *clock_set : {"1", "0"})
    check(room, [&](char *out) { return get_soap_datetimestr(clock_set, out, room); });

  datetime date;
  stod(when, &date);
  require(when < 0 || dtos(&date) == static_cast<std::uint32_t>(when));
  std::memset(&date, when, sizeof date);
  dtos(&date);
  is_valid_date(date.month, date.day, date.year);
  get_daysinmonth(when, when);
  GN_Sec2DayHrMinSecStr(block(15).get(), when);
}
