// cc ipt.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <talvera/ipt.h>

int main(void) {
  int error = IPT_RULE_FAILED;
  ipt_rule *rule =
      ipt_make_pinhole_rule(IPT_COMMAND_APPEND, "203.0.113.7", "tcp", "8080", "192.168.1.10", 80);
  if (rule != NULL) error = ipt_process_rule(rule);
  if (error == 0) {
    rule->command = IPT_COMMAND_DELETE;  // the same record removes the rule
    error = ipt_process_rule(rule);
  }
  ipt_rule_free(rule);
  return error;
}
