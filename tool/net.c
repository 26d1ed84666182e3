/* talvera net: addresses, interface counters, and the probe for duplicate addresses. */
#include <arpa/inet.h>
#include <errno.h>
#include <net/if.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "talvera/netu.h"
#include "talvera/utils.h"
#include "talvera/values.h"
#include "tool.h"

enum { ADDRESS_SIZE = 16, COUNTER_SIZE = 33, MAX_INTERVAL = 3600 };

/* ---- Addresses ------------------------------------------------------------------------------- */

static void address_field(const char *name, uint32_t address) {
  char text[ADDRESS_SIZE];

  p_ipad(text, address);
  text_field(name, text);
}

static int run_address(int argc, char **argv) {
  uint32_t network, broadcast, host;

  (void)argc;
  if (address_argument("ADDRESS", argv[0]) != DONE || address_argument("MASK", argv[1]) != DONE) {
    return MISUSED;
  }
  netu_calc_network(argv[0], argv[1], &network);
  netu_calc_broadcast(argv[0], argv[1], &broadcast);
  netu_calc_host(argv[0], argv[1], &host);
  record_begin();
  address_field("network", network);
  address_field("broadcast", broadcast);
  address_field("host", host);
  number_field("prefix", netu_calc_subnet_prefix(argv[1]));
  flag_field("empty", netu_is_empty_ip4addr(argv[0]));
  record_end();
  return DONE;
}

static int run_mask(int argc, char **argv) {
  unsigned long length;
  char text[ADDRESS_SIZE];

  (void)argc;
  if (number_argument("LENGTH", argv[0], 0, 32, &length) != DONE) return MISUSED;
  p_ipad(text, htonl(netu_subnet_mask_from_prefix((unsigned int)length)));
  puts(text);
  return DONE;
}

static int run_family(int argc, char **argv) {
  const char *family = netu_atoipv4(argv[0], NULL) == 1   ? "ipv4"
                       : netu_atoipv6(argv[0], NULL) == 1 ? "ipv6"
                                                          : NULL;

  (void)argc;
  if (family == NULL) return refused("%s is not an address", argv[0]);
  puts(family);
  return DONE;
}

/* Requires six groups of one or two digits, because the library's parser validates nothing. */
static int is_mac(const char *text) {
  int group;

  for (group = 0; group < 6; ++group) {
    const size_t digits = strspn(text, "0123456789abcdefABCDEF");

    text += digits;
    if (digits < 1 || digits > 2) return 0;
    if (group < 5 && *text != ':' && *text != '-' && *text != '.') return 0;
    text += group < 5;
  }
  return *text == '\0';
}

static int run_mac(int argc, char **argv) {
  unsigned char mac[6];
  char text[NETU_MAC_TEXT_SIZE];

  (void)argc;
  if (!is_mac(argv[0])) return refused("%s is not a MAC address", argv[0]);
  netu_atoe(argv[0], mac);
  record_begin();
  text_field("mac", netu_etoa(mac, text));
  flag_field("multicast", mac[0] & 1);
  flag_field("local", mac[0] & 2);
  record_end();
  return DONE;
}

static int run_interface(int argc, char **argv) {
  char name[IF_NAMESIZE];
  unsigned long index;

  (void)argc;
  if (number_argument("INDEX", argv[0], 0, INT32_MAX, &index) != DONE) return MISUSED;
  if (netu_ifindex2name((unsigned int)index, name) != 0) return failed("%s", argv[0]);
  puts(name);
  return DONE;
}

/* ---- Counters -------------------------------------------------------------------------------- */

static const char *const counters[NETU_STAT_COUNT] = {
    "rx_packets",       "rx_bytes",         "rx_dropped",       "rx_errors",       "multicast",
    "tx_packets",       "tx_bytes",         "tx_dropped",       "tx_errors",       "collisions",
    "tx-errored-bytes", "rx-errored-bytes", "tx-dropped-bytes", "rx-dropped-bytes"};

/* Values shown for an interval: rates, and sums of two counters that are rarely above 0. */
static const struct column {
  const char *name;
  unsigned char first, second;
} columns[] = {
    {"rx_packets/s", NETU_RX_PACKETS, NETU_RX_PACKETS},
    {"rx_bytes/s", NETU_RX_BYTES, NETU_RX_BYTES},
    {"tx_packets/s", NETU_TX_PACKETS, NETU_TX_PACKETS},
    {"tx_bytes/s", NETU_TX_BYTES, NETU_TX_BYTES},
    {"errors", NETU_RX_ERRORS, NETU_TX_ERRORS},
    {"dropped", NETU_RX_DROPPED, NETU_TX_DROPPED},
};
enum { COLUMNS = sizeof columns / sizeof *columns };

/* Reads a counter as text; returns an errno value on failure. */
static int read_counter(const char *ifname, unsigned int index, char *text) {
  memset(text, 0, COUNTER_SIZE);
  return netu_ifstat_get(ifname, index, text, COUNTER_SIZE - 1);
}

/* Checked because the library reads a missing interface as zeros. */
static int check_interface(const char *ifname) {
  char text[COUNTER_SIZE];

  errno = read_counter(ifname, NETU_RX_PACKETS, text);
  return errno == 0 ? DONE : failed("%s", ifname);
}

static void print_counters(const char *ifname) {
  char text[COUNTER_SIZE];
  unsigned int i;

  record_begin();
  for (i = 0; i < NETU_STAT_COUNT; ++i) {
    if (read_counter(ifname, i, text) == 0) {
      number_field(counters[i], strtoll(text, NULL, 10));
    } else {
      text_field(counters[i], NULL);
    }
  }
  record_end();
}

