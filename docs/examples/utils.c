// cc utils.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <stdlib.h>
#include <talvera/utils.h>

int main(void) {
  unsigned char *data;
  unsigned int length;
  if (uf_readall("/etc", "hostname", &data, &length) == 0) {
    fwrite(data, 1, length, stdout);
    free(data);
  }
  if (sdb_system("ip link set %s up", "eth0") != 0) puts("no such interface");
  return 0;
}
