// Starting programs, and the reaper of finished children.
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "internal/owners.h"
#include "process/reaped.h"
#include "talvera/process.h"
#include "talvera/sdb.h"

namespace {

// Collects every finished child: left alone, a stopped program would stay a zombie and look alive
// to process_wait().
void reap_children(int signal) {
  if (signal != SIGCHLD) return;
  const talvera::ErrnoKeeper keep;
  int status = 0;
  for (pid_t child; (child = waitpid(-1, &status, WNOHANG)) > 0;)
    talvera::process::note_exit(child, status);
}

// Calls that the handler interrupts go on, and children that merely stop do not matter.
void install_reaper() {
  struct sigaction action = {};
  action.sa_handler = reap_children;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
  sigaction(SIGCHLD, &action, nullptr);
}

// Sets the variable of a "NAME=value" string; a string without '=' is none, and skipped.
bool set_variable(const char *assignment) {
  const char *equals = std::strchr(assignment, '=');
  if (equals == nullptr) return true;
  const talvera::MallocPtr<char> name(
      strndup(assignment, static_cast<std::size_t>(equals - assignment)));
  return name != nullptr && setenv(name.get(), equals + 1, 1) == 0;
}

// The child's way into the program. Every failure deliberately ends it with status 0.
[[noreturn]] void become(const char *path, char *const argv[], char *const env[]) {
  for (; env != nullptr && *env != nullptr; ++env) {
    if (!set_variable(*env)) _exit(0);
  }
  execv(path, argv);
  syslog(LOG_ERR, "failed to start process '%s' - %s", path, sdb_strerror(errno));
  _exit(0);
}

}  // namespace

extern "C" int process_start(pid_t *pid, const char *path, char *const argv[], char *const env[]) {
  install_reaper();
  const pid_t child = fork();
  if (child < 0) {
    const int error = errno;
    syslog(LOG_ERR, "process_start(%s) fork failed - %s", path, std::strerror(error));
    return error;
  }
  if (child == 0) {
    if (setpgid(getpid(), getpid()) != 0) {
      const int error = errno;
      syslog(LOG_ERR, "child setpgid() error %d", error);
      return error;  // deliberately in the child: it runs on in the caller's code
    }
    become(path, argv, env);
  }
  syslog(LOG_DEBUG, "starting process %s (pid %d)", path, child);
  if (pid != nullptr) *pid = child;
  return 0;
}
