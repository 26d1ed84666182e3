/* talvera ipt: firewall rules, printed or run, and validation of their values. */
#include "talvera/ipt.h"

#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "talvera/args.h"
#include "tool.h"

enum { MAX_ADDRESS = 15, MAX_INTERFACE = 15, MAX_PROTOCOL = 4, MAX_FLAGS = 48, RANGE_SIZE = 32 };

/* ---- Values ---------------------------------------------------------------------------------- */

/* Checked values are safe in a shell command line, and short enough that the library omits no part
 * of them. */

/* Checks the address before a separator and finds the rest; null if there is no separator. */
static int first_address(const char *what, const char *text, char separator, const char **rest) {
  char address[MAX_ADDRESS + 2]; /* one character too many still fits */
  const char *start;
  uint8_t negation = 0;

  ipt_parse_neg_val(0, &negation, text, &start);
  *rest = strchr(start, separator);
  snprintf(address, sizeof address, "%.*s",
           *rest != NULL ? (int)(*rest - start) : (int)sizeof address, start);
  if (*rest != NULL) ++*rest;
  return address_argument(what, address);
}

/* Checks an address, or a network as ADDRESS/LENGTH. */
static int network_argument(const char *text) {
  const char *rest;
  unsigned long bits;

  if (first_address("ADDRESS", text, '/', &rest) != DONE) return MISUSED;
  return rest == NULL ? DONE : number_argument("ADDRESS", rest, 0, 32, &bits);
}

/* Parses a port or range. Stores its text for iptables, which the caller frees, and, unless null,
 * the port to which the first one is mapped. */
static int check_ports(const char *text, const char *internal_text, unsigned long *internal,
                       char **value) {
  char *colon, expected[12] = "-";
  int low = 0, high = 0, status = DONE;
  const char *start;
  uint8_t negation = 0;

  ipt_parse_neg_val(0, &negation, text, &start);
  *value = ipt_make_port_value(start);
  colon = *value != NULL ? strchr(*value, ':') : NULL;
  if (colon != NULL) *colon = '+';
  if (*value != NULL && str_to_port_range(*value, &low, &high) == 0 && low > 0) {
    range_to_portstr(expected, (unsigned int)low, (unsigned int)high, '+');
  }
  if (*value == NULL || strcmp(*value, expected) != 0) {
    status = misused("PORT: %s is neither a port nor a range FIRST-LAST", text);
  } else if (internal_text != NULL) {
    status = number_argument("HOST-PORT", internal_text, 1,
                             UINT16_MAX - (unsigned long)(high - low), internal);
  }
  if (colon != NULL) *colon = ':';
  if (status != DONE) free(*value);
  return status;
}

static int protocol_argument(const char *text) {
  char *value = ipt_make_protocol_value(text);
  const int status = value != NULL && strlen(text) <= MAX_PROTOCOL ? DONE : MISUSED;

  free(value);
  return status == DONE ? DONE
                        : misused("PROTOCOL: %s is not tcp, udp, icmp, ALL or a number", text);
}

static int run_ports(int argc, char **argv) {
  unsigned long internal = 0;
  char range[RANGE_SIZE] = "";
  char *value;

  if (check_ports(argv[0], argc > 1 ? argv[1] : NULL, &internal, &value) != DONE) return MISUSED;
  record_begin();
  text_field("external", value);
  if (internal != 0) {
    ipt_calc_portrange(value, (int)internal, range, sizeof range);
    text_field("internal", *range != '\0' ? range : NULL);
  }
  record_end();
  free(value);
  return DONE;
}

static int run_flags(int argc, char **argv) {
  (void)argc;
  if (bounded_argument("FLAGS", argv[0], MAX_FLAGS) != DONE) return MISUSED;
  if (check_tcp_flags(argv[0]) == 0) return DONE;
  return refused("%s is not two lists of flags", argv[0]);
}

static int run_protocol(int argc, char **argv) {
  const int number = wkp_prot_from_name(argv[0]);

  (void)argc;
  if (number < 0) return refused("%s is not a protocol's name", argv[0]);
  printf("%d\n", number);
  return DONE;
}

/* ---- Canned rules ---------------------------------------------------------------------------- */

