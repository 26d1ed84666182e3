// The ready-made rules: their command lines, their refusals, and memory running out in them.
#include "unit/ipt/fixture.h"

namespace talvera::test {
namespace {

std::string text_of(ipt_rule *made) {
  const RulePtr rule(made);
  return rule != nullptr ? rendered(rule.get()) : "(null)";
}

using Masks = std::vector<unsigned>;

// The negation masks of all items, parameters first.
Masks masks_of(ipt_rule *made) {
  const RulePtr rule(made);
  Masks masks;
  for (std::uint32_t i = 0; i < list_size(rule->params); ++i)
    masks.push_back(static_cast<ipt_param *>(list_get_at(rule->params, i))->negation);
  for (std::uint32_t i = 0; i < list_size(rule->matches); ++i)
    masks.push_back(static_cast<ipt_match *>(list_get_at(rule->matches, i))->negation);
  return masks;
}

TEST(ReadyMade, Pinholes) {
  constexpr char kState[] = " -m state --state NEW,ESTABLISHED,RELATED -j DNAT --to ";
  const struct {
    const char *destination, *protocol, *external, *host;
    int port;
    std::string params, target;  // no parameters: no rule
  } cases[] = {
      {"203.0.113.7", "tcp", "8080", "192.168.1.10", 80, " -p tcp --dport 8080 -d 203.0.113.7",
       "192.168.1.10:80"},
      {"1.2.3.4", "udp", "1000-1010", "192.168.1.10", 2000, " -p udp --dport 1000:1010 -d 1.2.3.4",
       "192.168.1.10:2000-2010"},
      {"1.2.3.4", "17", "1000 1010", "192.168.1.10", 1000, " -p 17 --dport 1000:1010 -d 1.2.3.4",
       "192.168.1.10"},
      {"! 1.2.3.4", "! tcp", "! 80", "10.0.0.2", 80, " -p tcp --dport ! 80 -d ! 1.2.3.4",
       "10.0.0.2:80"},
      {nullptr, "TCP", "", "10.0.0.2", 80, " -p --dport  -d", "10.0.0.2:80"},
      {"1.2.3.4", nullptr, "80", "10.0.0.2", 80, " -p --dport 80 -d 1.2.3.4", "10.0.0.2:80"},
      {"1.2.3.4", "tcp", "1-11", "10.0.0.2", 2000000000, " -p tcp --dport 1:11 -d 1.2.3.4",
       "10.0.0.2:2000000000-2000000010"},
      {"1.2.3.4", "tcp", "80", "255.255.255.255-255.255.255.254", 80,
       " -p tcp --dport 80 -d 1.2.3.4",
       "255.255.255.255-255.255.255.254"},  // 31 characters: the port is cut off
      {"1.2.3.4", "tcp", "http", "10.0.0.2", 80, "", ""},
      {"1.2.3.4", "tcp", "80-x", "10.0.0.2", 90, "", ""},
      {"1.2.3.4", "tcp", nullptr, "10.0.0.2", 80, "", ""},
      {"1.2.3.4", "tcp", "80", nullptr, 80, "", ""},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(text_of(ipt_make_pinhole_rule(IPT_COMMAND_APPEND, c.destination, c.protocol,
                                            c.external, c.host, c.port)),
              c.params.empty() ? "(null)"
                               : "iptables -t nat -A PREROUTING " + c.params + kState + c.target);
  }
  // Bit 0 stands for the negated protocol, though it is not rendered. Each item has its own bits.
  EXPECT_EQ(masks_of(ipt_make_pinhole_rule(1, "1.2.3.4", "!tcp", "!80", "h", 80)),
            Masks({0x09, 0, 0}));
  EXPECT_EQ(masks_of(ipt_make_pinhole_rule(1, "! 1.2.3.4", "tcp", "80", "h", 80)),
            Masks({0, 0x02, 0}));
}

TEST(ReadyMade, NatOnInterfacesAndForRanges) {
  EXPECT_EQ(text_of(ipt_make_nat_onoff_rule(IPT_COMMAND_APPEND, "ppp0")),
            "iptables -t nat -A POSTROUTING  -o ppp0 -j MASQUERADE  ");
  EXPECT_EQ(text_of(ipt_make_nat_onoff_rule(IPT_COMMAND_DELETE, "!ppp0")),
            "iptables -t nat -D POSTROUTING  -o !ppp0 -j MASQUERADE  ");
  EXPECT_EQ(ipt_make_nat_onoff_rule(IPT_COMMAND_DELETE, nullptr), nullptr);

  const char *range = "192.168.100.100-192.168.100.200";
  EXPECT_EQ(text_of(ipt_make_maplist_rule(IPT_COMMAND_INSERT, "10.0.0.0/8", range)),
            "iptables -t nat -I POSTROUTING  -d 10.0.0.0/8 -m iprange --src-range " +
                std::string(range) + " -j MASQUERADE  ");
  EXPECT_EQ(text_of(ipt_make_maplist_rule(IPT_COMMAND_DELETE, "! 10.0.0.1", "!1.1.1.1-2.2.2.2")),
            "iptables -t nat -D POSTROUTING  -d ! 10.0.0.1 -m iprange --src-range ! "
            "1.1.1.1-2.2.2.2 -j MASQUERADE  ");
  EXPECT_EQ(masks_of(ipt_make_nat_onoff_rule(1, "!ppp0")), Masks({0}));
  EXPECT_EQ(masks_of(ipt_make_maplist_rule(1, "!10.0.0.1", range)), Masks({0x02, 0}));
  EXPECT_EQ(masks_of(ipt_make_maplist_rule(1, "10.0.0.1", "!1.1.1.1-2.2.2.2")), Masks({0, 0x08}));
  EXPECT_EQ(ipt_make_maplist_rule(1, nullptr, range), nullptr);
  EXPECT_EQ(ipt_make_maplist_rule(1, "10.0.0.1", nullptr), nullptr);
  EXPECT_EQ(text_of(ipt_make_nat_onoff_rule(10, "ppp0")), "[2012]");
}

// Whatever allocation fails, there is no rule and nothing is lost. Lists have no way to report that
// they lack memory for themselves; all else does.
TEST(ReadyMade, MemoryRunningOut) {
  ipt_rule *(*const makers[])() = {
      [] { return ipt_make_pinhole_rule(1, "1.2.3.4", "tcp", "80-90", "10.0.0.2", 80); },
      [] { return ipt_make_nat_onoff_rule(1, "ppp0"); },
      [] { return ipt_make_maplist_rule(1, "1.2.3.4", "1.1.1.1-2.2.2.2"); },
  };
  for (const auto make : makers) {
    for (const char *call : {"calloc", "strdup", "malloc"}) {
      SCOPED_TRACE(call);
      SystemDouble system;
      ipt_rule_free(make());
      const int calls = system.count(call);
      const int in_lists = std::strcmp(call, "malloc") == 0 ? 6 : 0;
      EXPECT_GT(calls, in_lists);
      for (int step = in_lists; step < calls; ++step) {
        system.fail(call, ENOMEM, step);
        EXPECT_EQ(make(), nullptr) << step;
        system.forget();
      }
    }
  }
}

}  // namespace
}  // namespace talvera::test
