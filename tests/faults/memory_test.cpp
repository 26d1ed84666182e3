// A lack of memory in lists, firewall rules and texts.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "faults/inject.h"
#include "talvera/encode.h"
#include "talvera/ipt.h"
#include "talvera/list.h"
#include "talvera/values.h"

namespace talvera::test {
namespace {

constexpr std::int32_t kCount = 7;  // more than a list keeps spare

// A list with copies of 0, 1, ...; false when memory ran out, with the list as it was before.
bool fill(list_obj &list) {
  list_attributes_copy(&list, list_meter_int32_t, 1);
  for (std::int32_t i = 0; i < kCount; ++i) {
    if (list_append(&list, &i) == 1) continue;
    EXPECT_EQ(list_size(&list), static_cast<std::uint32_t>(i));
    return false;
  }
  return true;
}

long lists(World &) {
  list_obj list;
  if (list_init(&list) != 0) {
    list_destroy(&list);
    return -1;
  }
  list_obj both;
  const bool filled = fill(list);
  const int result = filled ? list_concat(&list, &list, &both) : -1;
  long sum = 0;
  if (result == 0) {
    for (std::uint32_t i = 0; i < list_size(&both); ++i)
      sum += *static_cast<std::int32_t *>(list_get_at(&both, i));
  }
  if (filled) list_destroy(&both);
  list_destroy(&list);
  return result != 0 ? result : sum;
}

// A rule that lacks a part for want of memory must not run.
long run_and_free(World &world, ipt_rule *rule, std::string_view parts) {
  world.system.answer("system", 0, 0, kAlways);
  const int result = rule != nullptr ? ipt_process_rule(rule) : -1;
  ipt_rule_free(rule);
  const bool whole = result != 0 || world.system.calls().back().find(parts) != std::string::npos;
  return whole ? result : kWrong;
}

long built_rule(World &world) {
  ipt_rule *rule = ipt_simplerule_init();  // its lists are made when they are needed
  char *value = World::quietly([] { return strdup("tcp"); });
  char *port = World::quietly([] { return strdup("80"); });
  char *state = World::quietly([] { return strdup("NEW"); });
  const ipt_param *const param =
      ipt_rule_add_param(rule, IPT_PARAM_PROTOCOL, 0, value, IPT_OPTION_DPORT, port);
  const ipt_match *const match =
      ipt_rule_add_match(rule, IPT_MATCH_STATE, 0, IPT_OPTION_STATE, state);
  if (rule != nullptr) {
    rule->chain = IPT_CHAIN_INPUT;
    rule->command = IPT_COMMAND_APPEND;
  }
  const long result = run_and_free(world, rule, "INPUT ");
  return param != nullptr && match != nullptr ? result : -1;
}

long escaped(World &) {
  char text[32] = "<a>";
  const int result = entities_hex_encode_in_place(sizeof text, text);
  return std::strcmp(text, result == 0 ? "&#x3c;a&#x3e;" : "<a>") == 0 ? result : kWrong;
}

long heap_strings(World &) {
  char *slot = nullptr;
  bool all = mkstr_long(&slot, -5) != nullptr;
  all = mkstr_ulong(&slot, 5) != nullptr && all;
  all = mkstr_string(&slot, kText) != nullptr && all;
  const bool right = slot == nullptr ? !all : std::strcmp(slot, kText) == 0;
  std::free(slot);
  return right ? all : kWrong;
}

TEST(Faults, Memory) {
  inject({
      {"lists", {kCount * (kCount - 1), -1}, lists},
      {"rule", {0, -1, EINTR, EIO}, built_rule},
      {"pinhole",
       {0, -1, EINTR, EIO},
       [](World &world) {
         return run_and_free(world,
                             ipt_make_pinhole_rule(IPT_COMMAND_APPEND, "192.0.2.1", "tcp", "80-90",
                                                   "10.0.0.2", 8080),
                             "-p tcp --dport 80:90 -d 192.0.2.1 -m state --state "
                             "NEW,ESTABLISHED,RELATED -j DNAT --to 10.0.0.2:8080-8090");
       }},
      {"address map",
       {0, -1, EINTR, EIO},
       [](World &world) {
         return run_and_free(
             world, ipt_make_maplist_rule(IPT_COMMAND_APPEND, "192.0.2.1", "10.0.0.2-10.0.0.9"),
             "-d 192.0.2.1 -m iprange --src-range 10.0.0.2-10.0.0.9");
       }},
      {"chain",
       {0, IPT_RULE_FAILED, EINTR, EIO},
       [](World &world) -> long {
         world.system.answer("system", 0, 0, kAlways);
         const int flushed = ipt_flush_chain(IPT_CHAIN_INPUT);
         return flushed != 0 ? flushed : ipt_set_chain_policy(IPT_CHAIN_INPUT, IPT_TARGET_DROP);
       }},
      {"escaped text", {0, -1}, escaped},
      {"heap strings", {1, 0}, heap_strings},
  });
}

}  // namespace
}  // namespace talvera::test
