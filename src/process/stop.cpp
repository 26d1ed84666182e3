// Signalling, waiting for and stopping processes.
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "talvera/process.h"
#include "talvera/sdb.h"
#include "talvera/utils.h"

namespace talvera::process {
namespace {

constexpr pid_t kLowestPid = 2;
constexpr useconds_t kPollInterval = 100'000;  // microseconds
constexpr int kPollsPerSecond = 10;
constexpr int kTermSeconds = 3;
constexpr int kKillSeconds = 1;
constexpr std::size_t kCommandLineSize = 1024;

// Microseconds of the monotonic clock, modulo 2^32.
std::uint32_t monotonic_time() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint32_t>(now.tv_sec) * 1'000'000 +
         static_cast<std::uint32_t>(now.tv_nsec) / 1000;
}

// Sleeps for a full poll interval, resuming after signals.
void sleep_poll_interval() {
  const std::uint32_t end = monotonic_time() + kPollInterval;
  if (usleep(kPollInterval) == 0) return;
  for (std::int32_t left; (left = static_cast<std::int32_t>(end - monotonic_time())) > 0;) {
    const timespec rest = {0, left * 1000L};
    nanosleep(&rest, nullptr);
  }
}

bool is_running(pid_t pid) {
  return kill(pid, 0) == 0 || errno != ESRCH;
}

// Sends a signal or, if `queued`, queues it with `value`.
[[gnu::noinline]] int send_signal(pid_t pid, int signal, sigval value, bool queued) {
  if (pid < kLowestPid) return PROCESS_INVALID;
  int result;
  const char *message;
  if (queued) {
    result = sigqueue(pid, signal, value);
    message = "could not queue signal %d to process %d: %s";
  } else {
    result = kill(pid, signal);
    message = "could not send signal %d process %d: %s";
  }
  if (result == 0) return 0;
  const int error = errno;
  syslog(LOG_WARNING, message, signal, pid, sdb_strerror(error));
  return error;
}

}  // namespace
}  // namespace talvera::process

using namespace talvera::process;

extern "C" int process_signal(pid_t pid, int signal) {
  return send_signal(pid, signal, {}, false);
}

extern "C" int process_queue_signal(pid_t pid, int signal, union sigval value) {
  return send_signal(pid, signal, value, true);
}

// Counts seconds and the polls within a second separately: the total number of polls may not fit in
// an int.
extern "C" int process_wait(pid_t pid, int seconds) {
  int left = seconds;
  int polls = 0;
  while (is_running(pid)) {
    if (left <= 0) {
      syslog(LOG_DEBUG, "timeout (%ds) waiting for process %d", seconds, pid);
      return PROCESS_TIMEOUT;
    }
    sleep_poll_interval();
    if (++polls < kPollsPerSecond) continue;
    polls = 0;
    --left;
  }
  return 0;
}

extern "C" int process_stop(pid_t pid) {
  if (pid < kLowestPid) return PROCESS_INVALID;
  char command_line[kCommandLineSize];
  const char *shown = "<unknown>";
  const int length = sysfs_get_attr("/proc/%d/cmdline", command_line, sizeof command_line - 1, pid);
  if (length > 0) {
    command_line[length] = '\0';
    shown = command_line;
  }
  syslog(LOG_DEBUG, "stopping process %d (%s)", pid, shown);

  int result = process_signal(pid, SIGTERM);
  if (result == 0) result = process_wait(pid, kTermSeconds);
  if (result == PROCESS_TIMEOUT) {
    result = process_signal(pid, SIGKILL);
    if (result == 0) result = process_wait(pid, kKillSeconds);
  }
  waitpid(pid, nullptr, WNOHANG);
  return result;
}
