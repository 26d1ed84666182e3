// cc netu.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/netu.h>

int main(void) {
  uint32_t network;
  if (netu_calc_network("192.168.1.77", "255.255.255.0", &network) != 0) return 1;

  struct netu_linuxif_stats *stats = netu_alloc_linuxif_stats();
  if (stats == NULL) return 1;
  netu_update_linuxif_stats("eth0", stats);
  printf("%u bytes received\n", (unsigned)stats->current[NETU_RX_BYTES]);
  netu_free_linuxif_stats(stats);
  return 0;
}
