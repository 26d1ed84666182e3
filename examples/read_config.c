/* Reads a configuration file line by line, as a daemon does at startup, and prints the values, the
 * greeting also as a status page shows it. A line has a keyword and its values, or is a
 * comment, which begins with "#". */
#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>

#include "talvera/strutil.h"

/* Each function reads the values of one keyword and returns 0 when they are invalid. */

static int read_address(char *values) {
  struct in_addr address;
  char text[INET_ADDRSTRLEN];
  if (*skip_blank(get_ip(values, &address)) != '\0') return 0;
  printf("address   %s\n", inet_ntop(AF_INET, &address, text, sizeof text));
  return 1;
}

static int read_mac(char *values) {
  struct ether_addr mac;
  const unsigned char *b = mac.ether_addr_octet;
  if (get_mac(values, &mac) == values) return 0;
  printf("mac       %02x:%02x:%02x:%02x:%02x:%02x\n", b[0], b[1], b[2], b[3], b[4], b[5]);
  return 1;
}

static int read_mtu(char *values) {
  long mtu;
  if (strtol_range(&mtu, values, 68, 9000) != 0) return 0;
  printf("mtu       %ld\n", mtu);
  return 1;
}

static int read_ports(char *values) {
  int low, high;
  char text[12];
  if (str_to_port_range(values, &low, &high) != 0 || low < 0 || high > 65535) return 0;
  printf("ports     %s\n", range_to_portstr(text, (unsigned)low, (unsigned)high, '-'));
  return 1;
}

static int read_servers(char *values) {
  int count, i;
  char *server[ARGS_SLOTS];
  str_to_args_by_delim(values, ", ", &count, server);
  if (count == 0) return 0;
  printf("servers   %d:", count);
  for (i = 0; i < count; ++i)
    printf(" %s", server[i]);
  printf("\n");
  return 1;
}

static int read_circuit(char *values) {
  int vpi, vci;
  if (atm_parse_vi(values, 0, &vpi, &vci) != 0) return 0;
  printf("circuit   path %d, channel %d\n", vpi, vci);
  return 1;
}

static int read_greeting(char *values) {
  char greeting[64 + 1]; /* one more than the size passed below */
  char page[256];
  get_string(values, greeting, 64, '#');
  printf("greeting  %s\n", greeting);
  if (entities_hex_encode(page, sizeof page, greeting) != 0) return 0;
  printf("  in HTML %s\n", page);
  return 1;
}

static const struct {
  const char *name;
  int (*read)(char *values);
} keywords[] = {
    {"address", read_address},   {"mac", read_mac},         {"mtu", read_mtu},
    {"ports", read_ports},       {"servers", read_servers}, {"circuit", read_circuit},
    {"greeting", read_greeting},
};

static int read_line(char *line) {
  char name[16];
  char *values = get_word(line, name, sizeof name);
  unsigned i;
  if (name[0] == '\0' || name[0] == '#') return 1;
  for (i = 0; i < sizeof keywords / sizeof *keywords; ++i) {
    if (strcmp(name, keywords[i].name) == 0) return keywords[i].read(values);
  }
  return 0;
}

int main(int argc, char **argv) {
  char line[256];
  int number = 0;
  int wrong = 0;
  FILE *file = argc == 2 ? fopen(argv[1], "r") : NULL;
  if (file == NULL) {
    fprintf(stderr, "usage: read_config FILE\n");
    return 2;
  }
  while (fgets(line, sizeof line, file) != NULL) {
    ++number;
    strip_trailing_white(line);
    if (read_line(line)) continue;
    printf("line %d is wrong\n", number);
    ++wrong;
  }
  fclose(file);
  return wrong != 0;
}
