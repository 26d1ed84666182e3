// The ARP probe, with a script in arping's place.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "support/errors.h"
#include "support/system_double.h"
#include "talvera/netu.h"
#include "talvera/process.h"

namespace talvera::test {
namespace {

class ArpProbe : public ::testing::Test {
 protected:
  ArpProbe() : path_(std::getenv("PATH")) { setenv("PATH", bin.path().c_str(), 1); }
  ~ArpProbe() override { setenv("PATH", path_.c_str(), 1); }

  void write_arping(const std::string &commands) {
    chmod(bin.write("arping", "#!/bin/sh\n" + commands + "\n").c_str(), 0755);
  }

  static int probe() { return netu_arping_test("wan7", "192.0.2.9"); }

  TempDir bin;

 private:
  std::string path_;
};

TEST_F(ArpProbe, Arguments) {
  const std::string out = bin / "arguments";
  write_arping("printf '%s|' \"$0\" \"$#\" \"$@\" > " + out);
  EXPECT_EQ(netu_arping_test("wan 7", "192.0.2.9; exit 1"), 0);
  EXPECT_EQ(read_file(out), (bin / "arping") + "|6|-Dq|-c|1|-I|wan 7|192.0.2.9; exit 1|");
}

TEST_F(ArpProbe, LeavesOtherChildrenAlone) {
  write_arping("exit 0");
  const pid_t other = fork();
  if (other == 0) _exit(1);
  siginfo_t info;
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(other), &info, WEXITED | WNOWAIT), 0);
  EXPECT_EQ(probe(), 0);
  EXPECT_EQ(waitpid(other, nullptr, 0), other);
}

// A program that starts others has a handler that collects every child it is told of.
TEST_F(ArpProbe, GetsTheStatusBeforeTheReaper) {
  struct sigaction reaper = {};
  reaper.sa_handler = [](int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
  };
  struct sigaction former;
  sigaction(SIGCHLD, &reaper, &former);
  sigset_t mask;
  write_arping("exit 0");
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(probe(), 0);
  sigprocmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGCHLD), 0);
  sigaction(SIGCHLD, &former, nullptr);

  // arping gets the caller's own mask.
  const std::string out = bin / "blocked";
  write_arping(
      "while read -r name value; do case $name in SigBlk:) echo $value; esac; done < "
      "/proc/self/status > " +
      out);
  EXPECT_EQ(probe(), 0);
  EXPECT_EQ(read_file(out).find_first_not_of('0'), read_file(out).size() - 1);  // "0...0\n"
  EXPECT_GT(read_file(out).size(), 16U);  // MIPS has 128 signals
}

// In the second round another thread takes the signal, and the library's reaper there is faster.
TEST_F(ArpProbe, ExitStatusOneMeansInUse) {
  std::atomic<bool> done = false;
  std::thread other;
  for (const int probes : {1, 10}) {
    for (const auto &[commands, result] :
         {std::pair{"exit 0", 0}, {"exit 1", 1}, {"exit 2", 0}, {"kill -9 $$", 1}}) {
      write_arping(commands);
      for (int i = 0; i < probes; ++i)
        EXPECT_EQ(probe(), result) << commands;
    }
    EXPECT_EQ(error_of(waitpid(-1, nullptr, WNOHANG)), ECHILD);  // nothing left to reap
    if (other.joinable()) break;
    char name[] = "true";
    char *const arguments[] = {name, nullptr};
    ASSERT_EQ(process_start(nullptr, "/bin/true", arguments, nullptr), 0);
    other = std::thread([&] {
      while (!done)
        usleep(1000);
    });
  }
  done = true;
  other.join();
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(ArpProbe, Failures) {
  SystemDouble system;
  EXPECT_EQ(probe(), 0);  // there is no arping
  EXPECT_TRUE(system.log().empty());
  write_arping("exit 1");
  system.fail("waitpid", EINTR, 0, 2);
  EXPECT_EQ(probe(), 1);
  system.fail("fork", EAGAIN);
  EXPECT_EQ(probe(), 0);
  const std::string note = "netu_arping_test fork failed (Resource temporarily unavailable)";
  EXPECT_EQ(system.log(), std::vector<LogLine>({{"syslog", 3, note}}));

  write_arping("exit 0");
  system.fail("waitpid", ECHILD);
  EXPECT_EQ(probe(), 1);
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

}  // namespace
}  // namespace talvera::test
