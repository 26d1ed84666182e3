// Owner of a rule record.
#pragma once

#include <memory>

#include "talvera/ipt.h"

namespace talvera::ipt {

struct RuleDeleter {
  void operator()(ipt_rule *rule) const { ipt_rule_free(rule); }
};

using RulePtr = std::unique_ptr<ipt_rule, RuleDeleter>;

}  // namespace talvera::ipt
