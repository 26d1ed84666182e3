/* Watches an interface: prints the changes in its counters since the last line.
 *
 *   interface_counters INTERFACE SECONDS LINES */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "talvera/netu.h"

int main(int argc, char **argv) {
  struct netu_linuxif_stats *stats;
  int line;

  if (argc != 4) {
    fprintf(stderr, "usage: interface_counters INTERFACE SECONDS LINES\n");
    return 2;
  }
  stats = netu_alloc_linuxif_stats();
  if (stats == NULL) return 1;
  netu_update_linuxif_stats(argv[1], stats);
  for (line = 0; line < atoi(argv[3]); ++line) {
    netu_reset_linuxif_stats(stats);
    sleep((unsigned)atoi(argv[2]));
    netu_update_linuxif_stats(argv[1], stats);
    printf("%s  received %u packets, %u bytes  sent %u packets, %u bytes  errors %u\n", argv[1],
           (unsigned)netu_get_linuxif_stat(stats, NETU_RX_PACKETS),
           (unsigned)netu_get_linuxif_stat(stats, NETU_RX_BYTES),
           (unsigned)netu_get_linuxif_stat(stats, NETU_TX_PACKETS),
           (unsigned)netu_get_linuxif_stat(stats, NETU_TX_BYTES),
           (unsigned)(netu_get_linuxif_stat(stats, NETU_RX_ERRORS) +
                      netu_get_linuxif_stat(stats, NETU_TX_ERRORS)));
    fflush(stdout);
  }
  netu_free_linuxif_stats(stats);
  return 0;
}
