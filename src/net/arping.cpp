// Duplicate address detection with one probe of the arping program.
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "internal/signal_block.h"
#include "talvera/netu.h"

namespace {

constexpr int kAnswered = 1;  // arping's exit status when another host has the address

// Never returns. An arping that cannot be started counts as no answer.
[[noreturn]] void run_arping(const char *ifname, const char *address) {
  const char *const arguments[] = {"arping", "-Dq", "-c", "1", "-I", ifname, address, nullptr};
  execvp(arguments[0], const_cast<char *const *>(arguments));
  _exit(0);
}

// Waits for this child alone; false when its status cannot be had.
bool wait_for(pid_t child, int &status) {
  pid_t ended;
  do {
    ended = waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended == child;
}

}  // namespace

extern "C" int netu_arping_test(const char *ifname, const char *address) {
  // The reaper of process_start() must not collect this child: it would take its status.
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
  int status;
  if (!wait_for(child, status) || !WIFEXITED(status)) return 1;
  return WEXITSTATUS(status) == kAnswered ? 1 : 0;
}
