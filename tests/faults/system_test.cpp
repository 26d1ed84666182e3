// Faults in processes, message queues, the network families and system helpers.
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
#include "talvera/time.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

// Reaps the child here: a SIGCHLD handler would interrupt the double.
long started(Fixture &) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGCHLD);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  char name[] = "true";
  char *const arguments[] = {name, nullptr};
  pid_t pid = 0;
  const int result = process_start(&pid, "/bin/true", arguments, nullptr);
  int status = 0;
  if (result == 0) bypass([&] { return waitpid(pid, &status, 0); });
  std::signal(SIGCHLD, SIG_DFL);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
  return (result == 0) == (pid != 0) && status == 0 ? result : kWrong;
}

long pid_file(Fixture &fixture) {
  return process_get_from_file(bypass([&] { return fixture.folder.write("pid", "1"); }).c_str());
}

long queued_signal(Fixture &) {
  return process_queue_signal(getpid(), 0, {});
}

// Restores the factory state: finds process 77 and stops it with the first signal.
long factory_state(Fixture &fixture) {
  fixture.system.answer("kill", 0);
  fixture.system.fail("kill", ESRCH).always();
  for (const char *call : {"usleep", "waitpid", "system"})
    fixture.system.answer(call, 0).always();
  return pfs_newbox();
}

long helpers(Fixture &fixture) {
  char bytes[4];
  if (urand_read(bytes, sizeof bytes) != 0) return -1;
  const int result = sdb_system("true");
  fixture.system.answer("system", 0).always();
  if (const int forgotten = pfs_forget_files("7"); forgotten != 0) return forgotten;
  return get_sysuptime() > 0 ? result : -1;
}

// Sends one message through a queue.
long message_queue(Fixture &fixture) {
  ipc_msgq *receiver = ipc_msgq_createByName(fixture.fresh.c_str());
  ipc_msgq *sender = ipc_msgq_GetByName(fixture.fresh.c_str());
  int result = -1;
  char text[sizeof Fixture::kText] = "";
  if (receiver != nullptr && sender != nullptr)
    result = ipc_msgq_send(sender, Fixture::kText, sizeof text);
  if (result == 0) result = ipc_msgq_receive(receiver, text, sizeof text);
  for (ipc_msgq *queue : {receiver, sender}) {
    if (queue != nullptr) bypass([=] { return close(queue->fd); });
    std::free(queue);
  }
  return result < 0 || std::strcmp(text, Fixture::kText) == 0 ? result : kWrong;
}

TEST(Faults, Processes) {
  inject({{"start", {0, EINTR, EIO}, started},
          {"pid file", {1, 0}, pid_file},
          {"queued signal", {0, EINTR, EIO}, queued_signal},
          {"factory state", {0, EINTR, EIO}, factory_state},
          {"helpers", {0, -1, EINTR, EIO}, helpers},
          {"message queue", {sizeof Fixture::kText, -1}, message_queue}});
}

long interface_name(Fixture &) {
  char name[16];
  return netu_ifindex2name(1, name);
}

long probe(Fixture &) {
  static const char *const path = std::getenv("PATH");
  bypass([] { return setenv("PATH", "/nonexistent", 1); });
  const int result = netu_arping_test("lo", "127.0.0.1");
  bypass([] { return setenv("PATH", path, 1) + (waitpid(-1, nullptr, 0) > 0); });
  return result;
}

long statistics(Fixture &) {
  netu_linuxif_stats *stats = netu_alloc_linuxif_stats();
  if (stats == nullptr) return -1;
  const int result = netu_update_linuxif_stats("lo", stats);
  netu_free_linuxif_stats(stats);
  return result;
}

long packet_log(Fixture &) {
  nfnetlink_log *log = nfnetlink_log_open();
  if (log == nullptr) return -1;
  int result = nfnetlink_log_bind_pf(log, AF_INET);
  nfnetlink_log_group *group = nfnetlink_log_bind_group(log, 5);
  if (nfnetlink_log_setmode(group, 2, 100) != 0) result = -1;
  if (nfnetlink_log_unbind_group(group) != 0) result = -1;
  nfnetlink_log_close(log);
  return result;
}

// A message of subsystem 1, type 1, whose handler needs an attribute table too large for the stack.
long dispatch(Fixture &) {
  nfnetlink_handle *handle = nfnetlink_open();
  nfnetlink_subsys *subsys = nfnetlink_subsys_open(handle, 1, 2, 4);
  int result = -1;
  if (subsys != nullptr) {
    subsys->callbacks[1] = {[](const nlmsghdr *, const nlattr *const *, void *) { return 1; },
                            nullptr, 100};
    const nlmsghdr message[2] = {{20, 0x0101, 0, 0, 0}, {}};
    result = nfnetlink_msg_unpack(handle, reinterpret_cast<const char *>(message), 20);
  }
  nfnetlink_close(handle);
  return result;
}

TEST(Faults, Network) {
  inject({{"interface name", {0, -1}, interface_name},
          {"ARP probe", {0, 1}, probe},
          {"statistics", {0, -1}, statistics},
          {"packet log", {0, -1}, packet_log},
          {"dispatch", {1, -1}, dispatch}});
}

}  // namespace
}  // namespace talvera::test