/* Each makes a rule from an action's arguments, or returns MISUSED with a message. */

static int make_pinhole(char **words, uint32_t command, ipt_rule **rule) {
  unsigned long port = 0;
  char *ports;

  if (network_argument(words[0]) != DONE || protocol_argument(words[1]) != DONE ||
      address_argument("HOST", words[3]) != DONE ||
      check_ports(words[2], words[4], &port, &ports) != DONE) {
    return MISUSED;
  }
  free(ports);
  *rule = must(ipt_make_pinhole_rule(command, words[0], words[1], words[2], words[3], (int)port));
  return DONE;
}

static int make_nat(char **words, uint32_t command, ipt_rule **rule) {
  const int off = strcmp(words[0], "off") == 0;

  if (!off && strcmp(words[0], "on") != 0) return misused("STATE: %s is not on or off", words[0]);
  if (plain_argument("INTERFACE", words[1], MAX_INTERFACE) != DONE) return MISUSED;
  *rule = must(ipt_make_nat_onoff_rule(off ? IPT_COMMAND_DELETE : command, words[1]));
  return DONE;
}

static int make_maplist(char **words, uint32_t command, ipt_rule **rule) {
  const char *last;

  if (network_argument(words[0]) != DONE || first_address("RANGE", words[1], '-', &last) != DONE) {
    return MISUSED;
  }
  if (address_argument("RANGE", last != NULL ? last : "") != DONE) return MISUSED;
  *rule = must(ipt_make_maplist_rule(command, words[0], words[1]));
  return DONE;
}

static const struct maker {
  const char *name;
  int words;
  int (*make)(char **words, uint32_t command, ipt_rule **rule);
} makers[] = {
    {"pinhole", 5, make_pinhole},
    {"nat", 2, make_nat},
    {"maplist", 2, make_maplist},
};

static int print_rule(const char *sign, const ipt_rule *rule) {
  char line[IPT_LINE_SIZE];

  if (ipt_make_rule_string(rule, line) != 0) return refused("the rule is too long");
  printf("%s%s\n", sign, line);
  return DONE;
}

/* Runs a rule with --apply, otherwise prints it, and frees it. Line buffering puts the library's
 * output before that of iptables. */
static int finish(ipt_rule *rule) {
  int status;

  if (option("--apply") != NULL) {
    setvbuf(stdout, NULL, _IOLBF, 0);
    status = ipt_process_rule(rule);
    if (status != 0) status = refused("iptables failed with status %d", status);
  } else {
    status = print_rule("", rule);
  }
  ipt_rule_free(rule);
  return status;
}

/* Makes a rule from a line that contains an action and its arguments. */
static int make_other(char *line, uint32_t command, ipt_rule **rule) {
  char *words[ARGS_SLOTS];
  size_t i;
  int count;

  str_to_args(line, &count, words);
  for (i = 0; i < sizeof makers / sizeof *makers; ++i) {
    if (count == makers[i].words + 1 && strcmp(words[0], makers[i].name) == 0)
      return makers[i].make(words + 1, command, rule);
  }
  return misused("--diff needs pinhole, nat or maplist with all arguments");
}

static int compare(const ipt_rule *rule, uint32_t command) {
  char *line = must(strdup(option("--diff")));
  ipt_rule *other = NULL;
  int status = make_other(line, command, &other);

  if (status == DONE && ipt_rule_compare(rule, other) != 0) {
    print_rule("-", rule);
    print_rule("+", other);
    status = FAILED;
  }
  ipt_rule_free(other);
  free(line);
  return status;
}

static int run_rule(const struct maker *maker, char **argv) {
  const uint32_t command = option("--delete") != NULL ? IPT_COMMAND_DELETE : IPT_COMMAND_APPEND;
  ipt_rule *rule = NULL;
  int status;

  if (option("--apply") != NULL && option("--diff") != NULL)
    return misused("--apply and --diff cannot be combined");
  status = maker->make(argv, command, &rule);
  if (status != DONE) return status;
  if (option("--diff") == NULL) return finish(rule);
  status = compare(rule, command);
  ipt_rule_free(rule);
  return status;
}

