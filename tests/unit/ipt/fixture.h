// What the tests of the firewall rules share: rules written as one expression, and their text.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/system_double.h"
#include "talvera/ipt.h"

namespace talvera::test {

struct RuleDeleter {
  void operator()(ipt_rule *rule) const { ipt_rule_free(rule); }
};
using RulePtr = std::unique_ptr<ipt_rule, RuleDeleter>;

inline char *heap(const char *text) {
  return text != nullptr ? strdup(text) : nullptr;
}

// An item of either kind; a match's value is not used.
struct Item {
  std::uint32_t item;
  unsigned negation = 0;
  const char *value = nullptr;
  std::uint32_t option = 0;
  const char *option_value = nullptr;
};

struct RuleText {
  std::uint32_t table, chain, command;
  std::vector<Item> params = {}, matches = {};
  std::uint32_t target = 0;
  const char *target_argument = nullptr;
  const char *command_argument = nullptr;
};

inline RulePtr make_rule(const RuleText &text) {
  RulePtr rule(ipt_rule_init());
  rule->table = text.table;
  rule->chain = text.chain;
  rule->command = text.command;
  rule->command_argument = heap(text.command_argument);
  rule->target = text.target;
  rule->target_argument = heap(text.target_argument);
  for (const Item &i : text.params) {
    ipt_rule_add_param(rule.get(), i.item, static_cast<std::uint8_t>(i.negation), heap(i.value),
                       i.option, heap(i.option_value));
  }
  for (const Item &i : text.matches) {
    ipt_rule_add_match(rule.get(), i.item, static_cast<std::uint8_t>(i.negation), i.option,
                       heap(i.option_value));
  }
  return rule;
}

// The command line, or the result in brackets. Either way the buffer holds a terminated string, and
// what lies behind it stays as it is.
inline std::string rendered(const ipt_rule *rule) {
  char buffer[IPT_LINE_SIZE + 16];
  std::memset(buffer, '\xEE', sizeof buffer);
  const int result = ipt_make_rule_string(rule, buffer);
  EXPECT_NE(std::memchr(buffer, '\0', IPT_LINE_SIZE), nullptr);
  EXPECT_EQ(std::string(buffer + IPT_LINE_SIZE, 16), std::string(16, '\xEE'));
  return result == 0 ? buffer : "[" + std::to_string(result) + "]";
}

inline std::string rendered(const RuleText &text) {
  return rendered(make_rule(text).get());
}

}  // namespace talvera::test
