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
  const struct {
    RuleText rule;
    const char *line;
  } cases[] = {
      {{0, 2, 5, nullptr, {}, {}, 0, nullptr}, "iptables -t filter -F INPUT "},
      {{0, 3, 9, "DROP", {}, {}, 0, nullptr}, "iptables -t filter -P FORWARD DROP"},
      {{4,
        1,
        1,
        nullptr,
        {tcp80, {3, 0, "10.0.0.1", 0, nullptr}},
        {{1, 0, nullptr, 17, "NEW,ESTABLISHED,RELATED"}},
        8,
        "192.168.1.2:80"},
       "iptables -t nat -A PREROUTING  -p tcp --dport 80 -d 10.0.0.1 -m state --state "
       "NEW,ESTABLISHED,RELATED -j DNAT --to 192.168.1.2:80"},
      {{4, 5, 3, "7", {tcp80}, {}, 9, nullptr},
       "iptables -t nat -D POSTROUTING 7 -p tcp --dport 80 -j SNAT --to "},
      {{0, 4, 2, "", {}, {{7, 0, nullptr, 13, "02:5A:31:00:00:01"}}, 1, nullptr},
       "iptables -t filter -I OUTPUT  -m mac --mac-source 02:5A:31:00:00:01 -j ACCEPT  "},
      {{0, 2, 1, nullptr, {}, {}, 5, "--reject-with tcp-reset"},
       "iptables -t filter -A INPUT  -j REJECT  --reject-with tcp-reset"},
      // Negation: of the value, the option word and the option value; bit 0 says nothing.
      {{0, 2, 1, nullptr, {{1, 0x08, "tcp", 1, "80"}}, {}, 0, nullptr},
       "iptables -t filter -A INPUT  -p tcp --dport ! 80"},
      {{0, 2, 1, nullptr, {{1, 0x02, "tcp", 1, "80"}}, {}, 0, nullptr},
       "iptables -t filter -A INPUT  -p ! tcp --dport 80"},
      {{0, 2, 1, nullptr, {{1, 0x04, "tcp", 1, "80"}}, {}, 0, nullptr},
       "iptables -t filter -A INPUT  -p tcp ! --dport 80"},
      {{0, 2, 1, nullptr, {{1, 0xF1, "tcp", 1, "80"}}, {{1, 0xF3, nullptr, 17, "NEW"}}, 0, nullptr},
       "iptables -t filter -A INPUT  -p tcp --dport 80 -m state --state NEW"},
      {{0, 2, 1, nullptr, {}, {{1, 0x0E, nullptr, 17, "NEW"}}, 0, nullptr},
       "iptables -t filter -A INPUT  -m state ! --state ! NEW"},
      // A "!" needs something to stand in front of.
      {{0,
        2,
        1,
        nullptr,
        {{1, 0x0E, nullptr, 0, nullptr}},
        {{8, 0x0E, nullptr, 0, nullptr}},
        0,
        nullptr},
       "iptables -t filter -A INPUT  -p -m mark"},
      {{0, 2, 1, nullptr, {{6, 0x0A, "", 0, ""}}, {}, 0, nullptr},
       "iptables -t filter -A INPUT  -f !  ! "},
  };
  for (const auto &c : cases)
    EXPECT_EQ(rendered(c.rule), c.line);
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
    const std::uint32_t table = i % 5;
    const std::uint32_t chain = i % 5;
    const std::uint32_t command = i % 9;
    const std::uint32_t target = i % 16;
    const std::uint32_t param = i % 6;
    const std::uint32_t match = i % 9;
    const RuleText rule = {table,
                           chain + 1,
                           command + 1,
                           nullptr,
                           {{param + 1, 0, nullptr, i + 1, nullptr}},
                           {{match + 1, 0, nullptr, i + 1, nullptr}},
                           target + 1,
                           nullptr};
    EXPECT_EQ(rendered(rule), "iptables -t " + tables[table] + " -" + commands[command] + " " +
                                  chains[chain] + "  -" + params[param] + " " + options[i] +
                                  " -m " + matches[match] + " " + options[i] + " -j " +
                                  targets[target] + (target == 7 || target == 8 ? " --to " : "  "));
    EXPECT_EQ(ipt_target_string(target + 1), targets[target]);
  }
  EXPECT_EQ(ipt_target_string(0), nullptr);
  EXPECT_EQ(ipt_target_string(17), nullptr);
  EXPECT_EQ(ipt_target_string(0xFFFFFFFF), nullptr);
}

