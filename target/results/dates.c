/* Dates, zones and durations. The clock stands still; the zone is this program's choice. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sysinfo.h>
#include <time.h>

#include "results.h"
#include "talvera/time.h"
#include "talvera/values.h"

static time_t clock_now;
static long clock_uptime;

/* The library's clocks are this program's. */
time_t time(time_t *result) {
  if (result != NULL) *result = clock_now;
  return clock_now;
}

int sysinfo(struct sysinfo *information) {
  memset(information, 0, sizeof *information);
  information->uptime = clock_uptime;
  return 0;
}

static const int32_t moments[] = {-2147483647 - 1, -2147483647, -2146000000, 2146000000, -86401,
                                  -86400,          -1,          0,           1,          86399,
                                  86400,           5097600,     68169600,    94694400,   946079999,
                                  946080000,       951782400,   951868800,   1078012800, 1111838400,
                                  1130641200,      1143334799,  1143334800,  1162083600, 1172984400,
                                  1173596399,      1173596400,  1194155999,  1194156000, 1709208000,
                                  1740787200,      2147483646,  2147483647};

static void print_date(const struct datetime *date) {
  printf("%d-%d-%d %d:%d:%d (%d)", date->year, date->month, date->day, date->hour, date->minute,
         date->second, date->weekday);
}

static void print_moments(void) {
  struct datetime date;
  char buffer[64];
  size_t i;

  for (i = 0; i < COUNT(moments); i++) {
    stod(moments[i], &date);
    printf("stod(%d) ", moments[i]);
    print_date(&date);
    printf(" dtos %u", dtos(&date));
    printf(" duration %d", GN_Sec2DayHrMinSecStr(buffer, moments[i]));
    printf(" %s", buffer);
    clock_uptime = moments[i];
    get_datetime(&date);
    printf(" uptime %d ", get_sysuptime());
    print_date(&date);
    printf("\n");
  }
}

static void print_calendar(void) {
  static const struct datetime dates[] = {
      {0, 0, 0, 1, 1, 1970, 0},         {59, 59, 23, 31, 12, 2037, 0}, {0, 0, 0, 29, 2, 2100, 0},
      {-1, 60, 24, 0, 0, 1969, 0},      {7, 14, 3, 19, 1, 2038, 0},    {15, 28, 6, 7, 2, 2106, 0},
      {16, 28, 6, 7, 2, 2106, 0},       {0, 0, 0, 31, 13, 2000, 0},    {0, 0, 0, -5, -3, 1972, 0},
      {2147483647, 0, 0, 1, 1, 2000, 0}};
  static const int days[] = {-2147483647 - 1, -1, 0, 1, 28, 29, 30, 31, 32, 2147483647};
  static const int years[] = {-4, 0, 1900, 1970, 2000, 2024, 2069, 2070, 2147483647};
  size_t i;
  size_t k;
  int month;

  for (i = 0; i < COUNT(dates); i++) {
    print_date(&dates[i]);
    printf(" dtos %u\n", dtos(&dates[i]));
  }
  for (i = 0; i < COUNT(years); i++) {
    for (month = -1; month < 14; month++) {
      printf("month %d of %d: %u days, valid", month, years[i], get_daysinmonth(month, years[i]));
      for (k = 0; k < COUNT(days); k++)
        printf(" %d", is_valid_date(month, days[k], years[i]));
      printf("\n");
    }
  }
}

static void print_zone(const char *zone) {
  char buffer[96];
  size_t i;
  unsigned which;

  setenv("TZ", zone, 1);
  printf("zone %s\n", zone);
  for (i = 0; i < COUNT(moments); i++) {
    /* Local time and noon can lie beyond a 32-bit time_t near its ends, and the C library of the
     * target reckons wrongly in the last week of them. */
    if (moments[i] < -2146000000 || moments[i] > 2146000000) continue;
    clock_now = moments[i];
    printf("at %d: utc %ld offset %ld day %d", moments[i], (long)get_utctime(),
           get_gmt_offset(moments[i]), get_dow(moments[i]));
    printf(" %s", quoted(p_time(buffer, moments[i])));
    printf(" date %d", (int)mkstr_date(moments[i], buffer));
    printf(" %s", quoted(buffer));
    printf(" soap %d", get_soap_datetimestr("1", buffer, sizeof buffer));
    printf(" %s", quoted(buffer));
    printf(" %d", get_soap_datetimestr("1", buffer, 12));
    printf(" %s noon", quoted(buffer));
    for (which = 0; which < 6; which++) {
      printf(" %ld", (long)ytt_get_noontime(which % 3, (uint8_t)(which / 3)));
    }
    printf("\n");
  }
}

static void print_zone_texts(void) {
  static const char *const zones[] = {"EST5EDT",    "GMT0",         "CET-1CEST",  "JST-9", "",
                                      "NST3:30NDT", "<+0330>-3:30", "PST+8PDT,x", "UTC",   "5"};
  static const char *const countries[] = {"us", "US", "gb", ""};
  static const size_t sizes[] = {64, 10, 1, 0};
  char zone[64];
  char buffer[64];
  size_t i;
  size_t k;
  for (i = 0; i < COUNT(zones); i++) {
    for (k = 0; k < COUNT(countries); k++) {
      strcpy(buffer, "unset");
      printf("get_posix_timezone %d",
             get_posix_timezone(zones[i], countries[k], buffer, sizes[(i + k) % COUNT(sizes)]));
      printf(" %s", quoted(buffer));
      get_posix_timezone(zones[i], countries[k], zone, sizeof zone);
      printf(" back %d", convert_tz_from_posix(zone, buffer, sizeof buffer));
      printf(" %s %s\n", quoted(buffer), quoted(zone));
    }
  }
}

static void print_powers(void) {
  static const int32_t bases[] = {0, 1, -1, 2, -2, 3, 10, 65536, 2147483647, -2147483647 - 1};
  static const int32_t exponents[] = {-1, 0, 1, 2, 3, 9, 20, 31, 32, 33, 1000};
  size_t i;
  size_t k;
  for (i = 0; i < COUNT(bases); i++) {
    printf("powers of %d:", bases[i]);
    for (k = 0; k < COUNT(exponents); k++)
      printf(" %d", powi(bases[i], exponents[k]));
    printf("\n");
  }
}

void print_dates(void) {
  char buffer[64];
  print_moments();
  print_calendar();
  print_zone("UTC0");
  print_zone("EST5EDT,M3.2.0/2,M11.1.0/2");
  print_zone("CET-1CEST,M3.5.0,M10.5.0/3");
  print_zone("IST-5:30");
  print_zone("NST3:30NDT,M3.2.0,M11.1.0");
  print_zone("AZOT0:30");
  printf("soap %d", get_soap_datetimestr("0", buffer, sizeof buffer));
  printf(" %s\n", buffer);
  print_zone_texts();
  print_powers();
}
