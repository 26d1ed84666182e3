// cc time.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/time.h>

int main(void) {
  struct datetime dt;
  char zone[64];
  stod(951782400, &dt);                                    // 2000-02-29 00:00:00
  get_posix_timezone("EST5EDT", "us", zone, sizeof zone);  // EST+5EDT,M3.2.0/2,M11.1.0/2
  printf("%d-%02d-%02d %s\n", (int)dt.year, (int)dt.month, (int)dt.day, zone);
  return 0;
}
