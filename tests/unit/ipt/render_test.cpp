// Command lines to the last blank, and the bounds of their sections.
#include "unit/ipt/fixture.h"

namespace talvera::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kFailed[] = "[2012]";

std::string x(int count) {
  return std::string(static_cast<std::size_t>(count), 'x');
}

LogLine failure(int error, int step) {
  return {"sdb", 6,
          "ipt: error (" + std::to_string(error) + ") processing rule at step (" +
              std::to_string(step) + ")"};
}

TEST(Render, WholeLines) {
  const Item tcp80 = {1, 0, "tcp", 1, "80"};
  const std::pair<RuleText, const char *> cases[] = {
      {{0, 2, 5}, "iptables -t filter -F INPUT "},
      {{0, 3, 9, {}, {}, 0, nullptr, "DROP"}, "iptables -t filter -P FORWARD DROP"},
      {{4, 1, 1, {tcp80, {3, 0, "10.0.0.1"}}, {{1, 0, nullptr, 17, "NEW"}}, 8, "192.168.1.2:80"},
       "iptables -t nat -A PREROUTING  -p tcp --dport 80 -d 10.0.0.1 -m state --state NEW"
       " -j DNAT --to 192.168.1.2:80"},
      {{4, 5, 3, {tcp80}, {}, 9, nullptr, "7"},
       "iptables -t nat -D POSTROUTING 7 -p tcp --dport 80 -j SNAT --to "},
      {{0, 2, 1, {}, {}, 5, "--reject-with tcp-reset"},
       "iptables -t filter -A INPUT  -j REJECT  --reject-with tcp-reset"},
      // Negation: of the value, the option word and the option value; bit 0 says nothing.
      {{0, 2, 1, {{1, 0x08, "a", 1, "8"}, {1, 0x02, "a", 1, "8"}, {1, 0x04, "a", 1, "8"}}},
       "iptables -t filter -A INPUT  -p a --dport ! 8 -p ! a --dport 8 -p a ! --dport 8"},
      {{0, 2, 1, {{1, 0xF1, "tcp", 1, "80"}}, {{1, 0xF3, nullptr, 17, "NEW"}}},
       "iptables -t filter -A INPUT  -p tcp --dport 80 -m state --state NEW"},
      {{0, 2, 1, {}, {{1, 0x0E, nullptr, 17, "NEW"}}},
       "iptables -t filter -A INPUT  -m state ! --state ! NEW"},
      // A "!" needs something to stand in front of.
      {{0, 2, 1, {{1, 0x0E}}, {{8, 0x0E}}}, "iptables -t filter -A INPUT  -p -m mark"},
      {{0, 2, 1, {{6, 0x0A, "", 0, ""}}}, "iptables -t filter -A INPUT  -f !  ! "},
      // Without a name for "none" the command could mean something else: every chain, for example.
      {{0, 0, 5}, "iptables -t filter -F none "},
      {{0, 2, 0, {{0, 0, "a"}}, {{0}}}, "iptables -t filter -none INPUT  -none a -m none"},
  };
  for (const auto &[rule, line] : cases)
    EXPECT_EQ(rendered(rule), line);
}

