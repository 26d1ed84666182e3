// Bindings of processes and message queues.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

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
// The reaper goes again, as it would disturb what waits for its own children.
int start(pid_t *pid, const char *path, char *const *argv, char *const *env) {
  const int result = process_start(pid, path, argv, env);
  std::signal(SIGCHLD, SIG_DFL);
  return result;
}
BIND_AS(process_start, start);
// Takes the child's way, in a child: shows its exit status, and by way of the double its log.
BIND_AS(child_ends, [](Call &call, const char *path, char *const *argv, char *const *env) {
  const pid_t child = [] {
    const Quiet quiet;
    return fork();
  }();
  if (child == 0) {
    call.session().system.answer("fork", 0);
    const int result = start(nullptr, path, argv, env);
    dprintf(STDERR_FILENO, "returned\n");
    _exit(result);
  }
  int status = 0;
  const Quiet quiet;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
});

BIND(ipc_msgq_create, ipc_msgq_createByName, ipc_msgq_GetByName, ipc_msgq_send, ipc_msgq_receive,
     ipc_msgq_msg_count, ipc_msgq_delete, ipc_msgq_close);
// The library ends no queue.
BIND_AS(end_queue, [](ipc_msgq *queue) {
  const Quiet quiet;
  close(queue->fd);
  std::free(queue);
});
// The record has a socket that does not wait, and the whole address: zeros after the name.
BIND_AS(is_queue_of, [](ipc_msgq *queue, const char *name) {
  char path[sizeof queue->address.sun_path] = {};
  std::strcpy(path, name);
  return queue->address.sun_family == AF_UNIX && (fcntl(queue->fd, F_GETFL) & O_NONBLOCK) != 0 &&
         std::memcmp(queue->address.sun_path, path, sizeof path) == 0;
});

}  // namespace
}  // namespace talvera::test
