/* Address arithmetic, traceroute command lines, and messages of the netfilter subsystems. */
#include <arpa/inet.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "results.h"
#include "talvera/ipdiag.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"

static void print_addresses(const char *text) {
  static const char *const masks[] = {"255.255.255.0", "0.0.0.0", "255.0.255.1", "255.255.255.255"};
  unsigned char bytes[16];
  uint32_t result[3];
  char buffer[NETU_MAC_TEXT_SIZE];
  size_t i;

  memset(bytes, '#', sizeof bytes);
  printf("address %s v4 %d", quoted(text), netu_atoipv4(text, bytes));
  printf(" %s", hexed(bytes, 4));
  printf(" v6 %d", netu_atoipv6(text, bytes));
  printf(" %s mac", hexed(bytes, 16));
  printf(" %s", netu_etoa(netu_atoe(text, bytes), buffer));
  printf(" empty %d prefix %u", netu_is_empty_ip4addr(text), netu_calc_subnet_prefix(text));
  for (i = 0; i < COUNT(masks); i++) {
    int status;
    memset(result, '#', sizeof result);
    status = netu_calc_network(text, masks[i], &result[0]) +
             netu_calc_broadcast(text, masks[i], &result[1]) +
             netu_calc_host(text, masks[i], &result[2]);
    printf(" %d %s", status, hexed(result, sizeof result));
  }
  printf("\n");
}

static void print_commands(void) {
  static const unsigned sizes[] = {0, 10, 11, 20, 40, 512};
  static const int32_t numbers[] = {0, 1, -1, 65535, 2147483647, -2147483647 - 1};
  char buffer[1024];
  size_t i;
  for (i = 0; i < 36; i++) {
    const int32_t number = numbers[i / 6];
    int result;
    strcpy(buffer, "none");
    result = ipdiag_tr_makeparam("host.example.net", i % 2 == 0 ? "eth0" : NULL, number, number, 3,
                                 number, (uint16_t)number, (int32_t)(i % 3), number, buffer,
                                 (uint16_t)(i % 2), sizes[i % 6]);
    printf("traceroute %d %s\n", result, quoted(buffer));
  }
}

/* A message with attributes of 0 to 5 bytes, as a program would pack it. */
static void pack(struct nlmsghdr *message, unsigned type) {
  struct nlmsghdr header;
  struct nfgenmsg general;
  unsigned char piece[16];
  unsigned i;

  memset(&header, 0, sizeof header);
  header.nlmsg_len = NLMSG_LENGTH(0);
  header.nlmsg_type = (uint16_t)type;
  general.nfgen_family = 2;
  general.version = 0;
  general.res_id = htons(0x1234);
  nfnetlink_msg_pack(message, &header, sizeof header);
  nfnetlink_msg_pack(message, &general, sizeof general);
  for (i = 0; i < 6; i++) {
    struct nlattr attribute;
    attribute.nla_len = (uint16_t)(sizeof attribute + i);
    attribute.nla_type = (uint16_t)(i | (i % 2 == 0 ? 0 : 0x8000));
    memcpy(piece, &attribute, sizeof attribute);
    memset(piece + sizeof attribute, (int)(0xa0 + i), i);
    nfnetlink_msg_pack(message, piece, attribute.nla_len);
  }
}

/* Handler: says what arrived, in words that do not depend on the machine. */
static int show_message(const struct nlmsghdr *message, const struct nlattr *const *attributes,
                        void *data) {
  unsigned i;
  printf(" type %04x length %u", message->nlmsg_type, message->nlmsg_len);
  for (i = 1; i <= NFNETLINK_LOG_ATTRIBUTES; i++) {
    const void *const payload = nfnetlink_log_nfa_get_ptr(attributes, i);
    if (payload != NULL) {
      printf(" %u %s %s", i, at((const char *)message, payload), hexed(payload, i));
    }
  }
  return *(int *)data;
}

/* Dispatches the message cut to all lengths, then a buffer cut to them. The handler gives answers
 * in turn. */
static void print_dispatch(struct nfnetlink_handle *handle, struct nlmsghdr *message, int *answer) {
  static const int answers[] = {1, 0, -5};
  const int length = (int)message->nlmsg_len;
  int cut;
  for (cut = 0; cut <= length; cut++) {
    *answer = answers[cut % COUNT(answers)];
    message->nlmsg_len = (uint32_t)cut;
    printf("length %d of %d", cut, length);
    printf(" result %d\n", nfnetlink_msg_unpack(handle, message, length));
  }
  for (cut = -1; cut < length; cut++) {
    printf("buffer of %d", cut);
    printf(" result %d\n", nfnetlink_msg_unpack(handle, message, cut));
  }
}

static void print_messages(void) {
  static union {
    struct nlmsghdr header;
    unsigned char bytes[512];
  } message;
  static const unsigned types[] = {0x0400, 0x0401, 0x0402, 0x0500, 0x2000, 2, 3};
  struct nfnetlink_callback callbacks[2];
  struct nfnetlink_handle handle;
  int answer;
  size_t i;

  memset(&handle, 0, sizeof handle);
  memset(callbacks, 0, sizeof callbacks);
  callbacks[0].handler = show_message;
  callbacks[0].data = &answer;
  callbacks[0].attribute_count = NFNETLINK_LOG_ATTRIBUTES;
  handle.fd = -1;
  handle.subsystems[4].handle = &handle;
  handle.subsystems[4].id = 4;
  handle.subsystems[4].callback_count = COUNT(callbacks);
  handle.subsystems[4].callbacks = callbacks;
  for (i = 0; i < COUNT(types); i++) {
    memset(&message, 0, sizeof message);
    pack(&message.header, types[i]);
    printf("message %04x packed %d\n", types[i], (int)message.header.nlmsg_len);
    print_dispatch(&handle, &message.header, &answer);
  }
}

void print_network(void) {
  static const char *const more[] = {"0.0.0.0",
                                     "::",
                                     "::1",
                                     "2001:db8::1:20",
                                     "1::2::3",
                                     "fe80::1%",
                                     "::ffff:10.0.0.1",
                                     "1:2:3:4:5:6:7:8",
                                     "12345::",
                                     "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255"};
  unsigned prefix;
  size_t i;
  for (i = 0; i < sample_count; i++)
    print_addresses(sample_texts[i]);
  for (i = 0; i < COUNT(more); i++)
    print_addresses(more[i]);
  for (prefix = 0; prefix < 34; prefix++) {
    printf("prefix %u %08x\n", prefix, netu_subnet_mask_from_prefix(prefix));
  }
  printf("prefix most %08x\n", netu_subnet_mask_from_prefix(4294967295U));
  print_commands();
  print_messages();
}