TEST(Render, NumbersOutOfRangeFailTheirStep) {
  const struct {
    RuleText rule;
    int step;
  } cases[] = {
      {{5, 2, 1, nullptr, {}, {}, 1, nullptr}, 0},
      {{0, 2, 10, nullptr, {}, {}, 1, nullptr}, 1},
      {{0, 6, 1, nullptr, {}, {}, 1, nullptr}, 1},
      {{0, 2, 0xFFFFFFFF, nullptr, {}, {}, 1, nullptr}, 1},
      {{0, 0xFFFFFFFF, 1, nullptr, {}, {}, 1, nullptr}, 1},
      {{0, 2, 1, nullptr, {}, {}, 0xFFFFFFFF, nullptr}, 4},
      {{0, 2, 1, nullptr, {{1, 0, "tcp", 18, nullptr}}, {}, 1, nullptr}, 2},
      {{0, 2, 1, nullptr, {}, {{1, 0, nullptr, 18, nullptr}}, 1, nullptr}, 3},
      {{0, 2, 1, nullptr, {}, {}, 17, nullptr}, 4},
  };
  for (const auto &c : cases) {
    SystemDouble system;
    EXPECT_EQ(rendered(c.rule), kFailed);
    EXPECT_THAT(system.log(), ElementsAre(failure(-1, c.step)));
  }
  const RulePtr rule = make_rule({0, 2, 1, nullptr, {{1, 0, "tcp", 0, nullptr}}, {}, 0, nullptr});
  static_cast<ipt_param *>(list_get_at(rule->params, 0))->item = 7;
  EXPECT_EQ(rendered(rule.get()), kFailed);

  SystemDouble system;
  EXPECT_EQ(rendered(nullptr), kFailed);
  EXPECT_THAT(system.log(), IsEmpty());  // there is no step that failed
}

// Without a name for "none" the command could mean something else: every chain, for example.
TEST(Render, NoneIsNoChainAndNoItem) {
  EXPECT_EQ(rendered({0, 0, 5, nullptr, {}, {}, 0, nullptr}), "iptables -t filter -F none ");
  EXPECT_EQ(
      rendered(
          {0, 2, 0, nullptr, {{0, 0, "a", 0, nullptr}}, {{0, 0, nullptr, 0, nullptr}}, 0, nullptr}),
      "iptables -t filter -none INPUT  -none a -m none");
}

TEST(Render, SectionsHold63Characters) {
  const struct {
    const char *prefix;  // of the section that is filled
    int room;            // for the argument
    int step;
    RuleText rule;
  } cases[] = {
      {" -A POSTROUTING ", 47, 1, {4, 5, 1, nullptr, {}, {}, 0, nullptr}},
      {" -j DNAT --to ", 49, 4, {4, 5, 1, nullptr, {}, {}, 8, nullptr}},
      {" -j ACCEPT  ", 51, 4, {4, 5, 1, nullptr, {}, {}, 1, nullptr}},
  };
  for (const auto &c : cases) {
    SystemDouble system;
    const RulePtr rule = make_rule(c.rule);
    char *&argument = c.step == 1 ? rule->command_argument : rule->target_argument;
    argument = heap(x(c.room).c_str());
    EXPECT_THAT(rendered(rule.get()), testing::EndsWith(c.prefix + x(c.room)));
    for (const int too_long : {1, 2, 20000}) {
      std::free(argument);
      argument = heap(x(c.room + too_long).c_str());
      EXPECT_EQ(rendered(rule.get()), kFailed);
      EXPECT_EQ(system.log().back(), failure(-1, c.step));
    }
  }
}

// An item by the lengths of its texts; -1 for none.
struct Lengths {
  int value;
  std::uint32_t option;
  int option_value;
  std::uint8_t negation = 0;
};

char *text_of_length(int length) {
  return length < 0 ? nullptr : heap(x(length).c_str());
}

