/* Prints one line for each packet that the firewall logs to a group, as a gateway's log daemon
 * does:
 *
 *   packet_log GROUP COUNT [DESTINATION]
 *
 * Ends after COUNT packets. With a DESTINATION it adds the firewall rule that logs packets sent
 * there, and removes it at the end. */
#include <arpa/inet.h>
#include <errno.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "talvera/ipt.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"

enum { kBufferSize = 65536, kCopyBytes = 64 }; /* the longest IPv4 header is 60 */

/* Adds or removes the rule. The library has no name for the target NFLOG, so it is appended to the
 * last parameter's value, which goes into the command line as it is. */
static int run_rule(uint32_t command, const char *destination, unsigned group) {
  char value[64];
  int error;
  ipt_rule *rule = ipt_rule_init();
  if (rule == NULL) return -1;
  rule->command = command;
  rule->chain = IPT_CHAIN_OUTPUT;
  snprintf(value, sizeof value, "%s -j NFLOG --nflog-group %u", destination, group);
  error = ipt_rule_add_param(rule, IPT_PARAM_DESTINATION, 0, strdup(value), IPT_OPTION_NONE,
                             NULL) == NULL
              ? -1
              : ipt_process_rule(rule);
  ipt_rule_free(rule);
  return error;
}

/* Returns the size of the IPv4 header, or 0 when the header is incomplete or invalid. */
static unsigned ipv4_header_size(const unsigned char *packet, unsigned length) {
  const unsigned size = length >= 20 ? (packet[0] & 0x0Fu) * 4 : 0;
  return size >= 20 && size <= length ? size : 0;
}

static void print_end(const unsigned char *address, const unsigned char *port) {
  printf("%u.%u.%u.%u", address[0], address[1], address[2], address[3]);
  if (port != NULL) printf(":%u", (unsigned)port[0] << 8 | port[1]);
}

/* Prints the first bytes of a packet. Ports come first in the headers of TCP (6) and UDP (17). */
static void print_ipv4(const unsigned char *packet, unsigned length) {
  const unsigned header_size = ipv4_header_size(packet, length);
  const unsigned protocol = header_size != 0 ? packet[9] : 0;
  const unsigned char *ports = NULL;
  if (header_size == 0) return;
  if ((protocol == 6 || protocol == 17) && length >= header_size + 4) ports = packet + header_size;
  printf("protocol %-2u  ", protocol);
  print_end(packet + 12, ports);
  printf(" > ");
  print_end(packet + 16, ports != NULL ? ports + 2 : NULL);
  printf("  %u bytes", (unsigned)packet[2] << 8 | packet[3]);
}

static int print_packet(struct nfnetlink_log_group *group, const struct nfgenmsg *header,
                        const struct nlattr *const *attributes, void *data) {
  const unsigned char *payload = nfnetlink_log_nfa_get_ptr(attributes, NFULA_PAYLOAD);
  const uint32_t *out = nfnetlink_log_nfa_get_ptr(attributes, NFULA_IFINDEX_OUTDEV);
  char name[16] = "?";
  int *left = data;

  printf("group %u  ", (unsigned)group->number);
  if (out != NULL && netu_ifindex2name(ntohl(*out), name) == 0) printf("to %s  ", name);
  /* The payload follows the attribute's header, and the length includes that header. */
  if (header->nfgen_family == AF_INET && payload != NULL)
    print_ipv4(payload, attributes[NFULA_PAYLOAD - 1]->nla_len - (unsigned)NLA_HDRLEN);
  printf("\n");
  fflush(stdout);
  --*left;
  return 1;
}

/* Sets how long a request waits for the kernel's reply; without a limit a refused request never
 * returns. 0 means no limit, which suits waiting for packets. */
static int set_timeout(const struct nfnetlink_log *log, int seconds) {
  struct timeval timeout = {0, 0};
  timeout.tv_sec = seconds;
  return setsockopt(log->netlink->fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
}

/* Receives until all packets have arrived. When packets arrive faster than they are read, the
 * kernel drops some and reports that once (ENOBUFS). The result of a dispatch is ignored: several
 * packets in one datagram are followed by a message that has no handler. */
static int receive_packets(struct nfnetlink_handle *netlink, const int *left) {
  static union {
    struct nlmsghdr header;
    char bytes[kBufferSize];
  } buffer;
  while (*left > 0) {
    const int length = nfnetlink_receive(netlink, &buffer, sizeof buffer);
    if (length >= 0) {
      nfnetlink_msg_unpack(netlink, &buffer, length);
    } else if (errno == ENOBUFS) {
      fprintf(stderr, "packet_log: packets were lost\n");
    } else if (errno != EINTR && errno != ENOMSG) { /* a signal, or a message from another sender */
      return -1;
    }
  }
  return 0;
}

int main(int argc, char **argv) {
  const unsigned number = argc > 1 ? (unsigned)atoi(argv[1]) : 0;
  int left = argc > 2 ? atoi(argv[2]) : 0;
  const char *destination = argc > 3 ? argv[3] : NULL;
  struct nfnetlink_log *log;
  struct nfnetlink_log_group *group;
  int failed = 1;

  if (argc < 3) {
    fprintf(stderr, "usage: packet_log GROUP COUNT [DESTINATION]\n");
    return 2;
  }
  log = nfnetlink_log_open();
  if (log == NULL || set_timeout(log, 2) != 0 || nfnetlink_log_bind_pf(log, AF_INET) != 0) {
    perror("packet_log");
    return 1;
  }
  group = nfnetlink_log_bind_group(log, number);
  /* The handler comes first: without it packets would be lost. */
  if (group != NULL && nfnetlink_log_register_handler(group, print_packet, &left) == 0 &&
      nfnetlink_log_setmode(group, NFULNL_COPY_PACKET, kCopyBytes) == 0 &&
      (destination == NULL || run_rule(IPT_COMMAND_APPEND, destination, number) == 0)) {
    printf("ready\n");
    fflush(stdout);
    failed = set_timeout(log, 0) != 0 || receive_packets(log->netlink, &left) != 0;
    if (destination != NULL && run_rule(IPT_COMMAND_DELETE, destination, number) != 0) failed = 1;
  }
  if (failed) perror("packet_log");
  nfnetlink_log_close(log);
  return failed;
}
