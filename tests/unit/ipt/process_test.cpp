// Running rules: what is printed and run, and what comes back.
#include "unit/ipt/fixture.h"

namespace talvera::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr int kExit4 = 4 << 8;

class Process : public testing::Test {
 protected:
  Process() {
    system.answer("system", 0, 0, kAlways);
    CaptureStdout();
  }
  ~Process() override { GetCapturedStdout(); }
  // What was printed since the last call.
  static std::string printed() {
    const std::string text = GetCapturedStdout();
    CaptureStdout();
    return text;
  }

  SystemDouble system;
};

TEST_F(Process, PrintsAndRunsTheLineAndReturnsItsResult) {
  const RulePtr rule = make_rule({4, 5, 1, {{5, 0, "ppp0"}}, {}, 12});
  EXPECT_EQ(ipt_process_rule(rule.get()), 0);
  EXPECT_EQ(printed(),
            "CWS ipt: invoking rule \"iptables -t nat -A POSTROUTING  -o ppp0 -j MASQUERADE  \"\n");
  EXPECT_THAT(system.calls(),
              ElementsAre("system iptables -t nat -A POSTROUTING  -o ppp0 -j MASQUERADE  "));
  system.forget();
  system.answer("system", kExit4);
  EXPECT_EQ(ipt_process_rule(rule.get()), 4);
}

TEST_F(Process, PrintsTheLineBeforeItRuns) {
  static std::string before;
  system.forget();
  system.before("system", [] { before = printed(); });
  system.answer("system", 0);
  EXPECT_EQ(ipt_flush_chain(2), 0);
  EXPECT_EQ(before, "CWS ipt: invoking rule \"iptables -t filter -F INPUT \"\n");
}

// The line is a format.
TEST_F(Process, TwoPercentSignsRunAsOne) {
  const RulePtr rule = make_rule({0, 2, 1, {{5, 0, "a%%b"}}});
  EXPECT_EQ(ipt_process_rule(rule.get()), 0);
  EXPECT_THAT(system.calls(), ElementsAre("system iptables -t filter -A INPUT  -o a%b"));
  EXPECT_EQ(printed(), "CWS ipt: invoking rule \"iptables -t filter -A INPUT  -o a%%b\"\n");
}

TEST_F(Process, RunsNothingThatCannotBeRendered) {
  EXPECT_EQ(ipt_process_rule(make_rule({0, 2, 10}).get()), 2012);
  EXPECT_EQ(ipt_process_rule(nullptr), 2012);
  EXPECT_EQ(ipt_flush_chain(6), 2012);
  EXPECT_EQ(printed(), "");
  EXPECT_THAT(system.calls(), IsEmpty());
}

TEST_F(Process, FlushAndPolicy) {
  EXPECT_EQ(ipt_flush_chain(2), 0);
  EXPECT_EQ(ipt_set_chain_policy(2, 1), 0);
  EXPECT_EQ(ipt_set_chain_policy(3, 2), 0);
  EXPECT_EQ(ipt_set_chain_policy(4, 1), 0);
  EXPECT_THAT(system.calls(), ElementsAre("system iptables -t filter -F INPUT ",
                                          "system iptables -t filter -P INPUT ACCEPT",
                                          "system iptables -t filter -P FORWARD DROP",
                                          "system iptables -t filter -P OUTPUT ACCEPT"));
  system.forget();
  system.answer("system", kExit4, 0, 2);
  EXPECT_EQ(ipt_flush_chain(2), 4);
  EXPECT_EQ(ipt_set_chain_policy(2, 1), 4);

  system.clear_records();
  for (const std::uint32_t chain : {1U, 5U})
    EXPECT_EQ(ipt_set_chain_policy(chain, 1), 2012) << chain;
  for (const std::uint32_t policy : {0U, 3U})
    EXPECT_EQ(ipt_set_chain_policy(2, policy), 2012) << policy;
  EXPECT_THAT(system.log(), IsEmpty());
  system.fail("strdup", ENOMEM);
  EXPECT_EQ(ipt_set_chain_policy(2, 1), 2012);
  EXPECT_THAT(system.calls(), IsEmpty());
}

}  // namespace
}  // namespace talvera::test
