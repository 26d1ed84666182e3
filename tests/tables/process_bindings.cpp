// Bindings of processes and message queues.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "runner/bind.h"
#include "talvera/ipc_msgq.h"
#include "talvera/process.h"
#include "talvera/utils.h"

FIELDS(ipc_msgq, &R::fd);

namespace talvera::test {
namespace {

CONSTANTS(SIGHUP, SIGTERM, FD_SETSIZE);

BIND(process_find, process_find_all, process_get_from_file, process_signal, process_wait,
     process_stop, pfs_clearing_set, pfs_newbox, pfs_forget_files, pfs_forget_file,
     pfs_remember_file, pfs_commit);
BIND_AS(process_queue_signal, [](pid_t pid, int signal, std::uintptr_t word) {
  union sigval value = {};
  value.sival_ptr = reinterpret_cast<void *>(word);
  return process_queue_signal(pid, signal, value);
});
// Uninstalls the reaper, which would reap other children.
int start(pid_t *pid, const char *path, char *const *argv, char *const *env) {
  const int result = process_start(pid, path, argv, env);
  std::signal(SIGCHLD, SIG_DFL);
  return result;
}
BIND_AS(process_start, start);

// An ended child that has not been reaped.
pid_t ended_child() {
  const pid_t pid = fork();
  if (pid == 0) std::_Exit(0);
  siginfo_t info;
  waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
  return pid;
}
bool is_collected(pid_t pid) {
  return kill(pid, 0) != 0 && errno == ESRCH;
}
// Whether the reaper collects an ended child and its own within ten seconds, ignores other signals,
// restarts calls and preserves errno.
BIND_AS(reaper_collects, [](char *const *argv) {
  const pid_t earlier = ended_child();
  pid_t started = 0;
  process_start(&started, argv[0], argv, nullptr);
  for (int i = 0; i < 1000 && !(is_collected(earlier) && is_collected(started)); ++i)
    usleep(10000);
  struct sigaction reaper = {};
  sigaction(SIGCHLD, nullptr, &reaper);
  std::signal(SIGCHLD, SIG_DFL);
  const pid_t later = ended_child();
  reaper.sa_handler(SIGUSR1);
  const bool left = !is_collected(later);
  errno = E2BIG;
  reaper.sa_handler(SIGCHLD);
  return errno == E2BIG && left && is_collected(later) && is_collected(earlier) &&
         is_collected(started) && (reaper.sa_flags & SA_RESTART) != 0;
});
// Runs the child's branch in a child: shows its exit status and, through the double, its log.
BIND_AS(child_ends, [](Call &call, const char *path, char *const *argv, char *const *env) {
  const pid_t child = bypass(fork);
  if (child == 0) {
    call.session().system.answer("fork", 0);
    const int result = start(nullptr, path, argv, env);
    dprintf(STDERR_FILENO, "returned\n");
    _exit(result);
  }
  int status = 0;
  const Bypass guard;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
});

// Whether a wait of one second took that long.
BIND_AS(waits_a_second, [](pid_t pid) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  return process_wait(pid, 1) == PROCESS_TIMEOUT && Clock::now() - start >= std::chrono::seconds(1);
});

BIND(ipc_msgq_create, ipc_msgq_createByName, ipc_msgq_GetByName, ipc_msgq_send, ipc_msgq_receive,
     ipc_msgq_msg_count, ipc_msgq_delete, ipc_msgq_close);
// Closes and frees a queue, which no library function does.
BIND_AS(end_queue, [](ipc_msgq *queue) {
  const Bypass guard;
  close(queue->fd);
  std::free(queue);
});
// Whether the record has a non-blocking socket and the address, padded with zeros.
BIND_AS(is_queue_of, [](ipc_msgq *queue, const char *name) {
  char path[sizeof queue->address.sun_path] = {};
  std::strcpy(path, name);
  return queue->address.sun_family == AF_UNIX && (fcntl(queue->fd, F_GETFL) & O_NONBLOCK) != 0 &&
         std::memcmp(queue->address.sun_path, path, sizeof path) == 0;
});

}  // namespace
}  // namespace talvera::test
