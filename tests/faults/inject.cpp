// Runs scenarios with faults.
#include "faults/inject.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "support/blob.h"
#include "talvera/ccert.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" int __lsan_do_recoverable_leak_check();
#endif

namespace talvera::test {
namespace {

constexpr unsigned kSlowestRun = 20;  // seconds

char where[128];  // describes the current run

void give_up(int) {
  const Bypass guard;
  std::fprintf(stderr, "%s does not end\n", where);
  std::_Exit(1);
}

// The ways in which a call can fail; OpenSSL's calls return 0.
std::vector<Outcome> failures_of(const std::string &call, bool memory) {
  if (call.ends_with("alloc") || call.ends_with("dup"))
    return {memory ? std::vector<Outcome>{{Outcome::kFailure, ENOMEM}} : std::vector<Outcome>{}};
  if (call.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") != call.npos) return {{Outcome::kResult, 0}};
  std::vector<Outcome> outcomes = {{Outcome::kFailure, EINTR}, {Outcome::kFailure, EIO}};
  if (call == "read" || call == "write") {
    outcomes.push_back({Outcome::kShort, 1});
    outcomes.push_back({Outcome::kResult, 0});
  }
  return outcomes;
}

// Runs a scenario without faults, and lists the faults that apply to the calls that it made.
std::vector<Arrangement> faults_of(const Scenario &scenario) {
  Fixture fixture;
  EXPECT_EQ(scenario.run(fixture), scenario.results.front()) << scenario.name;
  const Bypass guard;
  std::vector<Arrangement> faults;
  for (const auto &[call, calls] : fixture.system.counts()) {
    for (const Outcome outcome : failures_of(call, scenario.memory))
      faults.push_back({call, outcome});
  }
  return faults;
}

// Runs a scenario in its own fixture, with the fault after `skip` calls. Returns the number of
// calls made.
int run_once(const Scenario &scenario, Arrangement fault, int skip) {
  std::snprintf(where, sizeof where, "%s: %s (%d: %ld) after %d", scenario.name, fault.call,
                fault.outcome.kind, fault.outcome.value, skip);
  Fixture fixture;
  const int descriptors = open_descriptors();
  fixture.system.arrange(fault.after(skip));
  alarm(kSlowestRun);
  const long result = scenario.run(fixture);
  alarm(0);
  const int calls = fixture.system.count(fault.call);
  fixture.system.forget();

  EXPECT_NE(std::ranges::find(scenario.results, result), scenario.results.end())
      << where << ": result " << result;
  EXPECT_EQ(open_descriptors(), descriptors) << where;
  const bool stuck = std::string_view(fault.call) == "umount2";  // the partition stays mounted
  EXPECT_TRUE(stuck || !fixture.system.platform().mounted()) << where;
  return calls;
}

}  // namespace

Fixture::Fixture()
    : blob(make_blob({{"certificate", CCERT_CERTIFICATE}, {"key", CCERT_KEY_PLAIN}})) {
  constexpr std::size_t kMfgFileSize = 0x20000, kSlot1 = 0x1C000;
  std::string flash(kMfgFileSize, '\xFF');
  std::ofstream(mfg_file, std::ios::binary) << flash.replace(kSlot1, blob.size(), blob);
  for (const char *path : {"/tmp/test-out", "/tmp/test-err", "/tmp/test-status"})
    system.redirections[path] = hops;
  for (const char *command : {"pidof pfs", "/sbin/pfs -l"})
    system.redirections[command] = "echo 77";
  system.values["system.sku"] = "50";
  kernel.acknowledge = true;
  system.clear_records();
}

void inject(const std::vector<Scenario> &scenarios) {
  std::signal(SIGALRM, give_up);
  int runs = 0;
  for (const Scenario &scenario : scenarios) {
    for (const Arrangement &fault : faults_of(scenario)) {
      int skip = 0;
      for (; run_once(scenario, fault, skip) > skip; ++skip) {
        if (::testing::Test::HasFailure()) return;
      }
      runs += skip;
    }
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0) << scenario.name;
#endif
  }
  std::printf("%d faults in %zu scenarios\n", runs, scenarios.size());
}

}  // namespace talvera::test
