// Starting programs: what the child becomes, how failures are told, and the reaper of children.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "support/descriptors.h"
#include "talvera/process.h"

namespace talvera::test {
namespace {

char *arg(const char *text) {
  return const_cast<char *>(text);
}

// Waits, ten seconds at most, until a child has been collected by somebody.
bool gone(pid_t pid) {
  for (int i = 0; i < 1000; ++i) {
    if (kill(pid, 0) != 0) return errno == ESRCH;
    usleep(10000);
  }
  return false;
}

class Start : public ::testing::Test {
 protected:
  void TearDown() override { signal(SIGCHLD, SIG_DFL); }
};

TEST_F(Start, RunsTheProgramInAGroupAndEnvironmentOfItsOwn) {
  const TempDir dir;
  const std::string script =
      "echo $$ $(cut -d' ' -f5 /proc/$$/stat) \"$0\" \"$A\" \"$B\" \"$C\" > " + dir / "out";
  char *const argv[] = {arg("sh"), arg("-c"), arg(script.c_str()), arg("zero"), nullptr};
  char *const env[] = {arg("A=1=2"), arg("B"), arg("C="), arg("A=last"), nullptr};
  setenv("A", "parent", 1);
  setenv("B", "kept", 1);
  setenv("C", "parent", 1);
  SystemDouble system;
  const DescriptorCheck descriptors;
  pid_t pid = 0;
  ASSERT_EQ(process_start(&pid, "/bin/sh", argv, env), 0);
  ASSERT_TRUE(gone(pid));  // the handler has collected it
  const std::string id = std::to_string(pid);
  EXPECT_EQ(read_file(dir / "out"), id + ' ' + id + " zero last kept \n");
  EXPECT_EQ(system.log(),
            std::vector<LogLine>({{"syslog", 7, "starting process /bin/sh (pid " + id + ")"}}));
  EXPECT_STREQ(getenv("A"), "parent");
  EXPECT_STREQ(env[0], "A=1=2");
  for (const char *name : {"A", "B", "C"})
    unsetenv(name);
}

TEST_F(Start, ForkFailure) {
  SystemDouble system;
  system.fail("fork", EAGAIN);
  char *const argv[] = {arg("true"), nullptr};
  pid_t pid = 77;
  EXPECT_EQ(process_start(&pid, "/bin/true", argv, nullptr), EAGAIN);
  EXPECT_EQ(pid, 77);
  const std::string note =
      std::string("process_start(/bin/true) fork failed - ") + strerror(EAGAIN);
  EXPECT_EQ(system.log(), std::vector<LogLine>({{"syslog", 3, note}}));
}

// Takes the child's way, in this process: what fails there ends it, and shows its log.
void be_the_child(const char *path, const char *variable, const char *failing) {
  SystemDouble system;
  system.answer("fork", 0);
  if (failing != nullptr) system.fail(failing, EACCES);
  char *const argv[] = {arg("sh"), arg("-c"), arg("exit 9"), nullptr};
  char *const env[] = {arg("A=1"), arg(variable), nullptr};
  const int result = process_start(nullptr, path, argv, env);
  std::fprintf(stderr, "returned\n");
  _exit(result);
}

TEST_F(Start, FailuresInTheChild) {
  const auto exits = [](int status) { return ::testing::ExitedWithCode(status); };
  EXPECT_EXIT(be_the_child("/bin/sh", "B=2", nullptr), exits(9), "^$");
  // Without a group the child returns to the caller.
  EXPECT_EXIT(be_the_child("/bin/sh", "B=2", "setpgid"), exits(EACCES),
              "^returned\nsyslog 3 child setpgid\\(\\) error 13\n$");
  // All else ends it with success.
  EXPECT_EXIT(be_the_child("/bin/sh", "B=2", "setenv"), exits(0), "^$");
  EXPECT_EXIT(be_the_child("/bin/sh", "=2", nullptr), exits(0), "^$");
  EXPECT_EXIT(be_the_child("sh", "B=2", nullptr), exits(0),  // PATH is not searched
              "^syslog 3 failed to start process 'sh' - No such file or directory\n$");
}

// A finished child that nobody has collected.
pid_t finished_child() {
  const pid_t pid = fork();
  if (pid == 0) _exit(0);
  siginfo_t info;
  EXPECT_EQ(waitid(P_PID, pid, &info, WEXITED | WNOWAIT), 0);
  return pid;
}

TEST_F(Start, ReaperCollectsEveryChildAndDisturbsNothing) {
  char *const argv[] = {arg("true"), nullptr};
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
