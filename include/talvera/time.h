/** @file
 *  Seconds, dates, clocks and time zones.
 *
 *  @code
 *  struct datetime dt;
 *  char zone[64];
 *  stod(951782400, &dt);                                    // 2000-02-29 00:00:00
 *  get_posix_timezone("EST5EDT", "us", zone, sizeof zone);  // EST+5EDT,M3.2.0/2,M11.1.0/2
 *  printf("%d-%02d-%02d %s\n", dt.year, dt.month, dt.day, zone);
 *  @endcode
 *
 *  A date is counted from 1970-01-01 without any time zone unless a function says "local"; the
 *  local zone is that of the TZ environment variable at the time of the call (POSIX, "Other
 *  Environment Variables"). No function logs or sets errno on purpose, and none keeps state.
 *
 *  The text functions of time zones and SOAP write as snprintf() does: at most `size` bytes with
 *  the terminator, nothing when `size` is 0, and return the length that the whole text needs. A
 *  zone may be converted in place; any other overlap of input and output is not allowed.
 */
#ifndef TALVERA_TIME_H
#define TALVERA_TIME_H

#include <stddef.h>
#include <stdint.h>
#include <time.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** A broken-down date and time, owned by the caller. */
struct datetime {
  int32_t second;  /**< 0 to 59 */
  int32_t minute;  /**< 0 to 59 */
  int32_t hour;    /**< 0 to 23 */
  int32_t day;     /**< day of the month, 1 to 31 */
  int32_t month;   /**< 1 to 12 */
  int32_t year;    /**< full year, 1970 onward */
  int32_t weekday; /**< (days since 1970-01-01 + 5) mod 7: 5 for that Thursday, so 1 is a Sunday,
                        unlike tm_wday; written by stod(), ignored by dtos() */
};

/** Breaks down seconds since 1970-01-01 00:00:00.
 *
 *  Every year divisible by 4 is a leap year here, which holds from 1901 to 2099. Before 1970 the
 *  divisions truncate toward zero and the fields are what the arithmetic gives: negative times of
 *  day and weekdays, and for dates before 1969 year 1969, month 0 and a day of 0 or less.
 *
 *  @param seconds  -2147483648 to 2147483647 (2038-01-19 03:14:07)
 *  @param[out] dt  the date; null is ignored
 */
TALVERA_API void stod(int32_t seconds, struct datetime *dt);
/** Same as stod(). @copydetails stod */
TALVERA_API void seconds_to_datetime(int32_t seconds, struct datetime *dt);

/** The inverse of stod() for all that is not negative.
 *
 *  Fields out of their range count as arithmetic has it, modulo 2^32; a month below 1 counts as
 *  January and one above 12 as the year's end.
 *
 *  @param dt  the date
 *  @return seconds since 1970-01-01 00:00:00
 */
TALVERA_API uint32_t dtos(const struct datetime *dt) TALVERA_NONNULL(1);
/** Same as dtos(). @copydetails dtos */
TALVERA_API uint32_t datetime_to_seconds(const struct datetime *dt) TALVERA_NONNULL(1);

/** The time since boot.
 *
 *  @return seconds since boot, from sysinfo(); 0 should that fail
 */
TALVERA_API int32_t get_sysuptime(void);
/** Same as get_sysuptime(). @copydetails get_sysuptime */
TALVERA_API int32_t KS_GetTimeSeconds(void);

/** The wall clock.
 *
 *  @return time(), or 0 while that is before 946080000 (1999-12-25 00:00:00 UTC): a clock that was
 *          never set counts as no time at all; times before 1970 count as late ones
 */
TALVERA_API time_t get_utctime(void);
/** Same as get_utctime(). @copydetails get_utctime */
TALVERA_API time_t KS_getUTCtime(void);

/** The length of a month.
 *
 *  @param month  1 to 12; any other gives 0
 *  @param year   full year
 *  @return days in the month by the full Gregorian rule (1900 is no leap year, 2000 is one)
 */
TALVERA_API unsigned int UDA_DaysInMonth(int month, int year);
/** Same as UDA_DaysInMonth(). @copydetails UDA_DaysInMonth */
TALVERA_API unsigned int get_daysinmonth(int month, int year);

/** Checks a date; mind the order month, day, year.
 *
 *  There is no lower bound on the day: 0 and negative days pass.
 *
 *  @param month  month
 *  @param day    day of the month
 *  @param year   full year
 *  @return 1 if @p month is 1 to 12, @p day at most the month's length and @p year 0 to 2069; else
 *          0
 */
TALVERA_API int ValiDateProc(int month, int day, int year);
/** Same as ValiDateProc(). @copydetails ValiDateProc */
TALVERA_API int is_valid_date(int month, int day, int year);