static unsigned long milliseconds(void) {
  struct timespec now;

  clock_gettime(CLOCK_MONOTONIC, &now);
  return (unsigned long)now.tv_sec * 1000 + (unsigned long)now.tv_nsec / 1000000;
}

/* Growth per second of an interval in milliseconds, rounded, in 32 bits. */
static uint32_t rate(uint32_t growth, uint32_t interval) {
  if (interval == 0) interval = 1;
  return growth / interval * 1000 + (growth % interval * 1000 + interval / 2) / interval;
}

static void print_interval(const struct netu_linuxif_stats *stats, uint32_t interval) {
  int i;

  if (option("--json") != NULL) record_begin();
  for (i = 0; i < COLUMNS; ++i) {
    const struct column *column = &columns[i];
    const uint32_t first = netu_get_linuxif_stat(stats, column->first);
    const uint32_t value = column->first == column->second
                               ? rate(first, interval)
                               : first + netu_get_linuxif_stat(stats, column->second);

    if (option("--json") != NULL) {
      number_field(column->name, value);
    } else {
      printf("%12lu%s", (unsigned long)value, i + 1 < COLUMNS ? "  " : "\n");
    }
  }
  if (option("--json") != NULL) record_end();
}

/* Prints the changes of each interval until interrupted. */
static int watch(const char *ifname, unsigned long seconds, unsigned long count) {
  struct netu_linuxif_stats *stats = must(netu_alloc_linuxif_stats());
  unsigned long before, now;
  int status = DONE, i;

  catch_interrupts();
  netu_update_linuxif_stats(ifname, stats);
  before = milliseconds();
  for (i = 0; option("--json") == NULL && i < COLUMNS; ++i)
    printf("%12s%s", columns[i].name, i + 1 < COLUMNS ? "  " : "\n");
  while (flush_output() == 0) {
    netu_reset_linuxif_stats(stats);
    sleep((unsigned int)seconds);
    if (interrupted()) break;
    status = check_interface(ifname);
    if (status != DONE) break;
    netu_update_linuxif_stats(ifname, stats);
    now = milliseconds();
    print_interval(stats, (uint32_t)(now - before));
    before = now;
    if (count > 0 && --count == 0) break;
  }
  netu_free_linuxif_stats(stats);
  return status;
}

static int run_counters(int argc, char **argv) {
  unsigned long seconds = 0, count = 0;

  (void)argc;
  if (plain_argument("INTERFACE", argv[0], IF_NAMESIZE - 1) != DONE) return MISUSED;
  if (option("--watch") != NULL &&
      number_argument("--watch", option("--watch"), 1, MAX_INTERVAL, &seconds) != DONE) {
    return MISUSED;
  }
  if (option("--count") != NULL &&
      number_argument("--count", option("--count"), 1, INT32_MAX, &count) != DONE) {
    return MISUSED;
  }
  if (check_interface(argv[0]) != DONE) return FAILED;
  if (seconds > 0) return watch(argv[0], seconds, count);
  print_counters(argv[0]);
  return DONE;
}

/* ---- Duplicate addresses --------------------------------------------------------------------- */

/* Checks the requirements of a probe first, because one that cannot run counts as no reply. */
static int run_probe(int argc, char **argv) {
  (void)argc;
  if (plain_argument("INTERFACE", argv[0], IF_NAMESIZE - 1) != DONE ||
      address_argument("ADDRESS", argv[1]) != DONE) {
    return MISUSED;
  }
  if (if_nametoindex(argv[0]) == 0) return failed("%s", argv[0]);
  if (sdb_system("command -v arping >/dev/null") != 0) return refused("there is no arping");
  if (netu_arping_test(argv[0], argv[1]) != 0) return refused("%s is in use", argv[1]);
  printf("%s: no answer\n", argv[1]);
  return DONE;
}

static const struct action actions[] = {
    {"address", "[--json] ADDRESS MASK", "takes an IPv4 address apart",
     DETAILS("The prefix counts the bits of the mask, even if they are not contiguous."),
     "192.168.1.77 255.255.255.0", run_address},
    {"mask", "LENGTH", "prints the mask of a prefix length",
     DETAILS("A length of 32 gives 0.0.0.0, as 0 does."), "24", run_mask},
    {"family", "ADDRESS", "prints whether an address is ipv4 or ipv6", NULL, "::1", run_family},
    {"mac", "[--json] MAC", "prints a MAC address in the usual form, and what kind it is",
     DETAILS("Groups are joined by : or - or a dot, and may have one digit."), "2-5A-30-96-2-D0",
     run_mac},
    {"interface", "INDEX", "prints the name of the interface with an index", NULL, "1",
     run_interface},
    {"counters", "[--json] [--watch SECONDS] [--count N] INTERFACE",
     "prints the counters of an interface",
     DETAILS("Counters that its driver does not have are shown as -, or null.\n"
             "--watch\tprints how they change, every SECONDS seconds, until interrupted; errors "
             "and drops are those of the interval\n"
             "--count\tends the watch after N lines"),
     "--watch 5 eth0", run_counters},
    {"probe", "INTERFACE ADDRESS", "asks whether another host uses ADDRESS",
     DETAILS("Status 1 means that one does, or that the probe failed. No answer may also mean that "
             "arping could not ask, for example for lack of permission."),
     "eth0 192.168.1.77", run_probe},
    {0},
};

const struct group group_net = {"net", "addresses, interfaces and their counters", actions};
