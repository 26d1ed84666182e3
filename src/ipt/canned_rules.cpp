// Canned rules: pinhole, NAT on an interface, NAT for an address range.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ipt/rule_ptr.h"
#include "ipt/user_input.h"
#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

// Bit numbers of the negation mask.
constexpr unsigned kNothingBit = 0;
constexpr unsigned kValueBit = 1;
constexpr unsigned kOptionValueBit = 3;

constexpr std::size_t kTargetSize = 32;  // "host:ports" and terminator

// Strips a leading "!", setting its bit in the mask.
const char *strip_negation(unsigned bit, std::uint8_t &mask, const char *text) {
  const char *rest = nullptr;
  ipt_parse_neg_val(bit, &mask, text, &rest);
  return rest;
}

// Builds a rule. A failure is remembered until the end; strings passed to the rule are never
// leaked.
class RuleBuilder {
 public:
  [[nodiscard]] bool failed() const { return failed_; }

  // A heap copy to pass to the rule; null for null.
  char *copy(const char *text) {
    if (text == nullptr) return nullptr;
    char *copied = strdup(text);
    if (copied == nullptr) failed_ = true;
    return copied;
  }

  void add_param(std::uint32_t item, std::uint8_t mask, char *value, std::uint32_t option,
                 char *option_value) {
    if (ipt_rule_add_param(rule_.get(), item, mask, value, option, option_value) == nullptr) {
      failed_ = true;
    }
  }

  void add_match(std::uint32_t item, std::uint8_t mask, std::uint32_t option, char *option_value) {
    if (ipt_rule_add_match(rule_.get(), item, mask, option, option_value) == nullptr) {
      failed_ = true;
    }
  }

  // All canned rules belong to the table "nat".
  ipt_rule *finish(std::uint32_t command, std::uint32_t chain, std::uint32_t target,
                   const char *target_argument) {
    if (failed_) return nullptr;
    rule_->target_argument = copy(target_argument);
    if (failed_) return nullptr;
    rule_->table = IPT_TABLE_NAT;
    rule_->chain = chain;
    rule_->command = command;
    rule_->target = target;
    return rule_.release();
  }

 private:
  RulePtr rule_{ipt_rule_init()};
  bool failed_ = rule_ == nullptr;
};

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" ipt_rule *ipt_make_pinhole_rule(uint32_t command, const char *destination,
                                           const char *protocol, const char *external_port,
                                           const char *internal_host, int internal_port) {
  if (internal_host == nullptr) return nullptr;
  RuleBuilder builder;
  // The protocol's "!" sets a bit that is never rendered: a negated protocol intentionally comes
  // out without its "!".
  std::uint8_t mask = 0;
  protocol = strip_negation(kNothingBit, mask, protocol);
  char *port = ipt_make_port_value(strip_negation(kOptionValueBit, mask, external_port));
  if (port == nullptr) return nullptr;
  char *protocol_value = builder.copy(is_protocol(protocol) ? protocol : nullptr);
  builder.add_param(IPT_PARAM_PROTOCOL, mask, protocol_value, IPT_OPTION_DPORT, port);
  mask = 0;
  destination = strip_negation(kValueBit, mask, destination);
  builder.add_param(IPT_PARAM_DESTINATION, mask, builder.copy(destination), IPT_OPTION_NONE,
                    nullptr);
  builder.add_match(IPT_MATCH_STATE, 0, IPT_OPTION_STATE, builder.copy("NEW,ESTABLISHED,RELATED"));
  if (builder.failed()) return nullptr;

  char range[kTargetSize] = "";
  if (ipt_calc_portrange(port, internal_port, range, sizeof range) != 0) return nullptr;
  char target[kTargetSize];
  const char *colon = range[0] != '\0' ? ":" : "";
  if (std::snprintf(target, sizeof target, "%s%s%s", internal_host, colon, range) < 0) {
    return nullptr;
  }
  return builder.finish(command, IPT_CHAIN_PREROUTING, IPT_TARGET_DNAT, target);
}

extern "C" ipt_rule *ipt_make_nat_onoff_rule(uint32_t command, const char *interface) {
  if (interface == nullptr) return nullptr;
  RuleBuilder builder;
  builder.add_param(IPT_PARAM_OUT_INTERFACE, 0, builder.copy(interface), IPT_OPTION_NONE, nullptr);
  return builder.finish(command, IPT_CHAIN_POSTROUTING, IPT_TARGET_MASQUERADE, nullptr);
}

extern "C" ipt_rule *ipt_make_maplist_rule(uint32_t command, const char *destination,
                                           const char *source_range) {
  if (destination == nullptr || source_range == nullptr) return nullptr;
  RuleBuilder builder;
  std::uint8_t mask = 0;
  destination = strip_negation(kValueBit, mask, destination);
  builder.add_param(IPT_PARAM_DESTINATION, mask, builder.copy(destination), IPT_OPTION_NONE,
                    nullptr);
  mask = 0;
  source_range = strip_negation(kOptionValueBit, mask, source_range);
  builder.add_match(IPT_MATCH_IPRANGE, mask, IPT_OPTION_SRC_RANGE, builder.copy(source_range));
  return builder.finish(command, IPT_CHAIN_POSTROUTING, IPT_TARGET_MASQUERADE, nullptr);
}