/** Lays out the time since boot, not the wall clock, as a date: stod() of get_sysuptime().
 *
 *  @param[out] dt  the date, counted from 1970-01-01; null is ignored
 */
TALVERA_API void get_datetime(struct datetime *dt);

/** Writes a duration as "days:hours:minutes:seconds", each with at least two digits.
 *
 *  @param[out] buf  room for the text: 15 bytes are enough for every duration
 *  @param seconds   the duration; a negative one counts as 0
 *  @return characters written, without the terminator
 */
TALVERA_API int GN_Sec2DayHrMinSecStr(char *buf, int32_t seconds) TALVERA_NONNULL(1);

/** The local time of 12 o'clock of a day, with the minutes and seconds of now.
 *
 *  @param which    0 yesterday, 2 tomorrow (by 86400 seconds, whatever the clocks do in between);
 *                  any other value today
 *  @param recheck  0 for just that; otherwise the day is dropped again, and the result is today's,
 *                  unless @p which is 0 or 2 and the local hour now is 12
 *  @return seconds since 1970, as mktime() gives them; -1 with errno set when localtime_r() cannot
 *          break now down
 */
TALVERA_API time_t ytt_get_noontime(unsigned int which, uint8_t recheck);

/** The offset of the local zone.
 *
 *  @param t  seconds since 1970
 *  @return how many seconds local time is ahead of UTC at time @p t (negative west of Greenwich); 0
 *          when localtime_r() cannot break @p t down
 */
TALVERA_API long get_gmt_offset(time_t t);

/** The day of the week.
 *
 *  @param t  seconds since 1970
 *  @return the local day of the week at time @p t, 0 Sunday to 6 Saturday; -1 with errno set when
 *          localtime_r() cannot break @p t down
 */
TALVERA_API int get_dow(time_t t);

/** Raises an integer to a power.
 *
 *  @param base  the base
 *  @param exp   the exponent
 *  @return @p base raised to @p exp modulo 2^32; 1 when @p exp is below 1
 */
TALVERA_API int32_t powi(int32_t base, int32_t exp);

/** Makes a POSIX TZ value of a configured zone, always with an explicit sign.
 *
 *  A zone is a name (up to the first of "+-0123456789:"), an offset of such characters, and the
 *  name of daylight-saving time, if any. An offset without a sign, as one with "+", is west of
 *  Greenwich. With a daylight-saving name and the country "us" (in just these letters) the rule
 *  ",M3.2.0/2,M11.1.0/2" is added: the second Sunday of March to the first of November, at 02:00.
 *  ("EST5EDT", "us") gives "EST+5EDT,M3.2.0/2,M11.1.0/2", ("GMT0", "gb") gives "GMT+0".
 *
 *  @param zone      configured zone; when it or @p country is empty, the text is "UNK"
 *  @param country   country code
 *  @param[out] out  room for @p size bytes; may be @p zone
 *  @param size      bytes of room, terminator included
 *  @return length of the whole text, which is cut when that is not below @p size
 */
TALVERA_API int get_posix_timezone(const char *zone, const char *country, char *out, size_t size)
    TALVERA_NONNULL(1, 2);

/** Strips a POSIX TZ value back to a configured zone: no rule, no "+" before the offset.
 *
 *  "EST+5EDT,M3.2.0/2,M11.1.0/2" gives "EST5EDT". A zone east of Greenwich loses its name and
 *  offset, of which "-" alone remains: "CET-1CEST,M3.5.0,M10.5.0/3" gives "-CEST", "JST-9" gives
 *  "-". This is meant; do not feed such zones through here.
 *
 *  @param[in,out] tz  the TZ value; it is cut at its first "," in place
 *  @param[out] out    room for @p size bytes; may be @p tz
 *  @param size        bytes of room, terminator included
 *  @return length of the whole text, which is cut when that is not below @p size
 */
TALVERA_API int convert_tz_from_posix(char *tz, char *out, size_t size) TALVERA_NONNULL(1);

/** Writes the local time now as a SOAP date-time (XML Schema dateTime), such as
 *  "2024-02-29T12:00:00+05:30", with "Z" in place of an offset of 0.
 *
 *  An offset between -1 hour and 0 is written with a plus sign.
 *
 *  @param clock_set  "1" when the clock is set; for anything else the text is the unknown time
 *                    "0001-01-01T00:00:00Z"
 *  @param[out] out   room for @p size bytes; 26 take every time of the years up to 9999
 *  @param size       bytes of room, terminator included
 *  @return length of the whole text, which is cut when that is not below @p size
 */
TALVERA_API int get_soap_datetimestr(const char *clock_set, char *out, size_t size)
    TALVERA_NONNULL(1);

TALVERA_END_DECLS

#endif
