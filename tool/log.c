/* talvera log: packets that firewall rules send to a netfilter log group. */
#include <arpa/inet.h>
#include <errno.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <net/if.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "talvera/netu.h"
#include "talvera/nfnetlink.h"
#include "tool.h"

enum {
  BUFFER_SIZE = 65536,
  COPIED = 80,      /* bytes of a packet: the longest IPv4 header is 60, that of IPv6 40 */
  REPLY_TIMEOUT = 1 /* seconds to wait for the kernel's reply */
};

/* ---- Packets --------------------------------------------------------------------------------- */

static const char *interface_name(const struct nlattr *const *attributes, unsigned int type,
                                  char *name) {
  const uint32_t *index = nfnetlink_log_nfa_get_ptr(attributes, type);

  return index != NULL && netu_ifindex2name(ntohl(*index), name) == 0 ? name : NULL;
}

static unsigned int read_16(const unsigned char *bytes) {
  return bytes[0] * 256U + bytes[1];
}

/* Fields of a packet as text; empty if unknown. */
struct packet {
  char protocol[8], source[INET6_ADDRSTRLEN + 8], destination[INET6_ADDRSTRLEN + 8];
  unsigned int length;
};

static void print_end(char *text, int family, const unsigned char *address,
                      const unsigned char *port) {
  char name[INET6_ADDRSTRLEN];

  inet_ntop(family, address, name, sizeof name);
  if (port == NULL) {
    strcpy(text, name);
  } else {
    sprintf(text, family == AF_INET6 ? "[%s]:%u" : "%s:%u", name, read_16(port));
  }
}

/* Parses the headers of an IPv4 or IPv6 packet of `size` available bytes. IPv6 extension headers
 * count as protocols. */
static void read_packet(const unsigned char *data, unsigned int size, struct packet *packet) {
  const int v4 = size >= 20 && data[0] >> 4 == 4, v6 = size >= 40 && data[0] >> 4 == 6;
  const unsigned int header = v6 ? 40 : v4 ? (data[0] & 0xFU) * 4 : 0;
  const int later_fragment = v4 && (read_16(data + 6) & 0x1FFF) != 0;
  const unsigned char *ports = NULL;
  unsigned int protocol;

  if (header < 20) return;
  protocol = data[v6 ? 6 : 9];
  sprintf(packet->protocol, "%u", protocol);
  if (protocol == IPPROTO_ICMP) strcpy(packet->protocol, "icmp");
  if (protocol == IPPROTO_ICMPV6) strcpy(packet->protocol, "icmpv6");
  if (protocol == IPPROTO_TCP) strcpy(packet->protocol, "tcp");
  if (protocol == IPPROTO_UDP) strcpy(packet->protocol, "udp");
  if ((protocol == IPPROTO_TCP || protocol == IPPROTO_UDP) && !later_fragment && size >= header + 4)
    ports = data + header;
  print_end(packet->source, v6 ? AF_INET6 : AF_INET, data + (v6 ? 8 : 12), ports);
  print_end(packet->destination, v6 ? AF_INET6 : AF_INET, data + (v6 ? 24 : 16),
            ports != NULL ? ports + 2 : NULL);
  packet->length = v6 ? read_16(data + 4) + 40 : read_16(data + 2);
}

static const char *or_null(const char *text) {
  return *text != '\0' ? text : NULL;
}

static void print_json(const struct packet *packet, const char *prefix, const char *in,
                       const char *out) {
  record_begin();
  text_field("prefix", prefix);
  text_field("in", in);
  text_field("out", out);
  text_field("protocol", or_null(packet->protocol));
  text_field("source", or_null(packet->source));
  text_field("destination", or_null(packet->destination));
  number_field("length", packet->length);
  record_end();
}

static void print_line(const struct packet *packet, const char *prefix, const char *in,
                       const char *out) {
  struct bytes line = {0};

  append_escaped(&line, prefix, strlen(prefix), "");
  printf("%s in=%s out=%s", line.data, in != NULL ? in : "-", out != NULL ? out : "-");
  if (*packet->protocol != '\0') {
    printf(" %s %s > %s %u bytes", packet->protocol, packet->source, packet->destination,
           packet->length);
  }
  putchar('\n');
  release(&line);
}

/* Packets still to print; negative for no limit. */
static long left = -1;

