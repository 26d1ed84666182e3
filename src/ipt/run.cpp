// Running a rule, and the two commands for built-in chains.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ipt/rule_ptr.h"
#include "talvera/ipt.h"
#include "talvera/utils.h"

using talvera::ipt::RulePtr;

// The command line is intentionally passed as the format, so "%%" in an argument reaches the shell
// as "%".
#pragma GCC diagnostic ignored "-Wformat-security"

extern "C" int ipt_process_rule(const ipt_rule *rule) {
  char line[IPT_LINE_SIZE];
  if (ipt_make_rule_string(rule, line) != 0) return IPT_RULE_FAILED;
  std::printf("CWS ipt: invoking rule \"%s\"\n", line);
  return sdb_system(line);
}

extern "C" int ipt_flush_chain(uint32_t chain) {
  const RulePtr rule(ipt_simplerule_init());
  if (rule == nullptr) return IPT_RULE_FAILED;
  rule->table = IPT_TABLE_FILTER;
  rule->chain = chain;
  rule->command = IPT_COMMAND_FLUSH;
  return ipt_process_rule(rule.get());
}

extern "C" int ipt_set_chain_policy(uint32_t chain, uint32_t policy) {
  if (chain < IPT_CHAIN_INPUT || chain > IPT_CHAIN_OUTPUT) return IPT_RULE_FAILED;
  if (policy != IPT_TARGET_ACCEPT && policy != IPT_TARGET_DROP) return IPT_RULE_FAILED;
  const RulePtr rule(ipt_simplerule_init());
  if (rule == nullptr) return IPT_RULE_FAILED;
  rule->table = IPT_TABLE_FILTER;
  rule->chain = chain;
  rule->command = IPT_COMMAND_POLICY;
  rule->command_argument = strdup(ipt_target_string(policy));
  if (rule->command_argument == nullptr) return IPT_RULE_FAILED;
  return ipt_process_rule(rule.get());
}
