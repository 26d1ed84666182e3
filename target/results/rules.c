/* Firewall rules as command lines, and the values that they are made from. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "results.h"
#include "talvera/ipt.h"

static char *heap(const char *s) {
  char *copy;
  if (s == NULL) return NULL;
  copy = malloc(strlen(s) + 1);
  return copy == NULL ? NULL : strcpy(copy, s);
}

/* Prints the rule's line and whether it is as good as the one before, then takes its place. */
static void print_rule(ipt_rule *rule) {
  static ipt_rule *before;
  char line[IPT_LINE_SIZE];
  int result = -1;
  if (rule != NULL) result = ipt_make_rule_string(rule, line);
  printf("rule %d %s differs %d\n", result, quoted(result == 0 ? line : NULL),
         ipt_rule_compare(rule, before));
  ipt_rule_free(before);
  before = rule;
}

static void print_ready_made(void) {
  static const char *const addresses[] = {"203.0.113.7", "! 10.0.0.1", "", NULL};
  static const char *const protocols[] = {"tcp", "ALL", "17", "! udp", "TCP"};
  static const char *const ports[] = {"80", "80-90", "80 90", "!80", "80:90", "x"};
  static const int inner[] = {0, 80, 8080, 65535, -1, 2147483647};
  size_t i;
  uint32_t command;
  for (i = 0; i < COUNT(addresses) * COUNT(protocols) * COUNT(ports); i++) {
    print_rule(ipt_make_pinhole_rule((uint32_t)(i % 11), addresses[i % 4], protocols[i / 4 % 5],
                                     ports[i / 20], "192.168.1.10", inner[i % 6]));
  }
  for (command = 0; command < 11; command++) {
    print_rule(ipt_make_nat_onoff_rule(command, "wan0"));
    print_rule(ipt_make_maplist_rule(command, "!10.0.0.0/8", "! 192.168.1.2-192.168.1.9"));
  }
}

static void print_records(void) {
  static const char *const values[] = {"tcp", "",
                                       "a-value-of-forty-eight-characters-to-fill-sections"};
  uint32_t i;
  for (i = 0; i < 72; i++) {
    ipt_rule *rule = ipt_rule_init();
    rule->table = i % 6;
    rule->chain = i % 7;
    rule->command = i % 11;
    rule->target = i % 18;
    if (i % 3 == 0) rule->command_argument = heap(values[i / 3 % 3]);
    if (i % 4 == 0) rule->target_argument = heap(values[i / 4 % 3]);
    ipt_rule_add_param(rule, i % 8, (uint8_t)(i % 16), heap(values[i % 3]), i % 8,
                       heap(values[i % 2]));
    ipt_rule_add_param(rule, 1, (uint8_t)(i % 5), NULL, i % 19, heap(values[i / 2 % 3]));
    ipt_rule_add_match(rule, i % 11, (uint8_t)(i / 4 % 16), i % 19, heap(values[i / 5 % 3]));
    print_rule(rule);
  }
  print_rule(ipt_simplerule_init());
  print_rule(NULL);
}

static void print_port_values(const char *text) {
  static const int inner[] = {0, 80, 1000, 65535, 2147483647, -1};
  char buffer[24];
  char *value = ipt_make_port_value(text);
  const char *rest;
  uint8_t mask = 0x10;
  size_t i;

  printf("port %s %s check %d", quoted(text), quoted(value), ipt_check_port_input(text));
  for (i = 0; value != NULL && i < COUNT(inner); i++) {
    strcpy(buffer, "none");
    printf(" %d", ipt_calc_portrange(value, inner[i], buffer, i % 2 == 0 ? sizeof buffer : 6));
    printf(" %s", quoted(buffer));
  }
  free(value);
  value = ipt_make_protocol_value(text);
  ipt_parse_neg_val((unsigned)strlen(text) % 10, &mask, text, &rest);
  printf(" protocol %s negation %02x %s flags %d\n", quoted(value), mask, at(text, rest),
         check_tcp_flags(text));
  free(value);
}

void print_rules(void) {
  static const char *const more[] = {"SYN,ACK SYN", "syn,syn ack", "ALL NONE",      "ALL,SYN ACK",
                                     "SYN",         "SYN ACK FIN", "!  80",         "icmp",
                                     "1 - 2",       "80-90-100",   " SYN,RST  PSH "};
  static const char *const protocols[] = {"tcp",       "UDP",  "Icmp", "none",
                                          "ipv6-icmp", "sctp", "",     "x"};
  static const char *const records =
      "c0a8010024"
      "0000000000"
      "FFFFFFFF32"
      "0a00000g0x"
      "12";
  char buffer[32];
  size_t i;

  print_ready_made();
  print_records();
  for (i = 0; i < sample_count; i++)
    print_port_values(sample_texts[i]);
  for (i = 0; i < COUNT(more); i++)
    print_port_values(more[i]);
  for (i = 0; i < COUNT(protocols); i++) {
    printf("protocol %s %d\n", protocols[i], wkp_prot_from_name(protocols[i]));
  }
  for (i = 0; i < 20; i++)
    printf("target %s\n", quoted(ipt_target_string((uint32_t)i)));
  for (i = 0; i < COUNT(flags); i++)
    printf("flag %s %02x\n", flags[i].name, flags[i].value);
  for (i = 0; i < 4; i++) {
    printf("portal %d", captiveportal_make_addrbuf(records, buffer, sizeof buffer, (unsigned)i));
    printf(" %s", quoted(buffer));
    printf(" %d", captiveportal_make_addrbuf(records, buffer, 6, (unsigned)i));
    printf(" %s\n", quoted(buffer));
  }
}
