// Canned rules: pinhole, NAT on an interface, NAT for an address range.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ipt/user_input.h"
#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

// Bit numbers of the negation mask.
constexpr unsigned kNothingBit = 0;
constexpr unsigned kValueBit = 1;
constexpr unsigned kOptionValueBit = 3;

constexpr std::size_t kTargetSize = 32;  // "host:ports" and terminator

// Adds a parameter with a copy of `value`, which may be null. Takes ownership of `option_value`.
bool add_param(ipt_rule *rule, std::uint32_t item, std::uint8_t mask, const char *value,
               std::uint32_t option, char *option_value) {
  char *const copy = value != nullptr ? strdup(value) : nullptr;
  const bool added = ipt_rule_add_param(rule, item, mask, copy, option, option_value) != nullptr;
  return added && (copy != nullptr || value == nullptr);
}

bool add_destination(ipt_rule *rule, const char *destination) {
  std::uint8_t mask = 0;
  destination = skip_negation(kValueBit, mask, destination);
  return add_param(rule, IPT_PARAM_DESTINATION, mask, destination, IPT_OPTION_NONE, nullptr);
}

// Adds a match with a copy of `value`.
bool add_match(ipt_rule *rule, std::uint32_t item, std::uint8_t mask, std::uint32_t option,
               const char *value) {
  char *const copy = strdup(value);
  return ipt_rule_add_match(rule, item, mask, option, copy) != nullptr && copy != nullptr;
}

// Completes a rule of the table "nat"; frees it and returns null if `complete` is false.
ipt_rule *finish(ipt_rule *rule, bool complete, std::uint32_t command, std::uint32_t chain,
                 std::uint32_t target) {
  if (!complete) {
    ipt_rule_free(rule);
    return nullptr;
  }
  rule->table = IPT_TABLE_NAT;
  rule->chain = chain;
  rule->command = command;
  rule->target = target;
  return rule;
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" ipt_rule *ipt_make_pinhole_rule(uint32_t command, const char *destination,
                                           const char *protocol, const char *external_port,
                                           const char *internal_host, int internal_port) {
  if (internal_host == nullptr) return nullptr;
  ipt_rule *rule = ipt_rule_init();
  // The protocol's "!" sets a bit that is never rendered: a negated protocol is intentionally
  // rendered without its "!".
  std::uint8_t mask = 0;
  protocol = skip_negation(kNothingBit, mask, protocol);
  char *port = ipt_make_port_value(skip_negation(kOptionValueBit, mask, external_port));
  char ports[kTargetSize] = "";
  const bool complete =
      port != nullptr &&
      add_param(rule, IPT_PARAM_PROTOCOL, mask, is_protocol(protocol) ? protocol : nullptr,
                IPT_OPTION_DPORT, port) &&
      add_destination(rule, destination) &&
      add_match(rule, IPT_MATCH_STATE, 0, IPT_OPTION_STATE, "NEW,ESTABLISHED,RELATED") &&
      ipt_calc_portrange(port, internal_port, ports, sizeof ports) == 0;
  char target[kTargetSize];
  const char *const colon = ports[0] != '\0' ? ":" : "";
  if (complete &&
      std::snprintf(target, sizeof target, "%s%s%s", internal_host, colon, ports) >= 0) {
    rule->target_argument = strdup(target);
  }
  return finish(rule, complete && rule->target_argument != nullptr, command, IPT_CHAIN_PREROUTING,
                IPT_TARGET_DNAT);
}

extern "C" ipt_rule *ipt_make_nat_onoff_rule(uint32_t command, const char *interface) {
  if (interface == nullptr) return nullptr;
  ipt_rule *rule = ipt_rule_init();
  const bool complete =
      add_param(rule, IPT_PARAM_OUT_INTERFACE, 0, interface, IPT_OPTION_NONE, nullptr);
  return finish(rule, complete, command, IPT_CHAIN_POSTROUTING, IPT_TARGET_MASQUERADE);
}

extern "C" ipt_rule *ipt_make_maplist_rule(uint32_t command, const char *destination,
                                           const char *source_range) {
  if (destination == nullptr || source_range == nullptr) return nullptr;
  ipt_rule *rule = ipt_rule_init();
  std::uint8_t mask = 0;
  source_range = skip_negation(kOptionValueBit, mask, source_range);
  const bool complete =
      add_destination(rule, destination) &&
      add_match(rule, IPT_MATCH_IPRANGE, mask, IPT_OPTION_SRC_RANGE, source_range);
  return finish(rule, complete, command, IPT_CHAIN_POSTROUTING, IPT_TARGET_MASQUERADE);
}
