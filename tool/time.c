/* talvera time: dates and durations, clocks, time zones. */
#include "talvera/time.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "talvera/strutil.h"
#include "tool.h"

enum { DURATION_SIZE = 15, SOAP_SIZE = 26, FIRST_YEAR = 1970, LAST_YEAR = 2069 };

/* ---- Dates ----------------------------------------------------------------------------------- */

static void print_date(const struct datetime *date) {
  format_field("date", "%04d-%02d-%02d", date->year, date->month, date->day);
  format_field("time", "%02d:%02d:%02d", date->hour, date->minute, date->second);
}

static int run_stod(int argc, char **argv) {
  struct datetime date;
  long seconds;

  (void)argc;
  if (signed_argument("SECONDS", argv[0], &seconds) != DONE) return MISUSED;
  stod((int32_t)seconds, &date);
  record_begin();
  print_date(&date);
  number_field("weekday", date.weekday);
  record_end();
  return DONE;
}

/* Parses three numbers joined by a delimiter; nonzero for anything else. The text size excludes
 * numbers above 32 bits. */
static int read_triple(const char *text, char delimiter, int32_t *first, int32_t *second,
                       int32_t *third) {
  int32_t *const fields[] = {first, second, third};
  char copy[11], *cursor = copy;
  int i;

  if (strlen(text) >= sizeof copy) return -1;
  strcpy(copy, text);
  for (i = 0; i < 3; ++i) {
    if (!isdigit((unsigned char)*cursor)) return -1;
    cursor = get_int(cursor, fields[i]);
    if (*cursor++ != (i < 2 ? delimiter : '\0')) return -1;
  }
  return 0;
}

static int run_dtos(int argc, char **argv) {
  struct datetime date = {0};

  if (read_triple(argv[0], '-', &date.year, &date.month, &date.day) != 0 || date.day < 1 ||
      date.year < FIRST_YEAR || !is_valid_date(date.month, date.day, date.year)) {
    return misused("DATE: %s is not a date from %d-01-01 to %d-12-31", argv[0], FIRST_YEAR,
                   LAST_YEAR);
  }
  if (argc > 1 && (read_triple(argv[1], ':', &date.hour, &date.minute, &date.second) != 0 ||
                   date.hour > 23 || date.minute > 59 || date.second > 59)) {
    return misused("TIME: %s is not a time from 00:00:00 to 23:59:59", argv[1]);
  }
  printf("%lu\n", (unsigned long)dtos(&date));
  return DONE;
}

static int run_days(int argc, char **argv) {
  unsigned long month, year;

  (void)argc;
  if (number_argument("MONTH", argv[0], 1, 12, &month) != DONE ||
      number_argument("YEAR", argv[1], 1, 9999, &year) != DONE) {
    return MISUSED;
  }
  printf("%u\n", get_daysinmonth((int)month, (int)year));
  return DONE;
}

/* ---- Clocks ---------------------------------------------------------------------------------- */

static int run_now(int argc, char **argv) {
  static const char *const weekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                         "Thursday", "Friday", "Saturday"};
  const time_t now = get_utctime();
  const int weekday = get_dow(now);
  struct datetime local;

  (void)argc, (void)argv;
  if (now == 0) return refused("the clock is not set");
  stod((int32_t)(now + get_gmt_offset(now)), &local);
  record_begin();
  number_field("seconds", now);
  print_date(&local);
  number_field("offset", get_gmt_offset(now));
  text_field("weekday", weekday >= 0 ? weekdays[weekday] : NULL);
  record_end();
  return DONE;
}

static void print_duration(int32_t seconds) {
  char text[DURATION_SIZE];

  GN_Sec2DayHrMinSecStr(text, seconds);
  record_begin();
  number_field("seconds", seconds);
  text_field("duration", text);
  record_end();
}

static int run_uptime(int argc, char **argv) {
  (void)argc, (void)argv;
  print_duration(get_sysuptime());
  return DONE;
}

static int run_duration(int argc, char **argv) {
  unsigned long seconds;

  (void)argc;
  if (number_argument("SECONDS", argv[0], 0, INT32_MAX, &seconds) != DONE) return MISUSED;
  print_duration((int32_t)seconds);
  return DONE;
}

static int run_soap(int argc, char **argv) {
  char text[SOAP_SIZE];

  (void)argc, (void)argv;
  get_soap_datetimestr(option("--unset") != NULL || get_utctime() == 0 ? "0" : "1", text,
                       sizeof text);
  puts(text);
  return DONE;
}

/* ---- Zones ----------------------------------------------------------------------------------- */

static int run_zone(int argc, char **argv) {
  const size_t size = (size_t)get_posix_timezone(argv[0], argv[1], NULL, 0) + 1;
  char *text = must(malloc(size));

  (void)argc;
  get_posix_timezone(argv[0], argv[1], text, size);
  puts(text);
  free(text);
  return DONE;
}

/* The text can only get shorter, so it is converted in place. */
static int run_unzone(int argc, char **argv) {
  (void)argc;
  convert_tz_from_posix(argv[0], argv[0], strlen(argv[0]) + 1);
  puts(argv[0]);
  return DONE;
}

static const struct action actions[] = {
    {"now", "[--json]", "prints the wall clock in the local zone, which TZ names",
     DETAILS("Fails if the clock is before 1999-12-25: it was never set."),
     "TZ=JST-9 talvera time now", run_now},
    {"soap", "[--unset]", "prints the local time as a SOAP date-time",
     DETAILS("--unset\tprints the unknown time, as it does while the clock is not set"),
     "TZ=JST-9 talvera time soap", run_soap},
    {"uptime", "[--json]", "prints the seconds since boot, also as days:hours:minutes:seconds",
     NULL, "", run_uptime},
    {"duration", "[--json] SECONDS", "prints seconds as days:hours:minutes:seconds", NULL, "100000",
     run_duration},
    {"stod", "[--json] SECONDS", "prints seconds since 1970 as a date and time",
     DETAILS("The weekday counts from Saturday, which is 0."), "951782400", run_stod},
    {"dtos", "DATE [TIME]", "prints a date as seconds since 1970", NULL, "2000-02-29 12:00:00",
     run_dtos},
    {"days", "MONTH YEAR", "prints the number of days in a month", NULL, "2 2000", run_days},
    {"zone", "ZONE COUNTRY", "prints the POSIX TZ value of a configured zone",
     DETAILS("For the country us, the daylight-saving rule is added."), "EST5EDT us", run_zone},
    {"unzone", "TZ", "prints the configured zone of a POSIX TZ value",
     DETAILS("A zone east of Greenwich loses its name and offset."), "EST+5EDT,M3.2.0/2,M11.1.0/2",
     run_unzone},
    {0},
};

const struct group group_time = {"time", "dates and durations, clocks, time zones", actions};
