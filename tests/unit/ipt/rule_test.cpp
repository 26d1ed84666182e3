// The rule record: what its makers give, who owns the strings, what is left when memory runs out.
// Strings that are freed twice or not at all are found by the sanitizers.
#include "unit/ipt/fixture.h"

namespace talvera::test {
namespace {

using testing::ElementsAre;

LogLine info(const char *text) {
  return {"sdb", 6, text};
}

TEST(Rule, NewRecordsAreZero) {
  const RulePtr simple(ipt_simplerule_init());
  const ipt_rule zero = {};
  EXPECT_EQ(std::memcmp(simple.get(), &zero, sizeof zero), 0);

  const RulePtr rule(ipt_rule_init());
  EXPECT_EQ(list_size(rule->params), 0U);
  EXPECT_EQ(list_size(rule->matches), 0U);
  EXPECT_EQ(ipt_rule_compare(simple.get(), rule.get()), 0);
  ipt_rule_free(nullptr);
}

// Whether an item has these fields, and zeros between them.
template <typename Item>
bool consists_of(const Item &item, std::uint32_t number, std::uint8_t negation, char *value,
                 std::uint32_t option, char *option_value) {
  Item expected;
  std::memset(&expected, 0, sizeof expected);
  expected.item = number;
  expected.negation = negation;
  expected.value = value;
  expected.option = option;
  expected.option_value = option_value;
  return std::memcmp(&item, &expected, sizeof item) == 0;
}

TEST(Rule, ItemsKeepWhatTheyWereGivenInOrder) {
  const RulePtr rule(ipt_simplerule_init());
  char *value = heap("tcp");
  char *option_value = heap("80");
  ipt_param *param = ipt_rule_add_param(rule.get(), 6, 0xA5, value, 99, option_value);
  ipt_match *match = ipt_rule_add_match(rule.get(), 9, 0x5A, 98, nullptr);
  ASSERT_TRUE(param != nullptr && match != nullptr);
  EXPECT_TRUE(consists_of(*param, 6, 0xA5, value, 99, option_value));
  EXPECT_TRUE(consists_of(*match, 9, 0x5A, nullptr, 98, nullptr));

  EXPECT_NE(ipt_rule_add_param(rule.get(), 0, 0, nullptr, 0, nullptr), nullptr);
  EXPECT_NE(ipt_rule_add_match(rule.get(), 0, 0, 0, heap("")), nullptr);
  EXPECT_EQ(list_get_at(rule->params, 0), param);
  EXPECT_EQ(list_get_at(rule->matches, 0), match);
  rule->command_argument = heap("1");
  rule->target_argument = heap("192.168.1.2");
}

TEST(Rule, RefusedItemsAreLoggedAndTheirStringsFreed) {
  SystemDouble system;
  const RulePtr rule(ipt_simplerule_init());
  EXPECT_EQ(ipt_rule_add_param(rule.get(), 7, 0, heap("tcp"), 1, heap("80")), nullptr);
  EXPECT_EQ(ipt_rule_add_match(rule.get(), 10, 0, 17, heap("NEW")), nullptr);
  EXPECT_THAT(system.log(), ElementsAre(info("ipt: invalid param item specified"),
                                        info("ipt: invalid match item specified")));
  EXPECT_EQ(list_size(rule->params), 0U);

  // A list takes nothing while it is iterated; the rule's end closes what is still open.
  system.clear_records();
  list_iterator_start(rule->params);
  list_iterator_start(rule->matches);
  EXPECT_EQ(ipt_rule_add_param(rule.get(), 1, 0, heap("tcp"), 1, heap("80")), nullptr);
  EXPECT_EQ(ipt_rule_add_match(rule.get(), 1, 0, 17, heap("NEW")), nullptr);
  EXPECT_THAT(system.log(), ElementsAre(info("ipt: failed to add a parameter to rule"),
                                        info("ipt: failed to add a match to rule")));
  list_iterator_stop(rule->params);
  EXPECT_NE(ipt_rule_add_param(rule.get(), 1, 0, heap("tcp"), 1, heap("80")), nullptr);

  EXPECT_EQ(ipt_rule_add_param(nullptr, 1, 0, heap("tcp"), 1, heap("80")), nullptr);
  EXPECT_EQ(ipt_rule_add_match(nullptr, 1, 0, 17, heap("NEW")), nullptr);
}

TEST(Rule, MemoryRunningOut) {
  SystemDouble system;
  for (const int step : {0, 1, 2}) {  // the record, its two lists
    system.fail("calloc", ENOMEM, step);
    EXPECT_EQ(ipt_rule_init(), nullptr);
  }
  const RulePtr rule(ipt_simplerule_init());
  char *strings[] = {heap("tcp"), heap("80"), heap("NEW")};
  system.fail("calloc", ENOMEM, 0, 2);
  EXPECT_EQ(ipt_rule_add_param(rule.get(), 8, 0, strings[0], 1, strings[1]), nullptr);
  EXPECT_EQ(ipt_rule_add_match(rule.get(), 3, 0, 17, strings[2]), nullptr);
  EXPECT_THAT(system.log(), ElementsAre(info("ipt: can't initialize param list for item 8"),
                                        info("ipt: can't initialize match list for item 3")));

  // With the lists there, first the item and then the list's element have no memory.
  const RulePtr listed(ipt_rule_init());
  system.clear_records();
  for (const int step : {0, 1}) {
    char *value = heap("tcp");
    system.fail(step == 0 ? "calloc" : "malloc", ENOMEM);
    EXPECT_EQ(ipt_rule_add_param(listed.get(), 1, 0, value, 0, nullptr), nullptr);
  }
  EXPECT_THAT(system.log(), ElementsAre(info("ipt: failed to add a parameter to rule")));
  EXPECT_EQ(list_size(listed->params), 0U);
}

TEST(Compare, FindsEveryDifference) {
  const Item tcp = {1, 0, "tcp", 1, "80"}, to = {3, 0, "10.0.0.1"}, out = {5, 0, "ppp0"};
  const Item state = {1, 0, nullptr, 17, "NEW"}, mac = {7, 0, nullptr, 13, "02:5A:31:00:00:01"};
  const RuleText text = {4, 1, 1, {tcp, to, out}, {state, mac}, 8, "192.168.1.2:80", "3"};
  const RulePtr a = make_rule(text);
  const RulePtr same = make_rule(text);
  EXPECT_EQ(ipt_rule_compare(a.get(), same.get()), 0);
  EXPECT_EQ(ipt_rule_compare(a.get(), a.get()), 0);
  EXPECT_EQ(ipt_rule_compare(a.get(), nullptr), 1);
  EXPECT_EQ(ipt_rule_compare(nullptr, a.get()), 1);
  EXPECT_EQ(ipt_rule_compare(nullptr, nullptr), 1);
  same->mask = 0x80;
  EXPECT_EQ(ipt_rule_compare(a.get(), same.get()), 1);

  static constexpr void (*kDifferences[])(RuleText &) = {
      [](RuleText &rule) { rule.table = 0x104; },
      [](RuleText &rule) { rule.chain = 2; },
      [](RuleText &rule) { rule.command = 3; },
      [](RuleText &rule) { rule.command_argument = "4"; },
      [](RuleText &rule) { rule.target = 9; },
      [](RuleText &rule) { rule.target_argument = ""; },
      [](RuleText &rule) { rule.params[1].item = 2; },
      [](RuleText &rule) { rule.params[0].negation = 1; },
      [](RuleText &rule) { rule.params[0].option = 2; },
      [](RuleText &rule) { rule.params[0].value = "TCP"; },
      [](RuleText &rule) { rule.params[1].value = nullptr; },
      [](RuleText &rule) { rule.params[0].option_value = "8"; },
      [](RuleText &rule) { rule.params[1].option_value = ""; },
      [](RuleText &rule) { rule.params[2].value = "ppp1"; },
      [](RuleText &rule) { std::swap(rule.params[0], rule.params[1]); },
      [](RuleText &rule) { rule.params.push_back({1}); },
      [](RuleText &rule) { rule.matches[1].option = 16; },
      [](RuleText &rule) { rule.matches.push_back({1}); },
  };
  for (std::size_t i = 0; i < std::size(kDifferences); ++i) {
    RuleText other = text;
    kDifferences[i](other);
    const RulePtr b = make_rule(other);
    EXPECT_EQ(ipt_rule_compare(a.get(), b.get()), 1) << i;
    EXPECT_EQ(ipt_rule_compare(b.get(), a.get()), 1) << i;
  }
}

TEST(Compare, MissingListsAreEmpty) {
  const RulePtr simple(ipt_simplerule_init());
  const RulePtr rule(ipt_rule_init());
  EXPECT_EQ(ipt_rule_compare(simple.get(), rule.get()), 0);
  ipt_rule_add_match(rule.get(), 1, 0, 0, nullptr);
  EXPECT_EQ(ipt_rule_compare(simple.get(), rule.get()), 1);
  EXPECT_EQ(ipt_rule_compare(rule.get(), simple.get()), 1);
}

}  // namespace
}  // namespace talvera::test
