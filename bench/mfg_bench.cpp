// The info record against bare open, read and close of the same file. The mount is a function call
// here, so that only the library's own work is measured.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "talvera/mfg.h"

extern "C" int mount(const char *, const char *, const char *, unsigned long,
                     const void *) noexcept {
  return 0;
}
extern "C" int umount2(const char *, int) noexcept {
  return 0;
}

namespace {

constexpr char kPath[] = "/mfg/mfg.dat";

// Writes an erased manufacturing file; needs the sandbox to create "/mfg".
bool make_mfg_file() {
  if (std::system("mkdir -p /mfg") != 0) return false;
  FILE *file = std::fopen(kPath, "wb");
  if (file == nullptr) return false;
  const std::vector<char> content(131072, '\xFF');
  std::fwrite(content.data(), 1, content.size(), file);
  std::fclose(file);
  unsigned char record[MFG_INFO_SIZE];
  mfg_info_read(record);
  return mfg_info_write(record) == 0;
}

void info_read(benchmark::State &state) {
  if (!make_mfg_file()) return state.SkipWithError("no /mfg");
  unsigned char record[MFG_INFO_SIZE];
  for (auto _ : state)
    benchmark::DoNotOptimize(mfg_info_read(record));
}
BENCHMARK(info_read);

void bare_open_read_close(benchmark::State &state) {
  if (!make_mfg_file()) return state.SkipWithError("no /mfg");
  unsigned char record[MFG_INFO_SIZE];
  for (auto _ : state) {
    const int fd = open(kPath, O_RDONLY);
    lseek(fd, 131072 - MFG_INFO_SIZE, SEEK_SET);
    benchmark::DoNotOptimize(read(fd, record, sizeof record));
    close(fd);
  }
}
BENCHMARK(bare_open_read_close);

}  // namespace
