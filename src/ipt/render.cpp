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

// Number 0 means "none" in all tables but the first. Where a word is mandatory, it is rendered as
// "none", which iptables rejects: a command without a chain could apply to all chains.
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

constexpr std::size_t kSectionSize = 64;       // size of a section including a terminator
constexpr std::size_t kMaxBeforeTarget = 191;  // characters before the target section
static_assert(kMaxBeforeTarget + kSectionSize <= IPT_LINE_SIZE);

enum Step { kTable, kCommand, kParameters, kMatchModules, kTarget };

// The line in the caller's buffer. It cannot overflow: a section adds at most 63 characters, or 63
// and a name when it fails, and no section follows one that ends after character 191.
struct Line {
  explicit Line(char *buf) : start(buf), end(buf) {}

  void append(const char *text, std::size_t length) {
    std::memcpy(end, text, length);
    end += length;
  }
  [[nodiscard]] std::size_t length() const { return static_cast<std::size_t>(end - start); }

  char *start;
  char *end;
};

// Appends the concatenated words; null counts as empty. A section that does not fit is omitted.
bool append_section(Line &line, std::initializer_list<const char *> words) {
  char section[kSectionSize];
  std::size_t room = kSectionSize - 1;
  char *end = section;
  for (const char *word : words) {
    if (word == nullptr) continue;
    const std::size_t length = std::strlen(word);
    if (length > room) return false;
    std::memcpy(end, word, length);
    end += length;
    room -= length;
  }
  line.append(section, kSectionSize - 1 - room);
  return true;
}

bool table_section(const ipt_rule &rule, Line &line) {
  const char *const table = name_of(kTables, rule.table);
  return table != nullptr && append_section(line, {"iptables -t ", table});
}

bool command_section(const ipt_rule &rule, Line &line) {
  const char *const command = name_of(kCommands, rule.command);
  const char *const chain = name_of(kChains, rule.chain);
  return command != nullptr && chain != nullptr &&
         append_section(line, {" -", command, " ", chain, " ", rule.command_argument});
}

// Appends " text", or " ! text" if negated, unless it does not fit.
void append_if_fits(Line &line, std::size_t &room, const char *text, int negated) {
  if (text == nullptr) return;
  const std::size_t blank = negated != 0 ? 3 : 1;
  const std::size_t length = std::strlen(text);
  if (blank + length >= room) return;
  line.append(" ! ", blank);
  line.append(text, length);
  room -= blank + length;
}

// Appends the section of parameters or of matches. The items share the space of the section: an
// item's name is always written, what follows it only if it fits; the name is deducted last, and
// the section fails if it exceeds the remaining space.
bool append_items(Line &line, const list_obj *list, Table names, const char *dash) {
  std::size_t room = kSectionSize;
  for (std::uint32_t i = 0; i < item_count(list); ++i) {
    const Item &item = item_at(list, i);
    const char *const name = name_of(names, item.item);
    const char *const option = name_of(kOptions, item.option);
    if (name == nullptr || option == nullptr) return false;
    const char *const before = line.end;
    line.append(dash, std::strlen(dash));
    line.append(name, std::strlen(name));
    const auto length = static_cast<std::size_t>(line.end - before);
    if (names == kParams) append_if_fits(line, room, item.value, item.negation & IPT_NEGATE_VALUE);
    if (*option != '\0') append_if_fits(line, room, option, item.negation & IPT_NEGATE_OPTION);
    append_if_fits(line, room, item.option_value, item.negation & IPT_NEGATE_OPTION_VALUE);
    if (room <= length) return false;
    room -= length;
  }
  return true;
}

bool target_section(const ipt_rule &rule, Line &line) {
  if (rule.target == IPT_TARGET_NONE) return true;
  const char *const target = name_of(kTargets, rule.target);
  const bool translates = rule.target == IPT_TARGET_DNAT || rule.target == IPT_TARGET_SNAT;
  return target != nullptr && append_section(line, {" -j ", target, " ", translates ? "--to" : "",
                                                    " ", rule.target_argument});
}

bool append_step(int step, const ipt_rule &rule, Line &line) {
  switch (step) {
    case kTable:
      return table_section(rule, line);
    case kCommand:
      return command_section(rule, line);
    case kParameters:
      return append_items(line, rule.params, kParams, " -");
    case kMatchModules:
      return append_items(line, rule.matches, kMatches, " -m ");
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
  for (int step = kTable; step <= kTarget; ++step) {
    if (!append_step(step, rule, line)) return failure(-1, step);
    if (step < kTarget && line.length() > kMaxBeforeTarget) return failure(-2, step + 1);
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
