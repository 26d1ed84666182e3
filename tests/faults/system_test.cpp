// Faults in processes, message queues and the network families.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "faults/inject.h"
#include "talvera/ipc_msgq.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"
#include "talvera/process.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

// The child is collected here: a handler would run in the middle of the double.
long started(World &) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGCHLD);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  char name[] = "true";
  char *const arguments[] = {name, nullptr};
  pid_t pid = 0;
  const int result = process_start(&pid, "/bin/true", arguments, nullptr);
  int status = 0;
  if (result == 0) World::quietly([&] { return waitpid(pid, &status, 0); });
  std::signal(SIGCHLD, SIG_DFL);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
  return (result == 0) == (pid != 0) && status == 0 ? result : kWrong;
}

// Restores the factory state: finds process 77, and stops it, which ends on its first signal.
long factory_state(World &world) {
  world.system.answer("kill", 0);
  world.system.fail("kill", ESRCH, 0, kAlways);
  for (const char *call : {"usleep", "waitpid", "system"})
    world.system.answer(call, 0, 0, kAlways);
  return pfs_newbox();
}

TEST(Faults, Processes) {
  inject({
      {"start", {0, EINTR, EIO}, started},
      {"pid file",
       {1, 0},
       [](World &world) -> long {
         World::quietly([&] { return world.folder.write("fresh", "1\n"); });
         return process_get_from_file(world.fresh.c_str());
       }},
      {"queued signal",
       {0, EINTR, EIO},
       [](World &) -> long { return process_queue_signal(getpid(), 0, {}); }},
      {"factory state", {0, EINTR, EIO}, factory_state},
  });
}

// One message through a queue.
long message_queue(World &world) {
  ipc_msgq *receiver = ipc_msgq_createByName(world.fresh.c_str());
  ipc_msgq *sender = ipc_msgq_GetByName(world.fresh.c_str());
  int result = -1;
  char text[sizeof kText] = "";
  if (receiver != nullptr && sender != nullptr) result = ipc_msgq_send(sender, kText, sizeof kText);
  if (result == 0) result = ipc_msgq_receive(receiver, text, sizeof text);
  for (ipc_msgq *queue : {receiver, sender}) {
    if (queue != nullptr) World::quietly([=] { return close(queue->fd); });
    std::free(queue);
  }
  return result < 0 || std::strcmp(text, kText) == 0 ? result : kWrong;
}

long probe(World &) {
  static const char *const path = std::getenv("PATH");
  World::quietly([] { return setenv("PATH", "/nonexistent", 1); });
  const int result = netu_arping_test("lo", "127.0.0.1");
  World::quietly([] { return setenv("PATH", path, 1) + (waitpid(-1, nullptr, 0) > 0); });
  return result;
}

long statistics(World &) {
  netu_linuxif_stats *stats = netu_alloc_linuxif_stats();
  if (stats == nullptr) return -1;
  const int result = netu_update_linuxif_stats("lo", stats);
  netu_free_linuxif_stats(stats);
  return result;
}

long packet_log(World &) {
  nfnetlink_log *log = nfnetlink_log_open();
  if (log == nullptr) return -1;
  int result = nfnetlink_log_bind_pf(log, AF_INET);
  nfnetlink_log_group *group = nfnetlink_log_bind_group(log, 5);
  if (group == nullptr) result = -1;
  if (nfnetlink_log_setmode(group, 2, 100) != 0) result = -1;
  if (nfnetlink_log_unbind_group(group) != 0) result = -1;
  nfnetlink_log_close(log);
  return result;
}

int go_on(const nlmsghdr *, const nlattr *const *, void *) {
  return 1;
}

// A handler with a table too large for the stack.
long dispatch(World &world) {
  nfnetlink_handle *handle = nfnetlink_open();
  nfnetlink_subsys *subsys = nfnetlink_subsys_open(handle, 1, 2, 4);
  int result = -1;
  if (subsys != nullptr) {
    subsys->callbacks[1] = {go_on, nullptr, 100};
    const std::string &message = world.log_message;
    result = nfnetlink_msg_unpack(handle, message.data(), static_cast<int>(message.size()));
  }
  nfnetlink_close(handle);
  return result;
}

TEST(Faults, Network) {
  inject({
      {"message queue", {sizeof kText, -1}, message_queue},
      {"interface name",
       {0, -1},
       [](World &) -> long {
         char name[16];
         return netu_ifindex2name(1, name);
       }},
      {"ARP probe", {0, 1}, probe},
      {"statistics", {0, -1}, statistics},
      {"packet log", {0, -1}, packet_log},
      {"dispatch", {1, -1}, dispatch},
  });
}

}  // namespace
}  // namespace talvera::test
