// The handler that collects children.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "talvera/process.h"

namespace talvera::test {
namespace {

// A finished child that nobody has collected.
pid_t finished_child() {
  const pid_t pid = fork();
  if (pid == 0) _exit(0);
  siginfo_t info;
  EXPECT_EQ(waitid(P_PID, pid, &info, WEXITED | WNOWAIT), 0);
  return pid;
}

// Waits, ten seconds at most, until a child has been collected by somebody.
bool gone(pid_t pid) {
  for (int i = 0; i < 1000; ++i) {
    if (kill(pid, 0) != 0) return errno == ESRCH;
    usleep(10000);
  }
  return false;
}

TEST(Reaper, CollectsEveryChildAndDisturbsNothing) {
  char name[] = "true";
  char *const argv[] = {name, nullptr};
  const pid_t earlier = finished_child();
  pid_t pid = 0;
  ASSERT_EQ(process_start(nullptr, "/bin/true", argv, nullptr), 0);
  // The reaper comes back with every start.
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(process_start(&pid, "/bin/true", argv, nullptr), 0);
    EXPECT_TRUE(gone(pid));
    EXPECT_TRUE(gone(earlier));
    if (i == 0) signal(SIGCHLD, SIG_DFL);
  }
  // It restarts what it interrupts and keeps errno.
  struct sigaction reaper = {};
  ASSERT_EQ(sigaction(SIGCHLD, nullptr, &reaper), 0);
  EXPECT_NE(reaper.sa_flags & SA_RESTART, 0);
  signal(SIGCHLD, SIG_DFL);
  const pid_t child = finished_child();
  reaper.sa_handler(SIGUSR1);
  EXPECT_EQ(kill(child, 0), 0);
  errno = E2BIG;
  reaper.sa_handler(SIGCHLD);
  EXPECT_EQ(errno, E2BIG);
  EXPECT_EQ(kill(child, 0), -1);
}

}  // namespace
}  // namespace talvera::test
