// File functions against the bare system calls and cmp.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "talvera/utils.h"

namespace {

constexpr unsigned kMebibyte = 1 << 20;

// Reads 1 MiB from a pipe that a thread keeps full.
template <typename Read>
void read_pipe(benchmark::State &state, Read read_all) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  std::thread writer([fd = ends[1]] {
    const std::vector<char> block(65536, 'x');
    while (write(fd, block.data(), block.size()) > 0) {
    }
  });
  std::vector<char> buffer(kMebibyte);
  for (auto _ : state) {
    if (read_all(ends[0], buffer.data()) != static_cast<int>(kMebibyte)) std::abort();
  }
  state.SetBytesProcessed(state.iterations() * kMebibyte);
  signal(SIGPIPE, SIG_IGN);
  close(ends[0]);
  writer.join();
  close(ends[1]);
}

void full_read(benchmark::State &state) {
  read_pipe(state, [](int fd, char *buffer) { return uf_full_read(fd, buffer, kMebibyte); });
}
BENCHMARK(full_read)->UseRealTime();

void bare_read_loop(benchmark::State &state) {
  read_pipe(state, [](int fd, char *buffer) {
    unsigned done = 0;
    while (done < kMebibyte) {
      const ssize_t got = read(fd, buffer + done, kMebibyte - done);
      if (got <= 0) break;
      done += static_cast<unsigned>(got);
    }
    return static_cast<int>(done);
  });
}
BENCHMARK(bare_read_loop)->UseRealTime();

// Two equal files of 16 MiB.
class EqualFiles {
 public:
  EqualFiles() {
    char name[] = "/tmp/talvera-bench-XXXXXX";
    directory_ = mkdtemp(name);
    const std::string content(16 * kMebibyte, 'x');
    for (const std::string &path : {first(), second()}) {
      FILE *file = std::fopen(path.c_str(), "wb");
      std::fwrite(content.data(), 1, content.size(), file);
      std::fclose(file);
    }
  }
  ~EqualFiles() {
    unlink(first().c_str());
    unlink(second().c_str());
    rmdir(directory_.c_str());
  }
  [[nodiscard]] std::string first() const { return directory_ + "/first"; }
  [[nodiscard]] std::string second() const { return directory_ + "/second"; }

 private:
  std::string directory_;
};

void diff_16_mib(benchmark::State &state) {
  const EqualFiles files;
  const std::string first = files.first();
  const std::string second = files.second();
  for (auto _ : state) {
    if (file_diff(first.c_str(), second.c_str()) != 0) std::abort();
  }
}
BENCHMARK(diff_16_mib)->UseRealTime()->Unit(benchmark::kMicrosecond);

void cmp_16_mib(benchmark::State &state) {
  const EqualFiles files;
  const std::string first = files.first();
  const std::string second = files.second();
  for (auto _ : state) {
    const pid_t child = vfork();
    if (child == 0) {
      execlp("cmp", "cmp", "-s", first.c_str(), second.c_str(), nullptr);
      _exit(127);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0) std::abort();
  }
}
BENCHMARK(cmp_16_mib)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
