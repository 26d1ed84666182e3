/* Manages firewall rules as a gateway's daemon does: opens and closes pinholes, turns NAT on and
 * off, sets policies and flushes chains. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "talvera/ipt.h"

static int usage(void) {
  fprintf(stderr,
          "usage: pinhole open|close ADDRESS PROTOCOL PORT[-PORT] HOST HOST-PORT\n"
          "       pinhole nat on|off INTERFACE\n"
          "       pinhole policy input|forward|output accept|drop\n"
          "       pinhole flush input|forward|output\n");
  return 2;
}

/* Runs a rule and frees it. The same rule with the delete command removes what the append command
 * added. */
static int run(ipt_rule *rule) {
  int error;
  if (rule == NULL) {
    fprintf(stderr, "pinhole: not a rule\n");
    return 1;
  }
  error = ipt_process_rule(rule);
  if (error != 0) fprintf(stderr, "pinhole: failed (%d)\n", error);
  ipt_rule_free(rule);
  return error != 0;
}

/* Returns the position of a word in a list, or -1. */
static int find(const char *const *words, int count, const char *word) {
  int i;
  for (i = 0; i < count; ++i) {
    if (strcmp(words[i], word) == 0) return i;
  }
  return -1;
}

int main(int argc, char **argv) {
  static const char *const chains[] = {"input", "forward", "output"};
  static const char *const policies[] = {"accept", "drop"};
  const char *action = argc > 1 ? argv[1] : "";
  int chain = argc > 2 ? find(chains, 3, argv[2]) : -1;

  if (argc == 7 && (strcmp(action, "open") == 0 || strcmp(action, "close") == 0)) {
    const uint32_t command = action[0] == 'o' ? IPT_COMMAND_APPEND : IPT_COMMAND_DELETE;
    return run(ipt_make_pinhole_rule(command, argv[2], argv[3], argv[4], argv[5], atoi(argv[6])));
  }
  if (argc == 4 && strcmp(action, "nat") == 0) {
    const uint32_t command = strcmp(argv[2], "on") == 0 ? IPT_COMMAND_APPEND : IPT_COMMAND_DELETE;
    return run(ipt_make_nat_onoff_rule(command, argv[3]));
  }
  if (argc == 4 && strcmp(action, "policy") == 0 && chain >= 0) {
    const int policy = find(policies, 2, argv[3]);
    if (policy < 0) return usage();
    return ipt_set_chain_policy(IPT_CHAIN_INPUT + (uint32_t)chain,
                                IPT_TARGET_ACCEPT + (uint32_t)policy) != 0;
  }
  if (argc == 3 && strcmp(action, "flush") == 0 && chain >= 0) {
    return ipt_flush_chain(IPT_CHAIN_INPUT + (uint32_t)chain) != 0;
  }
  return usage();
}