TEST(Render, EveryNameAtItsNumber) {
  const Texts tables = {"filter", "raw", "conntrack", "mangle", "nat"};
  const Texts chains = {"PREROUTING", "INPUT", "FORWARD", "OUTPUT", "POSTROUTING"};
  const Texts commands = {"A", "I", "D", "R", "F", "Z", "N", "X", "P"};
  const Texts targets = {"ACCEPT",   "DROP",     "QUEUE", "RETURN", "REJECT", "JUMP",
                         "CLASSIFY", "DNAT",     "SNAT",  "DSCP",   "MARK",   "MASQUERADE",
                         "NETMAP",   "REDIRECT", "SAME",  "ULOG"};
  const Texts params = {"p", "s", "d", "i", "o", "f"};
  const Texts matches = {"state",  "iprange", "mport", "conntrack", "dscp",
                         "helper", "mac",     "mark",  "tos"};
  const Texts options = {
      "--dport",      "--sport",  "--tcp-flags", "--tcp-option",  "--syn",       "! --syn",
      "--icmp-type",  "--helper", "--src-range", "! --src-range", "--dst-range", "! --dst-range",
      "--mac-source", "--sports", "--dports",    "--ports",       "--state"};
  for (std::uint32_t i = 0; i < options.size(); ++i) {
    SCOPED_TRACE(i);
    const std::uint32_t target = i % 16;
    const RuleText rule = {i % 5,
                           i % 5 + 1,
                           i % 9 + 1,
                           {{i % 6 + 1, 0, nullptr, i + 1}},
                           {{i % 9 + 1, 0, nullptr, i + 1}},
                           target + 1};
    EXPECT_EQ(rendered(rule), "iptables -t " + tables[i % 5] + " -" + commands[i % 9] + " " +
                                  chains[i % 5] + "  -" + params[i % 6] + " " + options[i] +
                                  " -m " + matches[i % 9] + " " + options[i] + " -j " +
                                  targets[target] + (target == 7 || target == 8 ? " --to " : "  "));
    EXPECT_EQ(ipt_target_string(target + 1), targets[target]);
  }
  EXPECT_EQ(ipt_target_string(0), nullptr);
  EXPECT_EQ(ipt_target_string(17), nullptr);
}

TEST(Render, NumbersOutOfRangeFailTheirStep) {
  const std::pair<RuleText, int> cases[] = {
      {{5, 2, 1}, 0},
      {{0, 2, 10}, 1},
      {{0, 6, 1}, 1},
      {{0, 2, 1, {{1, 0, "tcp", 18}}}, 2},
      {{0, 2, 1, {}, {{1, 0, nullptr, 18}}}, 3},
      {{0, 2, 1, {}, {}, 17}, 4},
  };
  for (const auto &[rule, step] : cases) {
    SystemDouble system;
    EXPECT_EQ(rendered(rule), kFailed);
    EXPECT_THAT(system.log(), ElementsAre(failure(-1, step)));
  }
  const RulePtr rule = make_rule({0, 2, 1, {{1, 0, "tcp"}}});
  static_cast<ipt_param *>(list_get_at(rule->params, 0))->item = 7;
  EXPECT_EQ(rendered(rule.get()), kFailed);

  SystemDouble system;
  EXPECT_EQ(rendered(nullptr), kFailed);
  EXPECT_THAT(system.log(), IsEmpty());  // there is no step that failed
}

TEST(Render, SectionsHold63Characters) {
  // The section's start, room for its argument, step, rule.
  const std::tuple<const char *, int, int, RuleText> cases[] = {
      {" -A POSTROUTING ", 47, 1, {4, 5, 1}},
      {" -j DNAT --to ", 49, 4, {4, 5, 1, {}, {}, 8}},
  };
  for (const auto &[prefix, room, step, text] : cases) {
    SystemDouble system;
    const RulePtr rule = make_rule(text);
    char *&argument = step == 1 ? rule->command_argument : rule->target_argument;
    argument = heap(x(room).c_str());
    EXPECT_THAT(rendered(rule.get()), testing::EndsWith(prefix + x(room)));
    for (const int too_long : {1, 20000}) {
      std::free(argument);
      argument = heap(x(room + too_long).c_str());
      EXPECT_EQ(rendered(rule.get()), kFailed);
      EXPECT_EQ(system.log().back(), failure(-1, step));
    }
  }
}

// An item by the lengths of its texts; -1 for none.
struct Lengths {
  int value;
  std::uint32_t option = 0;
  int option_value = -1;
  std::uint8_t negation = 0;
};

char *text_of_length(int length) {
  return length < 0 ? nullptr : heap(x(length).c_str());
}

