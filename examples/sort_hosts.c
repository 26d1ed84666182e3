/* Shows the hosts of the home network as a status page does: keeps copies of the caller's records
 * in a list, sorts them, looks one up, and formats them. */
#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>

#include "talvera/list.h"
#include "talvera/values.h"

struct host {
  char name[16];
  in_addr_t address;
  int state;
  unsigned long connected; /* seconds */
};

static const struct ust_entry state_names[] = {{0, "offline"}, {1, "idle"}, {2, "active"}};
static const struct ust_table states = {state_names, 3};

/* Compares by address; like all list comparators, positive when a comes before b. */
static int compare_addresses(const void *a, const void *b) {
  const uint32_t first = ntohl(((const struct host *)a)->address);
  const uint32_t second = ntohl(((const struct host *)b)->address);
  return (first < second) - (first > second);
}

static int has_name(const void *data, const void *name) {
  return strcmp(((const struct host *)data)->name, name) == 0;
}

static uint32_t host_size(const void *data) {
  (void)data;
  return sizeof(struct host);
}

static void add_host(list_obj *hosts, const char *name, const char *address, int state,
                     unsigned long connected) {
  struct host host = {"", 0, 0, 0};
  snprintf(host.name, sizeof host.name, "%s", name);
  host.address = inet_addr(address);
  host.state = state;
  host.connected = connected;
  if (list_append(hosts, &host) < 0) fprintf(stderr, "no room for %s\n", name);
}

static void print_host(const struct host *host) {
  char address[20];
  char connected[40];
  printf("%-10s %-15s %-8s %s\n", host->name, p_ipad(address, host->address),
         ust_lookup_name_by_value(&states, host->state), p_secs(connected, host->connected, 0));
}

int main(void) {
  list_obj hosts;
  const struct host *found;

  list_init(&hosts);
  list_attributes_copy(&hosts, host_size, 1);
  list_attributes_comparator(&hosts, compare_addresses);
  list_attributes_seeker(&hosts, has_name);

  add_host(&hosts, "printer", "192.168.1.40", 1, 86400);
  add_host(&hosts, "laptop", "192.168.1.9", 2, 1260);
  add_host(&hosts, "camera", "192.168.1.200", 0, 0);
  add_host(&hosts, "phone", "192.168.1.23", 2, 95);

  list_sort(&hosts, 1);
  list_iterator_start(&hosts);
  while (list_iterator_hasnext(&hosts)) {
    print_host(list_iterator_next(&hosts));
  }
  list_iterator_stop(&hosts);

  found = list_seek(&hosts, "camera");
  printf("camera is at position %d of %u\n", list_locate(&hosts, found), list_size(&hosts));
  list_destroy(&hosts);
  return 0;
}
