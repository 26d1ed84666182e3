// Processes and queues against the bare calls: a command against system(), a search against pidof,
// a message sent and received against sendto() and recvfrom() on the same kind of socket.
#include <benchmark/benchmark.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "talvera/ipc_msgq.h"
#include "talvera/process.h"
#include "talvera/utils.h"

namespace {

void sdb_system_true(benchmark::State &state) {
  for (auto _ : state) {
    if (sdb_system("%s", "true") != 0) std::abort();
  }
}
BENCHMARK(sdb_system_true)->UseRealTime()->Unit(benchmark::kMicrosecond);

void bare_system_true(benchmark::State &state) {
  for (auto _ : state) {
    if (std::system("true") != 0) std::abort();
  }
}
BENCHMARK(bare_system_true)->UseRealTime()->Unit(benchmark::kMicrosecond);

void find_by_name(benchmark::State &state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(process_find("bench_process"));
}
BENCHMARK(find_by_name)->UseRealTime()->Unit(benchmark::kMicrosecond);

void bare_pidof(benchmark::State &state) {
  for (auto _ : state) {
    FILE *output = popen("pidof bench_process", "r");
    int pid = 0;
    if (output == nullptr || std::fscanf(output, "%d", &pid) != 1) std::abort();
    pclose(output);
  }
}
BENCHMARK(bare_pidof)->UseRealTime()->Unit(benchmark::kMicrosecond);

// A queue in its own directory, and a sender's handle to it.
class Queue {
 public:
  Queue() {
    char name[] = "/tmp/talvera-bench-XXXXXX";
    directory_ = mkdtemp(name);
    receiver = ipc_msgq_createByName(path().c_str());
    sender = ipc_msgq_GetByName(path().c_str());
    if (receiver == nullptr || sender == nullptr) std::abort();
  }
  ~Queue() {
    for (ipc_msgq *queue : {receiver, sender}) {
      close(queue->fd);
      std::free(queue);
    }
    unlink(path().c_str());
    rmdir(directory_.c_str());
  }
  Queue(const Queue &) = delete;
  Queue &operator=(const Queue &) = delete;

  ipc_msgq *receiver;
  ipc_msgq *sender;

 private:
  [[nodiscard]] std::string path() const { return directory_ + "/queue"; }
  std::string directory_;
};

void queue_message(benchmark::State &state) {
  const Queue queue;
  char buffer[128] = {};
  for (auto _ : state) {
    if (ipc_msgq_send(queue.sender, buffer, 64) != 0) std::abort();
    if (ipc_msgq_receive(queue.receiver, buffer, sizeof buffer) != 64) std::abort();
  }
}
BENCHMARK(queue_message);

void bare_message(benchmark::State &state) {
  const Queue queue;
  char buffer[128] = {};
  const auto *address = reinterpret_cast<const sockaddr *>(&queue.sender->address);
  for (auto _ : state) {
    if (sendto(queue.sender->fd, buffer, 64, 0, address, sizeof(sockaddr_un)) != 64) std::abort();
    const int fd = queue.receiver->fd;
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    if (select(fd + 1, &readable, nullptr, nullptr, nullptr) != 1) std::abort();
    sockaddr_un from;
    socklen_t length = sizeof from;
    if (recvfrom(fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from), &length) != 64)
      std::abort();
  }
}
BENCHMARK(bare_message);

}  // namespace