static int run_pinhole(int argc, char **argv) {
  (void)argc;
  return run_rule(&makers[0], argv);
}

static int run_nat(int argc, char **argv) {
  (void)argc;
  return run_rule(&makers[1], argv);
}

static int run_maplist(int argc, char **argv) {
  (void)argc;
  return run_rule(&makers[2], argv);
}

/* ---- Chains of the filter table -------------------------------------------------------------- */

/* In the order of the numbers from IPT_CHAIN_INPUT on. */
static const char chains[][8] = {"INPUT", "FORWARD", "OUTPUT"};

/* Uses the same rule as the library to flush a chain or set its policy. */
static int run_chain(const char *chain, uint32_t command, const char *policy) {
  ipt_rule *rule;
  uint32_t i = 0;

  while (i < 3 && strcasecmp(chain, chains[i]) != 0)
    ++i;
  if (i == 3) return misused("CHAIN: %s is not INPUT, FORWARD or OUTPUT", chain);
  rule = must(ipt_simplerule_init());
  rule->chain = IPT_CHAIN_INPUT + i;
  rule->command = command;
  rule->command_argument = policy != NULL ? must(strdup(policy)) : NULL;
  return finish(rule);
}

static int run_flush(int argc, char **argv) {
  (void)argc;
  return run_chain(argv[0], IPT_COMMAND_FLUSH, NULL);
}

static int run_policy(int argc, char **argv) {
  uint32_t policy;

  (void)argc;
  for (policy = IPT_TARGET_ACCEPT; policy <= IPT_TARGET_DROP; ++policy) {
    const char *name = ipt_target_string(policy);
    if (strcasecmp(argv[1], name) == 0) return run_chain(argv[0], IPT_COMMAND_POLICY, name);
  }
  return misused("POLICY: %s is not ACCEPT or DROP", argv[1]);
}

static const struct action actions[] = {
    {"pinhole", "[--apply] [--delete] [--diff RULE] ADDRESS PROTOCOL PORT HOST HOST-PORT",
     "forwards connections to a port of the gateway to a host on the inside",
     DETAILS("PORT is a port or a range such as 1000-1010, of which the first goes to HOST-PORT. "
             "An ADDRESS or PORT that starts with ! is negated, as the gateway's iptables takes "
             "it.\n"
             "--apply\truns the command, instead of printing it\n"
             "--delete\tremoves the rule\n"
             "--diff\tcompares with another rule, an action and its arguments as one word; prints "
             "both if they differ, with status 1"),
     "--apply 203.0.113.7 tcp 8080 192.168.1.10 80", run_pinhole},
    {"nat", "[--apply] [--delete] [--diff RULE] STATE INTERFACE",
     "masquerades what leaves through an interface; STATE is on or off",
     DETAILS("Options are those of pinhole; off also removes the rule."), "on ppp0", run_nat},
    {"maplist", "[--apply] [--delete] [--diff RULE] ADDRESS RANGE",
     "masquerades what a range of inner addresses sends to ADDRESS",
     DETAILS("Options are those of pinhole."), "10.0.0.0/8 192.168.1.100-192.168.1.200",
     run_maplist},
    {"flush", "[--apply] CHAIN", "removes all rules from INPUT, FORWARD or OUTPUT",
     DETAILS("--apply\truns the command, instead of printing it"), "forward", run_flush},
    {"policy", "[--apply] CHAIN POLICY", "makes a chain drop or accept what no rule decides",
     DETAILS("--apply\truns the command, instead of printing it"), "input drop", run_policy},
    {"ports", "[--json] PORT [HOST-PORT]",
     "prints ports as iptables takes them, and those that a pinhole sends them to",
     DETAILS("A range that keeps its port numbers has no internal ports."), "1000-1010 2000",
     run_ports},
    {"flags", "FLAGS", "checks an argument of --tcp-flags: flags to examine, flags to be set", NULL,
     "'SYN,ACK,FIN,RST SYN'", run_flags},
    {"protocol", "NAME", "prints the number of an IP protocol", NULL, "esp", run_protocol},
    {0},
};

const struct group group_ipt = {"ipt", "firewall rules: pinholes, NAT, policies", actions};
