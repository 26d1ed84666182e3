// Lookups among 250 pairs of the configuration store against getenv() and std::unordered_map, and
// the cost of the two shmctl() calls per lookup in an attached segment.
#include <benchmark/benchmark.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_map>
#include <vector>

#include "talvera/nvram.h"

namespace {

constexpr int kPairs = 250;
constexpr char kAbsent[] = "wan.pppoe.session.absent";

// Names like those of a gateway.
std::vector<std::string> names() {
  static constexpr const char *kPrefixes[] = {"wan.ifname.", "lan.dhcp.lease.", "wl.ssid.",
                                              "system.firmware.", "fw.pinhole.rule."};
  std::vector<std::string> all;
  for (int i = 0; i < kPairs; ++i)
    all.push_back(kPrefixes[i % 5] + std::to_string(i));
  return all;
}

// Looks up every name in turn, or a missing one.
template <typename Lookup>
void look_up(benchmark::State &state, bool present, Lookup lookup) {
  const std::vector<std::string> all = names();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(lookup(present ? all[i].c_str() : kAbsent));
    if (++i == all.size()) i = 0;
  }
}

// The pairs in private memory, without locks.
void fill_private_table() {
  static std::vector<char> memory(NVRAM_SEGMENT_SIZE);
  nvram_shmid = -1;
  nvram_hash = memory.data();
  for (const std::string &name : names())
    nvram_set(name.c_str(), "value");
}

void nvram_get_pair(benchmark::State &state, bool present) {
  fill_private_table();
  look_up(state, present, nvram_get);
}
BENCHMARK_CAPTURE(nvram_get_pair, present, true);
BENCHMARK_CAPTURE(nvram_get_pair, absent, false);

void getenv_variable(benchmark::State &state, bool present) {
  clearenv();
  for (const std::string &name : names())
    setenv(name.c_str(), "value", 1);
  look_up(state, present, [](const char *name) { return std::getenv(name); });
}
BENCHMARK_CAPTURE(getenv_variable, present, true);
BENCHMARK_CAPTURE(getenv_variable, absent, false);

void unordered_map_find(benchmark::State &state, bool present) {
  std::unordered_map<std::string, std::string> map;
  for (const std::string &name : names())
    map[name] = "value";
  look_up(state, present, [&map](const char *name) {
    const auto found = map.find(name);
    return found != map.end() ? found->second.c_str() : nullptr;
  });
}
BENCHMARK_CAPTURE(unordered_map_find, present, true);
BENCHMARK_CAPTURE(unordered_map_find, absent, false);

// ---- With a real segment --------------------------------------------------------------------

class Segment {
 public:
  Segment() : id_(shmget(IPC_PRIVATE, NVRAM_SEGMENT_SIZE, IPC_CREAT | 0600)) {
    nvram_hash = shmat(id_, nullptr, 0);
    shmctl(id_, IPC_RMID, nullptr);  // removed on detach
    for (const std::string &name : names())
      nvram_set(name.c_str(), "value");
  }
  ~Segment() {
    nvram_detach(nvram_hash);
    nvram_hash = nullptr;
  }
  [[nodiscard]] int id() const { return id_; }

 private:
  int id_;
};

void nvram_get_pinned(benchmark::State &state) {
  const Segment segment;
  nvram_shmid = segment.id();
  look_up(state, true, nvram_get);
}
BENCHMARK(nvram_get_pinned);

void bare_shmctl_twice(benchmark::State &state) {
  const Segment segment;
  for (auto _ : state) {
    benchmark::DoNotOptimize(shmctl(segment.id(), SHM_LOCK, nullptr));
    benchmark::DoNotOptimize(shmctl(segment.id(), SHM_UNLOCK, nullptr));
  }
}
BENCHMARK(bare_shmctl_twice);

}  // namespace
