// Firewall rules in the kernel, put there by the real iptables. Each test has a network namespace
// of its own.
#include <gmock/gmock.h>
#include <sched.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "talvera/ipt.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Texts = std::vector<std::string>;

struct RuleDeleter {
  void operator()(ipt_rule *rule) const { ipt_rule_free(rule); }
};
using RulePtr = std::unique_ptr<ipt_rule, RuleDeleter>;

class Firewall : public testing::Test {
 protected:
  Firewall() { EXPECT_EQ(unshare(CLONE_NEWNET), 0); }

  // The lines of "iptables -S" of a table, without the policies of a new one.
  static Texts installed(const char *table) {
    FILE *listing = popen((std::string("iptables -S -t ") + table).c_str(), "r");
    Texts lines;
    char line[512];
    while (std::fgets(line, sizeof line, listing) != nullptr) {
      std::string text = line;
      text.pop_back();
      if (text.rfind("-P ", 0) != 0 || !text.ends_with(" ACCEPT")) lines.push_back(text);
    }
    EXPECT_EQ(pclose(listing), 0);
    return lines;
  }

  static int process(const RulePtr &rule, std::uint32_t command) {
    rule->command = command;
    return ipt_process_rule(rule.get());
  }
};

TEST_F(Firewall, ReadyMadeRulesGoInAndOut) {
  const struct {
    ipt_rule *(*make)(std::uint32_t command);
    const char *line;
  } cases[] = {
      {[](std::uint32_t command) {
         return ipt_make_pinhole_rule(command, "203.0.113.7", "tcp", "8080", "192.168.1.10", 80);
       },
       "-A PREROUTING -d 203.0.113.7/32 -p tcp -m tcp --dport 8080 -m state --state "
       "NEW,RELATED,ESTABLISHED -j DNAT --to-destination 192.168.1.10:80"},
      {[](std::uint32_t command) {
         return ipt_make_pinhole_rule(command, "203.0.113.7", "udp", "1000-1010", "192.168.1.10",
                                      2000);
       },
       "-A PREROUTING -d 203.0.113.7/32 -p udp -m udp --dport 1000:1010 -m state --state "
       "NEW,RELATED,ESTABLISHED -j DNAT --to-destination 192.168.1.10:2000-2010"},
      {[](std::uint32_t command) { return ipt_make_nat_onoff_rule(command, "ppp0"); },
       "-A POSTROUTING -o ppp0 -j MASQUERADE"},
      {[](std::uint32_t command) {
         return ipt_make_maplist_rule(command, "10.0.0.0/8", "192.168.100.100-192.168.100.200");
       },
       "-A POSTROUTING -d 10.0.0.0/8 -m iprange --src-range 192.168.100.100-192.168.100.200 -j "
       "MASQUERADE"},
  };
  for (const auto &c : cases) {
    const RulePtr rule(c.make(IPT_COMMAND_APPEND));
    EXPECT_EQ(ipt_process_rule(rule.get()), 0);
    EXPECT_THAT(installed("nat"), ElementsAre(c.line));
    // A record made again is the one that went in, and takes it out.
    const RulePtr again(c.make(IPT_COMMAND_APPEND));
    EXPECT_EQ(ipt_rule_compare(rule.get(), again.get()), 0);
    EXPECT_EQ(process(again, IPT_COMMAND_DELETE), 0);
    EXPECT_EQ(ipt_rule_compare(rule.get(), again.get()), 1);
    EXPECT_THAT(installed("nat"), IsEmpty());
    EXPECT_EQ(process(rule, IPT_COMMAND_DELETE), 1);  // iptables: there is none
  }
}

TEST_F(Firewall, RulesOfOnesOwn) {
  const RulePtr ssh(ipt_rule_init());
  ssh->chain = IPT_CHAIN_INPUT;
  ssh->target = IPT_TARGET_ACCEPT;
  ipt_rule_add_param(ssh.get(), IPT_PARAM_PROTOCOL, 0, strdup("tcp"), IPT_OPTION_DPORT,
                     strdup("22"));
  ipt_rule_add_param(ssh.get(), IPT_PARAM_IN_INTERFACE, 0, strdup("lan0"), IPT_OPTION_NONE,
                     nullptr);
  EXPECT_EQ(process(ssh, IPT_COMMAND_APPEND), 0);

  const RulePtr neighbour(ipt_rule_init());
  neighbour->chain = IPT_CHAIN_INPUT;
  neighbour->command_argument = strdup("1");
  neighbour->target = IPT_TARGET_REJECT;
  neighbour->target_argument = strdup("--reject-with icmp-host-prohibited");
  ipt_rule_add_match(neighbour.get(), IPT_MATCH_MAC, 0, IPT_OPTION_MAC_SOURCE,
                     strdup("02:5a:31:00:00:01"));
  EXPECT_EQ(process(neighbour, IPT_COMMAND_INSERT), 0);

  const char *ssh_line = "-A INPUT -i lan0 -p tcp -m tcp --dport 22 -j ACCEPT";
  EXPECT_THAT(installed("filter"),
              ElementsAre("-A INPUT -m mac --mac-source 02:5a:31:00:00:01 -j REJECT --reject-with "
                          "icmp-host-prohibited",
                          ssh_line));
  EXPECT_EQ(process(ssh, IPT_COMMAND_INSERT), 0);
  EXPECT_EQ(process(neighbour, IPT_COMMAND_REPLACE), 0);
  EXPECT_EQ(installed("filter").size(), 3U);
  EXPECT_EQ(ipt_flush_chain(IPT_CHAIN_INPUT), 0);
  EXPECT_THAT(installed("filter"), IsEmpty());
}

TEST_F(Firewall, Policies) {
  for (const std::uint32_t chain : {IPT_CHAIN_INPUT, IPT_CHAIN_FORWARD, IPT_CHAIN_OUTPUT})
    EXPECT_EQ(ipt_set_chain_policy(chain, IPT_TARGET_DROP), 0);
  EXPECT_THAT(installed("filter"),
              ElementsAre("-P INPUT DROP", "-P FORWARD DROP", "-P OUTPUT DROP"));
  EXPECT_EQ(ipt_set_chain_policy(IPT_CHAIN_FORWARD, IPT_TARGET_ACCEPT), 0);
  EXPECT_THAT(installed("filter"), ElementsAre("-P INPUT DROP", "-P OUTPUT DROP"));
}

TEST_F(Firewall, WhatIsNotARuleIsRefused) {
  const RulePtr ssh(ipt_rule_init());
  ipt_rule_add_param(ssh.get(), IPT_PARAM_SOURCE, 0, strdup("10.0.0.1"), IPT_OPTION_NONE, nullptr);
  ssh->target = IPT_TARGET_DROP;
  EXPECT_NE(process(ssh, IPT_COMMAND_APPEND), 0);  // no chain
  ssh->chain = IPT_CHAIN_INPUT;
  EXPECT_NE(process(ssh, IPT_COMMAND_NONE), 0);
  EXPECT_EQ(process(ssh, IPT_COMMAND_APPEND), 0);
  EXPECT_NE(ipt_flush_chain(IPT_CHAIN_NONE), 0);  // does not mean every chain
  EXPECT_THAT(installed("filter"), ElementsAre("-A INPUT -s 10.0.0.1/32 -j DROP"));
}

}  // namespace
