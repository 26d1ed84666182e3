/** @defgroup talvera_time Time
 *  Dates, clocks, time zones and SOAP date-times.
 *
 *  @include time.c
 *
 *  Dates are counted from 1970-01-01 and have no time zone unless an entry says "local"; the local
 *  zone is that of the TZ environment variable at the time of the call (POSIX, "Other Environment
 *  Variables"). No function logs, keeps state or, except as stated, reports an error in errno.
 *
 *  The functions that write time zones and SOAP date-times work like snprintf(): they write at most
 *  `size` bytes including the terminator, nothing when `size` is 0, and return the length of the
 *  whole string. A zone may be converted in place; input and output must not overlap otherwise.
 *  @{ */
#ifndef TALVERA_TIME_H
#define TALVERA_TIME_H

#include <stddef.h>
#include <stdint.h>
#include <time.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Dates
 *  @{ */

/** A broken-down date and time. */
struct datetime {
  int32_t second;  /**< 0 to 59 */
  int32_t minute;  /**< 0 to 59 */
  int32_t hour;    /**< 0 to 23 */
  int32_t day;     /**< day of the month, 1 to 31 */
  int32_t month;   /**< 1 to 12 */
  int32_t year;    /**< full year, 1970 or later */
  int32_t weekday; /**< (days since 1970-01-01, a Thursday, + 5) mod 7: unlike in tm_wday, 0 is
                        Saturday and 1 is Sunday. Set by stod(), ignored by dtos() */
};

/** Breaks down seconds since 1970-01-01 00:00:00.
 *
 *  Every year divisible by 4 counts as a leap year, which is right from 1901 to 2099. Before 1970,
 *  divisions truncate toward zero and fields are whatever the arithmetic gives, for example
 *  negative times of day and weekdays, and month 0 of 1969 for earlier years.
 *
 *  @param seconds  -2147483648 to 2147483647 (2038-01-19 03:14:07)
 *  @param[out] dt  the date; null is ignored
 */
TALVERA_API void stod(int32_t seconds, struct datetime *dt);
/** Same as stod(). @copydetails stod */
TALVERA_API void seconds_to_datetime(int32_t seconds, struct datetime *dt);

/** Converts a date to seconds; the inverse of stod() for non-negative values.
 *
 *  Fields out of range are carried arithmetically, modulo 2^32; a month below 1 counts as January,
 *  one above 12 as January of the next year. Dates before 1969 may come out one day late.
 *
 *  @param dt  the date
 *  @return seconds since 1970-01-01 00:00:00
 */
TALVERA_API uint32_t dtos(const struct datetime *dt) TALVERA_NONNULL(1);
/** Same as dtos(). @copydetails dtos */
TALVERA_API uint32_t datetime_to_seconds(const struct datetime *dt) TALVERA_NONNULL(1);

/** Returns the length of a month by the full Gregorian rule (1900 is not a leap year, 2000 is).
 *
 *  @param month  1 to 12
 *  @param year   full year
 *  @return number of days; 0 for any other month
 */
TALVERA_API unsigned int UDA_DaysInMonth(int month, int year);
/** Same as UDA_DaysInMonth(). @copydetails UDA_DaysInMonth */
TALVERA_API unsigned int get_daysinmonth(int month, int year);

/** Checks a date. Note the argument order; there is no lower bound on the day.
 *
 *  @param month  month
 *  @param day    day of the month; 0 and negative days pass
 *  @param year   full year
 *  @return 1 if @p month is 1 to 12, @p day at most the month's length and @p year 0 to 2069;
 *          otherwise 0
 */
TALVERA_API int ValiDateProc(int month, int day, int year);
/** Same as ValiDateProc(). @copydetails ValiDateProc */
TALVERA_API int is_valid_date(int month, int day, int year);

/** @}
 *  @name Clocks
 *  @{ */

/** Returns the time since boot, from sysinfo().
 *
 *  @return seconds since boot; 0 when sysinfo() fails
 */
TALVERA_API int32_t get_sysuptime(void);
/** Same as get_sysuptime(). @copydetails get_sysuptime */
TALVERA_API int32_t KS_GetTimeSeconds(void);

/** Returns the wall-clock time, or 0 while the clock has not been set.
 *
 *  @return time(); 0 while that is before 946080000 (1999-12-25 00:00:00 UTC). Negative times are
 *          returned unchanged
 */
TALVERA_API time_t get_utctime(void);
/** Same as get_utctime(). @copydetails get_utctime */
TALVERA_API time_t KS_getUTCtime(void);

/** Breaks down the time since boot, not the wall clock, as stod() does.
 *
 *  @param[out] dt  the date, counted from 1970-01-01; null is ignored
 */
TALVERA_API void get_datetime(struct datetime *dt);

/** Formats a duration as "days:hours:minutes:seconds", each with at least two digits.
 *
 *  @param[out] buf  at least 15 bytes
 *  @param seconds   the duration; a negative one counts as 0
 *  @return number of characters written, without the terminator
 */
TALVERA_API int GN_Sec2DayHrMinSecStr(char *buf, int32_t seconds) TALVERA_NONNULL(1);

/** @}
 *  @name Local time
 *  @{ */

/** Returns 12:MM:SS local time on the selected day, with the current minutes and seconds.
 *
 *  @param which    0 for yesterday, 2 for tomorrow (86400 seconds away, regardless of clock changes
 *                  in between); any other value for today
 *  @param recheck  when non-zero, the day is today regardless of @p which, unless the current local
 *                  hour is 12
 *  @return seconds since 1970, from mktime(); -1 with errno set when localtime_r() fails
 */
TALVERA_API time_t ytt_get_noontime(unsigned int which, uint8_t recheck);

/** Returns the offset of local time from UTC.
 *
 *  @param t  seconds since 1970
 *  @return number of seconds by which local time is ahead of UTC at @p t (negative west of
 *          Greenwich); 0 when localtime_r() fails
 */
TALVERA_API long get_gmt_offset(time_t t);

/** Returns the local day of the week.
 *
 *  @param t  seconds since 1970
 *  @return 0 for Sunday to 6 for Saturday; -1 with errno set when localtime_r() fails
 */
TALVERA_API int get_dow(time_t t);

/** @}
 *  @name Time zones and SOAP
 *  @{ */

/** Makes a POSIX TZ value from a configured zone, giving its offset an explicit sign.
 *
 *  A zone is a name (up to the first of "+-0123456789:"), an offset of such characters, and the
 *  name of daylight-saving time, if any. An offset without a sign is west of Greenwich, like one
 *  with "+". With a daylight-saving name and the country "us" (lower case only) the rule
 *  ",M3.2.0/2,M11.1.0/2" is added: second Sunday of March to first Sunday of November, at 02:00.
 *  ("EST5EDT", "us") gives "EST+5EDT,M3.2.0/2,M11.1.0/2"; ("GMT0", "gb") gives "GMT+0".
 *
 *  @param zone      configured zone; when it or @p country is empty, the result is "UNK"
 *  @param country   country code
 *  @param[out] buf  at least @p size bytes; may be @p zone
 *  @param size      size of @p buf in bytes, terminator included
 *  @return length of the whole string, which is truncated when the length is not below @p size
 */
TALVERA_API int get_posix_timezone(const char *zone, const char *country, char *buf, size_t size)
    TALVERA_NONNULL(1, 2);

/** Reduces a POSIX TZ value to a configured zone: no rule, no "+" before the offset.
 *
 *  "EST+5EDT,M3.2.0/2,M11.1.0/2" gives "EST5EDT". Intentionally, a zone east of Greenwich loses its
 *  name and offset, of which only "-" remains: "CET-1CEST,M3.5.0,M10.5.0/3" gives "-CEST", "JST-9"
 *  gives "-". Do not pass such zones.
 *
 *  @param[in,out] tz  TZ value; cut at its first "," in place
 *  @param[out] buf    at least @p size bytes; may be @p tz
 *  @param size        size of @p buf in bytes, terminator included
 *  @return length of the whole string, which is truncated when the length is not below @p size
 */
TALVERA_API int convert_tz_from_posix(char *tz, char *buf, size_t size) TALVERA_NONNULL(1);

/** Formats the current local time as a SOAP date-time (XML Schema dateTime), such as
 *  "2024-02-29T12:00:00+05:30", with "Z" for an offset of 0.
 *
 *  An offset between -1 hour and 0 is written with a plus sign.
 *
 *  @param clock_set  "1" when the clock is set; anything else gives the unknown time
 *                    "0001-01-01T00:00:00Z", and so does a failure of localtime_r()
 *  @param[out] buf   at least @p size bytes; 26 suffice for years up to 9999
 *  @param size       size of @p buf in bytes, terminator included
 *  @return length of the whole string, which is truncated when the length is not below @p size
 */
TALVERA_API int get_soap_datetimestr(const char *clock_set, char *buf, size_t size)
    TALVERA_NONNULL(1);

/** @} */

/** Raises an integer to a power.
 *
 *  @param base  the base
 *  @param exp   the exponent
 *  @return @p base raised to @p exp, modulo 2^32; 1 when @p exp is below 1
 */
TALVERA_API int32_t powi(int32_t base, int32_t exp);

TALVERA_END_DECLS

#endif
/** @} */
