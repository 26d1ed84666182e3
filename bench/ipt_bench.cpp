// Rendering of rules against a single snprintf() of the same line, and the allocations for building
// and freeing a rule.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "talvera/ipt.h"

// Counts the allocations of the library and strdup().
namespace {
int allocations = 0;
}  // namespace

extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);

extern "C" void *malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}
extern "C" void *calloc(std::size_t count, std::size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}

namespace {

ipt_rule *minimal_rule() {
  ipt_rule *rule = ipt_rule_init();
  rule->chain = IPT_CHAIN_INPUT;
  rule->command = IPT_COMMAND_APPEND;
  rule->target = IPT_TARGET_ACCEPT;
  return rule;
}

ipt_rule *dnat_rule() {
  ipt_rule *rule = ipt_rule_init();
  rule->table = IPT_TABLE_NAT;
  rule->chain = IPT_CHAIN_PREROUTING;
  rule->command = IPT_COMMAND_APPEND;
  ipt_rule_add_param(rule, IPT_PARAM_PROTOCOL, 0, strdup("tcp"), IPT_OPTION_DPORT, strdup("80"));
  ipt_rule_add_param(rule, IPT_PARAM_DESTINATION, 0, strdup("10.0.0.1"), IPT_OPTION_NONE, nullptr);
  ipt_rule_add_match(rule, IPT_MATCH_STATE, 0, IPT_OPTION_STATE, strdup("NEW,ESTABLISHED,RELATED"));
  rule->target = IPT_TARGET_DNAT;
  rule->target_argument = strdup("192.168.1.2:80");
  return rule;
}

void render(benchmark::State &state, ipt_rule *rule) {
  char line[IPT_LINE_SIZE];
  for (auto _ : state) {
    if (ipt_make_rule_string(rule, line) != 0) std::abort();
    benchmark::DoNotOptimize(line);
    benchmark::ClobberMemory();
  }
  ipt_rule_free(rule);
}

void render_dnat(benchmark::State &state) {
  render(state, dnat_rule());
}
BENCHMARK(render_dnat);

// The strings come from memory, like those of a rule.
const char *volatile texts[] = {
    "nat",  "A",    "PREROUTING",    "p",     "tcp",     "--dport",
    "80",   "d",    "10.0.0.1",      "state", "--state", "NEW,ESTABLISHED,RELATED",
    "DNAT", "--to", "192.168.1.2:80"};

void snprintf_dnat(benchmark::State &state) {
  char line[IPT_LINE_SIZE];
  for (auto _ : state) {
    std::snprintf(line, sizeof line,
                  "iptables -t %s -%s %s %s -%s %s %s %s -%s %s -m %s %s %s -j %s %s %s", texts[0],
                  texts[1], texts[2], "", texts[3], texts[4], texts[5], texts[6], texts[7],
                  texts[8], texts[9], texts[10], texts[11], texts[12], texts[13], texts[14]);
    benchmark::DoNotOptimize(line);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(snprintf_dnat);

void render_minimal(benchmark::State &state) {
  render(state, minimal_rule());
}
BENCHMARK(render_minimal);

const char *volatile minimal_texts[] = {"filter", "A", "INPUT", "ACCEPT"};

void snprintf_minimal(benchmark::State &state) {
  char line[IPT_LINE_SIZE];
  for (auto _ : state) {
    std::snprintf(line, sizeof line, "iptables -t %s -%s %s %s -j %s %s %s", minimal_texts[0],
                  minimal_texts[1], minimal_texts[2], "", minimal_texts[3], "", "");
    benchmark::DoNotOptimize(line);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(snprintf_minimal);

void make_and_free(benchmark::State &state, ipt_rule *(*make)()) {
  const int before = allocations;
  for (auto _ : state)
    ipt_rule_free(make());
  state.counters["allocations"] =
      static_cast<double>(allocations - before) / static_cast<double>(state.iterations());
}

void make_and_free_dnat(benchmark::State &state) {
  make_and_free(state, dnat_rule);
}
BENCHMARK(make_and_free_dnat);

void make_and_free_minimal(benchmark::State &state) {
  make_and_free(state, minimal_rule);
}
BENCHMARK(make_and_free_minimal);

}  // namespace