// Parameters share 63 characters. A text that does not fit into what is left is left out; the name
// is charged last, and when it does not fit the rule fails.
TEST(Render, ParametersShareTheirRoom) {
  const std::pair<std::vector<Lengths>, std::string> cases[] = {
      {{{59}}, " -s " + x(59)},
      {{{60}}, kFailed},
      {{{62}}, kFailed},
      {{{63}}, " -s"},
      {{{57, 0, -1, 0x02}}, " -s ! " + x(57)},
      {{{58, 0, -1, 0x02}}, kFailed},
      {{{61, 0, -1, 0x02}}, " -s"},
      {{{10, 1, 40}}, " -s " + x(10) + " --dport " + x(40)},
      {{{10, 1, 41}}, kFailed},
      {{{10, 1, 44}}, " -s " + x(10) + " --dport"},
      {{{55, 1, 2}}, " -s " + x(55) + " xx"},  // the option word is left out, its value is not
      {{{40}, {15}}, " -s " + x(40) + " -s " + x(15)},
      {{{40}, {16}}, kFailed},
  };
  for (const auto &[items, text] : cases) {
    SCOPED_TRACE(text);
    SystemDouble system;
    const RulePtr rule = make_rule({0, 2, 1});
    for (const Lengths &item : items) {
      ipt_rule_add_param(rule.get(), 2, item.negation, text_of_length(item.value), item.option,
                         text_of_length(item.option_value));
    }
    EXPECT_EQ(rendered(rule.get()),
              text == kFailed ? kFailed : "iptables -t filter -A INPUT " + text);
    EXPECT_EQ(system.log(), std::vector(text == kFailed ? 1 : 0, failure(-1, 2)));
  }
}

// Matches do so too, whatever the parameters took.
TEST(Render, MatchesShareTheirRoom) {
  const std::string source = x(59);
  const Item mark = {8}, iprange = {2, 0, nullptr, 9};
  for (const auto &[matches, room] :
       {std::pair{std::vector{iprange}, 39}, std::pair{std::vector{mark, iprange}, 31}}) {
    SystemDouble system;
    const RulePtr rule = make_rule({0, 2, 1, {{2, 0, source.c_str()}}, matches});
    const auto last = static_cast<std::uint32_t>(matches.size()) - 1;
    char *&value = static_cast<ipt_match *>(list_get_at(rule->matches, last))->option_value;
    value = text_of_length(room);
    EXPECT_EQ(rendered(rule.get()), "iptables -t filter -A INPUT  -s " + source +
                                        (last == 1 ? " -m mark" : "") + " -m iprange --src-range " +
                                        value);
    std::free(value);
    value = text_of_length(room + 1);
    EXPECT_EQ(rendered(rule.get()), kFailed);
    EXPECT_THAT(system.log(), ElementsAre(failure(-1, 3)));
  }
}

// A match has no value of its own, whatever its record holds.
TEST(Render, MatchesHaveNoValue) {
  const RulePtr rule = make_rule({0, 2, 1, {}, {{1, 0x02, nullptr, 17, "NEW"}}});
  static_cast<ipt_match *>(list_get_at(rule->matches, 0))->value = heap("tcp");
  EXPECT_EQ(rendered(rule.get()), "iptables -t filter -A INPUT  -m state --state NEW");
}

// Whatever comes before the target is at most 191 characters; the longest target still fits.
TEST(Render, LineIsBoundedBeforeTheTarget) {
  const std::string command = x(48), source = x(59), target = x(49);
  RuleText text = {2, 1, 1, {{2, 0, source.c_str()}}, {}, 8, target.c_str(), command.c_str()};
  const std::string state = x(27);
  text.matches = {{1, 0, nullptr, 17, state.c_str() + 1}};
  EXPECT_EQ(rendered(text).size(), 191U + 63U);
  text.matches[0].option_value = state.c_str();
  SystemDouble system;
  EXPECT_EQ(rendered(text), kFailed);
  EXPECT_THAT(system.log(), ElementsAre(failure(-2, 4)));
}

TEST(Render, MissingListsAreEmptyAndOpenIterationsDoNotMatter) {
  const RulePtr simple(ipt_simplerule_init());
  simple->chain = IPT_CHAIN_INPUT;
  simple->command = IPT_COMMAND_ZERO;
  EXPECT_EQ(rendered(simple.get()), "iptables -t filter -Z INPUT ");
  ipt_rule_add_match(simple.get(), IPT_MATCH_STATE, 0, IPT_OPTION_STATE, heap("NEW"));
  EXPECT_EQ(rendered(simple.get()), "iptables -t filter -Z INPUT  -m state --state NEW");

  list_iterator_start(simple->matches);
  list_iterator_next(simple->matches);
  EXPECT_EQ(rendered(simple.get()), "iptables -t filter -Z INPUT  -m state --state NEW");
  EXPECT_EQ(list_iterator_stop(simple->matches), 1);
}

}  // namespace
}  // namespace talvera::test
