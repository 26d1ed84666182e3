// Rendering a rule as a command line, section by section.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "ipt/items.h"
#include "ipt/names.h"
#include "talvera/ipt.h"
#include "talvera/sdb.h"

namespace talvera::ipt {
namespace {

// Number 0 means "none" in all tables but the first. In mandatory places it renders as "none",
// which iptables rejects: without a chain, a command could apply to all chains.
constexpr auto kNames = name_tables(
    "filter\0raw\0conntrack\0mangle\0nat\0"
    "\n"
    "none\0PREROUTING\0INPUT\0FORWARD\0OUTPUT\0POSTROUTING\0"
    "\n"
    "none\0A\0I\0D\0R\0F\0Z\0N\0X\0P\0"
    "\n"
    "\0ACCEPT\0DROP\0QUEUE\0RETURN\0REJECT\0JUMP\0CLASSIFY\0DNAT\0SNAT\0DSCP\0MARK\0MASQUERADE\0"
    "NETMAP\0REDIRECT\0SAME\0ULOG\0"
    "\n"
    "none\0p\0s\0d\0i\0o\0f\0"
    "\n"
    "none\0state\0iprange\0mport\0conntrack\0dscp\0helper\0mac\0mark\0tos\0"
    "\n"
    "\0--dport\0--sport\0--tcp-flags\0--tcp-option\0--syn\0! --syn\0--icmp-type\0--helper\0"
    "--src-range\0! --src-range\0--dst-range\0! --dst-range\0--mac-source\0--sports\0--dports\0"
    "--ports\0--state\0"
    "\n");
enum Table { kTables, kChains, kCommands, kTargets, kParams, kMatches, kOptions };

// The word for a number; null if the table has none.
const char *name_of(Table table, std::uint32_t number) {
  return kNames.name(table, number);
}

constexpr std::size_t kSectionLength = 63;     // characters of a section
constexpr std::size_t kMaxBeforeTarget = 191;  // characters before the target section
static_assert(kMaxBeforeTarget + kSectionLength < IPT_LINE_SIZE);

enum Step { kTable, kCommand, kParameters, kMatchModules, kTarget };

// The line being built in the caller's buffer. The buffer cannot overflow: a section adds at most
// 63 characters, except that a failing section of parameters or matches may add one more name.
// These two sections start after at most 147 characters, the target section after at most 191.
struct Line {
  explicit Line(char *buf) : end(buf) {}

  char *end;
  std::size_t room = 0;  // characters left in the section
};

// Appends a format in which each "%" stands for the next word; null counts as empty. Appends
// nothing and returns false if the result does not fit into the section.
[[gnu::noinline]] bool append(Line &line, const char *format, const char *first,
                              const char *second = nullptr, const char *third = nullptr) {
  const char *const words[] = {first, second, third};
  const char *const *word = words;
  char *end = line.end;
  const char *const limit = end + line.room;
  for (; *format != '\0'; ++format) {
    const bool is_word = *format == '%';
    const char *text = is_word ? *word++ : format;
    if (text == nullptr) continue;
    for (; *text != '\0'; ++text) {
      if (end == limit) return false;
      *end++ = *text;
      if (!is_word) break;
    }
  }
  line.room = static_cast<std::size_t>(limit - end);
  line.end = end;
  return true;
}

bool table_section(const ipt_rule &rule, Line &line) {
  const char *const table = name_of(kTables, rule.table);
  return table != nullptr && append(line, "iptables -t %", table);
}

bool command_section(const ipt_rule &rule, Line &line) {
  const char *const command = name_of(kCommands, rule.command);
  const char *const chain = name_of(kChains, rule.chain);
  return command != nullptr && chain != nullptr &&
         append(line, " -% % %", command, chain, rule.command_argument);
}

// Appends the section of parameters or of matches. All items share one section's space. An item's
// name is always written, each further word only if it fits. The name is deducted last; if it
// exceeds the remaining space, the section fails.
bool append_items(Line &line, const list_obj *list, Table names, const char *format) {
  if (list == nullptr) return true;  // as in rules for commands without items
  for (const list_elem *element = list->head->next; element != list->tail;
       element = element->next) {
    const Item &item = item_of(element);
    const char *const name = name_of(names, item.item);
    const char *const option = name_of(kOptions, item.option);
    if (name == nullptr || option == nullptr) return false;
    const std::size_t room = line.room;
    line.room = kSectionLength;
    append(line, format, name);
    const std::size_t length = kSectionLength - line.room;
    line.room = room;
    const char *const words[] = {names == kParams ? item.value : nullptr,
                                 *option != '\0' ? option : nullptr, item.option_value};
    unsigned negated = IPT_NEGATE_VALUE;  // negation bit of the current word
    for (const char *word : words) {
      if (word != nullptr) append(line, (item.negation & negated) != 0 ? " ! %" : " %", word);
      negated <<= 1;
    }
    if (line.room < length) return false;
    line.room -= length;
  }
  return true;
}

bool target_section(const ipt_rule &rule, Line &line) {
  if (rule.target == IPT_TARGET_NONE) return true;
  const char *const target = name_of(kTargets, rule.target);
  const bool translates = rule.target == IPT_TARGET_DNAT || rule.target == IPT_TARGET_SNAT;
  return target != nullptr &&
         append(line, " -j % % %", target, translates ? "--to" : nullptr, rule.target_argument);
}

bool append_step(int step, const ipt_rule &rule, Line &line) {
  switch (step) {
    case kTable:
      return table_section(rule, line);
    case kCommand:
      return command_section(rule, line);
    case kParameters:
      return append_items(line, rule.params, kParams, " -%");
    case kMatchModules:
      return append_items(line, rule.matches, kMatches, " -m %");
    default:
      return target_section(rule, line);
  }
}

int failure(int error, int step) {
  sdb_log(SDB_LOG_INFO, "ipt: error (%d) processing rule at step (%d)", error, step);
  return IPT_RULE_FAILED;
}

// Returns 0 or, after logging, IPT_RULE_FAILED; the line is not yet terminated.
int append_all(const ipt_rule &rule, Line &line) {
  const char *const start = line.end;
  for (int step = kTable; step <= kTarget; ++step) {
    line.room = kSectionLength;
    if (!append_step(step, rule, line)) return failure(-1, step);
    const auto length = static_cast<std::size_t>(line.end - start);
    if (step < kTarget && length > kMaxBeforeTarget) return failure(-2, step + 1);
  }
  return 0;
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" const char *ipt_target_string(uint32_t target) {
  return target != IPT_TARGET_NONE ? name_of(kTargets, target) : nullptr;
}

extern "C" int ipt_make_rule_string(const ipt_rule *rule, char *buf) {
  Line line(buf);
  const int result = rule != nullptr ? append_all(*rule, line) : IPT_RULE_FAILED;
  *line.end = '\0';
  return result;
}
