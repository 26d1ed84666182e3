// Duplicate address detection with one probe of the arping program.
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "internal/signal_block.h"
#include "process/reaped.h"
#include "talvera/netu.h"

namespace talvera::net {
namespace {

constexpr int kAnswered = 1;  // arping's exit status when another host has the address

// Runs in the child. If arping cannot be started, the status means no answer.
[[noreturn]] void run_arping(const char *ifname, const char *address) {
  const char *const arguments[] = {"arping", "-Dq", "-c", "1", "-I", ifname, address, nullptr};
  execvp(arguments[0], const_cast<char *const *>(arguments));
  _exit(0);
}

// The exit status of a child that the reaper, in another thread, has collected or is about to
// record.
int reaped_exit(pid_t child) {
  for (int tries = 100;; --tries) {
    const int code = process::recorded_exit(child);
    if (code != process::kUnknownExit || tries == 0) return code;
    usleep(1000);
  }
}

// Waits for this child only. Returns its exit status, kKilled, or kUnknownExit.
int wait_for(pid_t child) {
  int status = 0;
  pid_t ended;
  do {
    ended = waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  if (ended != child) return reaped_exit(child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : process::kKilled;
}

}  // namespace
}  // namespace talvera::net

using namespace talvera::net;

extern "C" int netu_arping_test(const char *ifname, const char *address) {
  // Keeps a handler that reaps every child from taking this one's status, at least in this thread.
  const talvera::SignalBlock no_reaper(SIGCHLD);
  const pid_t child = fork();
  if (child < 0) {
    syslog(LOG_ERR, "netu_arping_test fork failed (%s)", std::strerror(errno));
    return 0;
  }
  if (child == 0) {
    no_reaper.restore();
    run_arping(ifname, address);
  }
  const int code = wait_for(child);
  return code == kAnswered || code == talvera::process::kKilled ||
                 code == talvera::process::kUnknownExit
             ? 1
             : 0;
}