static int print_packet(struct nfnetlink_log_group *group, const struct nfgenmsg *header,
                        const struct nlattr *const *attributes, void *data) {
  const unsigned char *payload = nfnetlink_log_nfa_get_ptr(attributes, NFULA_PAYLOAD);
  const char *prefix = nfnetlink_log_nfa_get_ptr(attributes, NFULA_PREFIX);
  char in_name[IF_NAMESIZE], out_name[IF_NAMESIZE];
  const char *in = interface_name(attributes, NFULA_IFINDEX_INDEV, in_name);
  const char *out = interface_name(attributes, NFULA_IFINDEX_OUTDEV, out_name);
  struct packet packet = {"", "", "", 0};

  (void)group, (void)header, (void)data;
  if (left == 0) return 1;
  left -= left > 0;
  /* The payload follows the attribute's header, whose length includes that header. */
  if (payload != NULL)
    read_packet(payload, attributes[NFULA_PAYLOAD - 1]->nla_len - (unsigned int)NLA_HDRLEN,
                &packet);
  if (prefix != NULL && *prefix == '\0') prefix = NULL;
  if (option("--json") != NULL) {
    print_json(&packet, prefix, in, out);
  } else {
    print_line(&packet, prefix != NULL ? prefix : "-", in, out);
  }
  return 1;
}

/* ---- The group ------------------------------------------------------------------------------- */

/* Whether to continue after a failed receive. ENOBUFS reports that the kernel dropped packets. */
static int can_continue(void) {
  if (errno == ENOBUFS) refused("packets were lost");
  return errno == ENOBUFS || errno == EINTR || errno == EAGAIN || errno == ENOMSG;
}

/* Ignores the result of the dispatch: several packets in a datagram are followed by a message that
 * has no handler. */
static int receive_packets(struct nfnetlink_handle *netlink) {
  void *buffer = must(malloc(BUFFER_SIZE));
  int status = DONE;

  while (status == DONE && flush_output() == 0 && left != 0 && wait_readable(netlink->fd)) {
    const int length = nfnetlink_receive(netlink, buffer, BUFFER_SIZE);

    if (length < 0 && !can_continue()) status = failed("netfilter");
    if (length > 0) nfnetlink_msg_unpack(netlink, buffer, length);
  }
  free(buffer);
  return status;
}

static int print_packets(struct nfnetlink_log *log, unsigned int number) {
  static const struct timeval timeout = {REPLY_TIMEOUT, 0};
  struct nfnetlink_log_group *group;
  int status;

  /* Only this limit ends the wait for the reply to a rejected request. */
  setsockopt(log->netlink->fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  group = nfnetlink_log_bind_group(log, number);
  if (group == NULL) {
    return refused("group %u is not available: another program has it, or permission is denied",
                   number);
  }
  nfnetlink_log_register_handler(group, print_packet, NULL);
  /* Limits the copied bytes; fails if packets arrive too fast, which then are copied completely. */
  errno = 0;
  if (nfnetlink_log_setmode(group, NFULNL_COPY_PACKET, COPIED) != 0) can_continue();
  status = receive_packets(log->netlink);
  left = 0;
  nfnetlink_log_unbind_group(group);
  return status;
}

static int run_packets(int argc, char **argv) {
  unsigned long number, count;
  struct nfnetlink_log *log;
  int status;

  (void)argc;
  if (number_argument("GROUP", argv[0], 0, UINT16_MAX, &number) != DONE) return MISUSED;
  if (option("--count") != NULL) {
    if (number_argument("--count", option("--count"), 1, INT32_MAX, &count) != DONE) return MISUSED;
    left = (long)count;
  }
  catch_interrupts();
  log = nfnetlink_log_open();
  if (log == NULL) return failed("netfilter");
  status = print_packets(log, (unsigned int)number);
  nfnetlink_log_close(log);
  return status;
}

static const struct action actions[] = {
    {"packets", "[--json] [--count N] GROUP",
     "prints a line for each packet that a rule sends to a group, until interrupted",
     DETAILS("Rules do so with -j NFLOG --nflog-group GROUP. The kernel holds packets back for up "
             "to a second. Lost packets are reported on standard error.\n"
             "--count\tends after N packets"),
     "--count 10 5", run_packets},
    {0},
};

const struct group group_log = {"log", "packets that firewall rules log", actions};
