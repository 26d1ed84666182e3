// Allocation failures in lists, texts and firewall rules.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "faults/inject.h"
#include "talvera/encode.h"
#include "talvera/ipt.h"
#include "talvera/list.h"
#include "talvera/values.h"

namespace talvera::test {
namespace {

constexpr std::int32_t kCount = 7;  // more than the spare elements of a list

// A list of copies, and its sum; a failed insertion must leave it unchanged.
long lists(Fixture &) {
  list_obj list, both;
  long sum = -1;
  const bool made = list_init(&list) == 0;
  if (made) list_attributes_copy(&list, list_meter_int32_t, 1);
  std::int32_t filled = 0;
  while (made && filled < kCount && list_append(&list, &filled) == 1)
    ++filled;
  EXPECT_TRUE(!made || list_size(&list) == static_cast<unsigned>(filled));
  if (filled == kCount) {
    if (list_concat(&list, &list, &both) == 0) {
      for (sum = 0; list_size(&both) > 0; list_delete_at(&both, 0))
        sum += *static_cast<std::int32_t *>(list_get_at(&both, 0));
    }
    EXPECT_EQ(list_size(&both), 0U);
    list_destroy(&both);
  }
  list_destroy(&list);
  return sum;
}

long escaped(Fixture &) {
  char text[32] = "<a>";
  const int result = entities_hex_encode_in_place(sizeof text, text);
  return std::strcmp(text, result == 0 ? "&#x3c;a&#x3e;" : "<a>") == 0 ? result : kWrong;
}

long heap_strings(Fixture &) {
  char *slot = nullptr;
  bool all = mkstr_long(&slot, -5) != nullptr;
  all = mkstr_ulong(&slot, 5) != nullptr && all;
  all = mkstr_string(&slot, Fixture::kText) != nullptr && all;
  const bool right = slot == nullptr ? !all : std::strcmp(slot, Fixture::kText) == 0;
  std::free(slot);
  return right ? all : kWrong;
}

// A rule that lacks a part after a failed allocation must not run.
long run_and_free(Fixture &fixture, ipt_rule *rule, const char *parts) {
  fixture.system.answer("system", 0).always();
  const int result = rule != nullptr ? ipt_process_rule(rule) : -1;
  ipt_rule_free(rule);
  const bool whole = result != 0 || std::strstr(fixture.system.calls.back().c_str(), parts);
  return whole ? result : kWrong;
}

// The lists of a simple rule are created on demand.
long built_rule(Fixture &fixture) {
  ipt_rule *rule = ipt_simplerule_init();
  const auto text = [](const char *copied) { return bypass([=] { return strdup(copied); }); };
  const ipt_param *const param =
      ipt_rule_add_param(rule, IPT_PARAM_PROTOCOL, 0, text("tcp"), IPT_OPTION_DPORT, text("80"));
  const ipt_match *const match =
      ipt_rule_add_match(rule, IPT_MATCH_STATE, 0, IPT_OPTION_STATE, text("NEW"));
  if (rule != nullptr) rule->command = IPT_COMMAND_APPEND;
  const long result = run_and_free(fixture, rule, "");
  return param != nullptr && match != nullptr ? result : -1;
}

long pinhole(Fixture &fixture) {
  return run_and_free(
      fixture,
      ipt_make_pinhole_rule(IPT_COMMAND_APPEND, "192.0.2.1", "tcp", "80-90", "10.0.0.2", 8080),
      "-p tcp --dport 80:90 -d 192.0.2.1 -m state --state NEW,ESTABLISHED,RELATED "
      "-j DNAT --to 10.0.0.2:8080-8090");
}

long address_map(Fixture &fixture) {
  return run_and_free(fixture,
                      ipt_make_maplist_rule(IPT_COMMAND_APPEND, "192.0.2.1", "10.0.0.2-10.0.0.9"),
                      "-d 192.0.2.1 -m iprange --src-range 10.0.0.2-10.0.0.9");
}

long chain(Fixture &fixture) {
  fixture.system.answer("system", 0).always();
  const int flushed = ipt_flush_chain(IPT_CHAIN_INPUT);
  return flushed != 0 ? flushed : ipt_set_chain_policy(IPT_CHAIN_INPUT, IPT_TARGET_DROP);
}

TEST(Faults, Memory) {
  inject({{"lists", {kCount * (kCount - 1), -1}, lists},
          {"escaped text", {0, -1}, escaped},
          {"heap strings", {1, 0}, heap_strings},
          {"rule", {0, -1, EINTR, EIO}, built_rule},
          {"pinhole", {0, -1, EINTR, EIO}, pinhole},
          {"address map", {0, -1, EINTR, EIO}, address_map},
          {"chain", {0, IPT_RULE_FAILED, EINTR, EIO}, chain}});
}

}  // namespace
}  // namespace talvera::test
