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

constexpr int kReplied = 1;  // arping's exit status when another host has the address

// Runs in the child. Exits with 0, which means "no reply", if arping cannot be started.
[[noreturn]] void run_arping(const char *ifname, const char *address) {
  const char *const arguments[] = {"arping", "-Dq", "-c", "1", "-I", ifname, address, nullptr};
  execvp(arguments[0], const_cast<char *const *>(arguments));
  _exit(0);
}

// Returns the exit status of a child that the reaper has collected in another thread, waiting
// briefly for it to be recorded.
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
  // Prevents a SIGCHLD handler in this thread from reaping this child.
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
  return code == kReplied || code == talvera::process::kKilled ||
                 code == talvera::process::kUnknownExit
             ? 1
             : 0;
}
