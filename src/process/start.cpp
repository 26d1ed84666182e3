// Starting programs and reaping finished children.
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "internal/owners.h"
#include "process/reaped.h"
#include "talvera/process.h"
#include "talvera/sdb.h"

namespace talvera::process {
namespace {

// SIGCHLD handler that reaps every finished child: otherwise a program that has ended would remain
// a zombie and appear alive to process_wait().
void reap_children(int signal) {
  if (signal != SIGCHLD) return;
  const ErrnoSaver saver;
  int status = 0;
  for (pid_t child; (child = waitpid(-1, &status, WNOHANG)) > 0;)
    record_exit(child, status);
}

// Interrupted system calls restart; children that are merely stopped raise no signal.
void install_reaper() {
  struct sigaction action = {};
  action.sa_handler = reap_children;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
  sigaction(SIGCHLD, &action, nullptr);
}

// Runs in the child: sets environment variables from "NAME=value" strings, skipping strings without
// '=', then executes the program. Every failure intentionally exits with status 0.
[[noreturn]] void exec_child(const char *path, char *const argv[], char *const env[]) {
  for (; env != nullptr && *env != nullptr; ++env) {
    const char *equals = std::strchr(*env, '=');
    if (equals == nullptr) continue;
    char *name = strndup(*env, static_cast<std::size_t>(equals - *env));
    if (name == nullptr || setenv(name, equals + 1, 1) != 0) _exit(0);
    std::free(name);
  }
  execv(path, argv);
  syslog(LOG_ERR, "failed to start process '%s' - %s", path, sdb_strerror(errno));
  _exit(0);
}

}  // namespace
}  // namespace talvera::process

using namespace talvera::process;

extern "C" int process_start(pid_t *pid, const char *path, char *const argv[], char *const env[]) {
  install_reaper();
  const pid_t child = fork();
  if (child < 0) {
    const int error = errno;
    syslog(LOG_ERR, "process_start(%s) fork failed - %s", path, std::strerror(error));
    return error;
  }
  if (child == 0) {
    const pid_t self = getpid();
    if (setpgid(self, self) != 0) {
      const int error = errno;
      syslog(LOG_ERR, "child setpgid() error %d", error);
      return error;  // intentionally returns in the child, which continues in the caller's code
    }
    exec_child(path, argv, env);
  }
  syslog(LOG_DEBUG, "starting process %s (pid %d)", path, child);
  if (pid != nullptr) *pid = child;
  return 0;
}