// Parameters share 63 characters. A text that does not fit into what is left is left out; the name
// is charged last, and when it does not fit the rule fails.
TEST(Render, ParametersShareTheirRoom) {
  const struct {
    std::vector<Lengths> items;
    std::string text;
  } cases[] = {
      {{{59, 0, -1}}, " -s " + x(59)},
      {{{60, 0, -1}}, kFailed},
      {{{62, 0, -1}}, kFailed},
      {{{63, 0, -1}}, " -s"},
      {{{20000, 0, -1}}, " -s"},
      {{{57, 0, -1, 0x02}}, " -s ! " + x(57)},
      {{{58, 0, -1, 0x02}}, kFailed},
      {{{61, 0, -1, 0x02}}, " -s"},
      {{{10, 1, 40}}, " -s " + x(10) + " --dport " + x(40)},
      {{{10, 1, 41}}, kFailed},
      {{{10, 1, 43}}, kFailed},
      {{{10, 1, 44}}, " -s " + x(10) + " --dport"},
      {{{54, 1, -1}}, kFailed},
      {{{55, 1, 2}}, " -s " + x(55) + " xx"},  // the option word is left out, its value is not
      {{{40, 0, -1}, {15, 0, -1}}, " -s " + x(40) + " -s " + x(15)},
      {{{40, 0, -1}, {16, 0, -1}}, kFailed},
      {{{40, 0, -1}, {19, 0, -1}}, " -s " + x(40) + " -s"},
      {{{40, 0, -1}, {15, 0, -1}, {-1, 0, -1}}, kFailed},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text);
    SystemDouble system;
    const RulePtr rule = make_rule({0, 2, 1, nullptr, {}, {}, 0, nullptr});
    for (const Lengths &item : c.items) {
      ipt_rule_add_param(rule.get(), 2, item.negation, text_of_length(item.value), item.option,
                         text_of_length(item.option_value));
    }
    const std::string command = "iptables -t filter -A INPUT ";
    EXPECT_EQ(rendered(rule.get()), c.text == kFailed ? kFailed : command + c.text);
    if (c.text == kFailed) {
      EXPECT_THAT(system.log(), ElementsAre(failure(-1, 2)));
    }
  }
}

TEST(Render, MatchesShareTheirRoom) {
  for (const int length : {31, 39, 40, 50, 51}) {
    SCOPED_TRACE(length);
    SystemDouble system;
    const RulePtr rule =
        make_rule({0, 2, 1, nullptr, {{2, 0, x(59).c_str(), 0, nullptr}}, {}, 0, nullptr});
    ipt_rule_add_match(rule.get(), 2, 0, 9, text_of_length(length));
    const std::string line = "iptables -t filter -A INPUT  -s " + x(59) + " -m iprange --src-range";
    if (length <= 39) {
      EXPECT_EQ(rendered(rule.get()), line + " " + x(length));
    } else if (length <= 50) {
      EXPECT_EQ(rendered(rule.get()), kFailed);
      EXPECT_THAT(system.log(), ElementsAre(failure(-1, 3)));
    } else {
      EXPECT_EQ(rendered(rule.get()), line);
    }
  }
  // Two: 8 characters and 32, and the value.
  for (const int length : {31, 32, 42, 43, 20000}) {
    SCOPED_TRACE(length);
    SystemDouble system;
    const RulePtr rule =
        make_rule({0, 2, 1, nullptr, {}, {{8, 0, nullptr, 0, nullptr}}, 0, nullptr});
    ipt_rule_add_match(rule.get(), 2, 0, 9, text_of_length(length));
    const std::string line = "iptables -t filter -A INPUT  -m mark -m iprange --src-range";
    if (length == 31) {
      EXPECT_EQ(rendered(rule.get()), line + " " + x(length));
    } else if (length <= 42) {
      EXPECT_EQ(rendered(rule.get()), kFailed);
      EXPECT_THAT(system.log(), ElementsAre(failure(-1, 3)));
    } else {
      EXPECT_EQ(rendered(rule.get()), line);
    }
  }
}

// A match has no value of its own, whatever its record holds.
TEST(Render, MatchesHaveNoValue) {
  const RulePtr rule =
      make_rule({0, 2, 1, nullptr, {}, {{1, 0x02, nullptr, 17, "NEW"}}, 0, nullptr});
  static_cast<ipt_match *>(list_get_at(rule->matches, 0))->value = heap("tcp");
  EXPECT_EQ(rendered(rule.get()), "iptables -t filter -A INPUT  -m state --state NEW");
}

// Whatever comes before the target is at most 191 characters; the longest target still fits.
TEST(Render, LineIsBoundedBeforeTheTarget) {
  for (const int length : {26, 27}) {
    SystemDouble system;
    const RulePtr rule = make_rule(
        {2, 1, 1, x(48).c_str(), {{2, 0, x(59).c_str(), 0, nullptr}}, {}, 8, x(49).c_str()});
    ipt_rule_add_match(rule.get(), 1, 0, 17, text_of_length(length));
    const std::string line = rendered(rule.get());
    if (length == 26) {
      EXPECT_EQ(line.size(), 191U + 63U);
    } else {
      EXPECT_EQ(line, kFailed);
      EXPECT_THAT(system.log(), ElementsAre(failure(-2, 4)));
    }
  }
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
