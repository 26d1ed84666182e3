// Loading the certificate blob, including its mounts (one per read of the file), against the same
// number of bare accesses to the file. The mount is a function call here.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "talvera/ccert.h"
#include "talvera/mfg.h"

namespace {

int mounts = 0;

}  // namespace

extern "C" int mount(const char *, const char *, const char *, unsigned long,
                     const void *) noexcept {
  ++mounts;
  return 0;
}
extern "C" int umount2(const char *, int) noexcept {
  return 0;
}

namespace {

constexpr char kPath[] = "/mfg/mfg.dat";
constexpr long kSlotOffset[] = {0, 0x1C000, 0x18000};
constexpr unsigned char kBlob[] = {0x0E, 0x0C, 0x0A, 0x08, 2, 4, 6, 7, 0, 0, 0x03, 0x94,
                                   0,    0,    0,    1,    0, 0, 0, 0, 0, 0, 0,    0,
                                   0,    0,    0x03, 0x70, 0, 0, 0, 2, 0, 0, 0,    0};
constexpr std::size_t kBlobSize = sizeof kBlob + 880;

// Writes a manufacturing file with a blob in one slot; needs the sandbox to create "/mfg".
bool make_mfg_file(int slot) {
  if (std::system("mkdir -p /mfg") != 0) return false;
  FILE *file = std::fopen(kPath, "wb");
  if (file == nullptr) return false;
  const std::vector<char> content(131072, '\xFF');
  std::fwrite(content.data(), 1, content.size(), file);
  std::fseek(file, kSlotOffset[slot], SEEK_SET);
  std::fwrite(kBlob, 1, sizeof kBlob, file);
  std::fclose(file);
  return true;
}

void ccert_load(benchmark::State &state, int slot) {
  if (!make_mfg_file(slot)) return state.SkipWithError("no /mfg");
  mounts = 0;
  for (auto _ : state) {
    if (ccert_init() != 0 || ccert_get_data_count() != 1) return state.SkipWithError("not loaded");
    ccert_deinit();
  }
  state.counters["mounts"] = benchmark::Counter(mounts, benchmark::Counter::kAvgIterations);
}
BENCHMARK_CAPTURE(ccert_load, slot_2, 2);
BENCHMARK_CAPTURE(ccert_load, slot_1, 1);

void bare_accesses(benchmark::State &state, int slot) {
  if (!make_mfg_file(slot)) return state.SkipWithError("no /mfg");
  unsigned char buffer[kBlobSize];
  const int accesses = slot == 2 ? 3 : 4;
  for (auto _ : state) {
    for (int i = 1; i <= accesses; ++i) {
      const int fd = open(kPath, O_RDONLY);
      lseek(fd, kSlotOffset[slot], SEEK_SET);
      benchmark::DoNotOptimize(read(fd, buffer, i < accesses ? 4 : kBlobSize));
      close(fd);
    }
  }
}
BENCHMARK_CAPTURE(bare_accesses, slot_2, 2);
BENCHMARK_CAPTURE(bare_accesses, slot_1, 1);

}  // namespace
