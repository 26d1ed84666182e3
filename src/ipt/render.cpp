// Rendering a rule into its command line, section by section.
#include <cstring>
#include <initializer_list>
#include <string_view>

#include "ipt/items.h"
#include "ipt/names.h"
#include "talvera/ipt.h"
#include "talvera/sdb.h"

namespace talvera::ipt {
namespace {

// Number 0 is "none" in all but the first. Where something must be rendered for it, it is that
// word, so that iptables refuses the command: without a chain it could mean all of them.
constexpr auto kTables = name_table("filter\0raw\0conntrack\0mangle\0nat");
constexpr auto kChains = name_table("none\0PREROUTING\0INPUT\0FORWARD\0OUTPUT\0POSTROUTING");
constexpr auto kCommands = name_table("none\0A\0I\0D\0R\0F\0Z\0N\0X\0P");
constexpr auto kTargets = name_table(
    "\0ACCEPT\0DROP\0QUEUE\0RETURN\0REJECT\0JUMP\0CLASSIFY\0DNAT\0SNAT\0DSCP\0MARK\0MASQUERADE\0"
    "NETMAP\0REDIRECT\0SAME\0ULOG");
constexpr auto kParams = name_table("none\0p\0s\0d\0i\0o\0f");
constexpr auto kMatches =
    name_table("none\0state\0iprange\0mport\0conntrack\0dscp\0helper\0mac\0mark\0tos");
constexpr auto kOptions = name_table(
    "\0--dport\0--sport\0--tcp-flags\0--tcp-option\0--syn\0! --syn\0--icmp-type\0--helper\0"
    "--src-range\0! --src-range\0--dst-range\0! --dst-range\0--mac-source\0--sports\0--dports\0"
    "--ports\0--state");

constexpr std::size_t kSectionSize = 64;         // room of one section, with a terminator's
constexpr std::size_t kLongestUntargeted = 191;  // characters in front of the target section
static_assert(kLongestUntargeted + kSectionSize <= IPT_LINE_SIZE);

enum Step { kTable, kCommand, kParameters, kMatchModules, kTarget };

// The line in the caller's buffer. It cannot outgrow it: a section adds at most 63 characters, or
// 63 and a name when it fails, and no section follows one that ends behind character 191.
class Line {
 public:
  explicit Line(char *buffer) : start_(buffer), end_(buffer) {}

  void append(std::string_view text) {
    std::memcpy(end_, text.data(), text.size());
    end_ += text.size();
  }
  void terminate() { *end_ = '\0'; }
  [[nodiscard]] std::size_t length() const { return static_cast<std::size_t>(end_ - start_); }

 private:
  char *start_;
  char *end_;
};

std::string_view text_of(const char *text) {
  return text != nullptr ? text : "";
}

bool append_section(Line &line, std::initializer_list<std::string_view> words) {
  std::size_t length = 0;
  for (const std::string_view word : words)
    length += word.size();
  if (length >= kSectionSize) return false;
  for (const std::string_view word : words)
    line.append(word);
  return true;
}

bool table_section(const ipt_rule &rule, Line &line) {
  const Names tables = kTables;
  if (!tables.has(rule.table)) return false;
  return append_section(line, {"iptables -t ", tables[rule.table]});
}

bool command_section(const ipt_rule &rule, Line &line) {
  const Names commands = kCommands;
  const Names chains = kChains;
  if (!commands.has(rule.command) || !chains.has(rule.chain)) return false;
  return append_section(line, {" -", commands[rule.command], " ", chains[rule.chain], " ",
                               text_of(rule.command_argument)});
}

// The section of parameters or of matches, whose items share its room. What follows an item's name
// is left out when it does not fit; the name is charged last and must then have room.
class ItemSection {
 public:
  ItemSection(Line &line, std::string_view dash, Names names, bool has_values)
      : line_(line), dash_(dash), names_(names), has_values_(has_values) {}

  bool append(const ipt_param &item) {
    const Names options = kOptions;
    if (!names_.has(item.item) || !options.has(item.option)) return false;
    const std::string_view name = names_[item.item];
    line_.append(dash_);
    line_.append(name);
    if (has_values_ && item.value != nullptr) {
      append_if_fits(item.value, item.negation & IPT_NEGATE_VALUE);
    }
    if (item.option != IPT_OPTION_NONE) {
      append_if_fits(options[item.option], item.negation & IPT_NEGATE_OPTION);
    }
    if (item.option_value != nullptr) {
      append_if_fits(item.option_value, item.negation & IPT_NEGATE_OPTION_VALUE);
    }
    const std::size_t length = dash_.size() + name.size();
    if (room_ <= length) return false;
    room_ -= length;
    return true;
  }

 private:
  void append_if_fits(std::string_view text, bool negated) {
    const std::string_view blank = negated ? " ! " : " ";
    if (blank.size() + text.size() >= room_) return;
    line_.append(blank);
    line_.append(text);
    room_ -= blank.size() + text.size();
  }

  Line &line_;
  std::string_view dash_;
  Names names_;
  bool has_values_;
  std::size_t room_ = kSectionSize;
};

bool append_items(const list_obj *list, ItemSection section) {
  for (std::uint32_t i = 0; i < item_count(list); ++i) {
    if (!section.append(item_at(list, i))) return false;
  }
  return true;
}

bool target_section(const ipt_rule &rule, Line &line) {
  if (rule.target == IPT_TARGET_NONE) return true;
  const Names targets = kTargets;
  if (!targets.has(rule.target)) return false;
  const bool translates = rule.target == IPT_TARGET_DNAT || rule.target == IPT_TARGET_SNAT;
  return append_section(line, {" -j ", targets[rule.target], " ", translates ? "--to" : "", " ",
                               text_of(rule.target_argument)});
}

bool append_step(int step, const ipt_rule &rule, Line &line) {
  switch (step) {
    case kTable:
      return table_section(rule, line);
    case kCommand:
      return command_section(rule, line);
    case kParameters:
      return append_items(rule.params, ItemSection(line, " -", kParams, true));
    case kMatchModules:
      return append_items(rule.matches, ItemSection(line, " -m ", kMatches, false));
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
    if (step < kTarget && line.length() > kLongestUntargeted) return failure(-2, step + 1);
  }
  return 0;
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera;

extern "C" const char *ipt_target_string(uint32_t target) {
  const ipt::Names targets = ipt::kTargets;
  if (target == IPT_TARGET_NONE || !targets.has(target)) return nullptr;
  return targets[target].data();
}

extern "C" int ipt_make_rule_string(const ipt_rule *rule, char *buffer) {
  ipt::Line line(buffer);
  const int result = rule != nullptr ? ipt::append_all(*rule, line) : IPT_RULE_FAILED;
  line.terminate();
  return result;
}
