// cc ipdiag.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <stdlib.h>
#include <talvera/ipdiag.h>

int main(void) {
  static struct tr_hop hops[30];
  char command[1024], line[1100];
  int32_t count = 0;
  ipdiag_tr_makeparam("203.0.113.7", NULL, 1, 30, 2, 0, 0, 0, 0, command, 0, sizeof command);
  snprintf(line, sizeof line, "%s >/tmp/wan-out 2>/tmp/wan-err", command);
  if (system(line) == 0) ipdiag_tr_formatout("wan", hops, 30, &count);
  for (int32_t i = 0; i < count && i < 30; i++)
    puts(hops[i].address);
  return 0;
}
