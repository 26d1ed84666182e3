// Reading and waiting while signals come, their handler installed without SA_RESTART.
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <vector>

#include "support/system_double.h"
#include "talvera/ipc_msgq.h"
#include "talvera/process.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

class Interrupted : public ::testing::Test {
 protected:
  Interrupted() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    set_interval(5000);
  }
  ~Interrupted() override {
    set_interval(0);
    signal(SIGALRM, SIG_DFL);
  }

  SystemDouble system;

 private:
  static void set_interval(suseconds_t microseconds) {
    const itimerval interval = {{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &interval, nullptr);
  }
};

TEST_F(Interrupted, OutputIsReadToItsEnd) {
  system.redirect("pidof prog", "printf 3; sleep 0.05; printf '00 2'; sleep 0.05; printf '0\\n1'");
  std::vector<pid_t> pids(4);
  EXPECT_EQ(process_find_all("prog", pids.data(), 4), 3);
  EXPECT_EQ(pids, std::vector<pid_t>({300, 20, 1, 0}));

  system.redirect("/sbin/pfs -l", "echo /etc/a; printf /et; sleep 0.05; echo c/b; sleep 0.05");
  system.answer("system", 0).always();
  system.clear_records();
  EXPECT_EQ(pfs_forget_files("etc"), 0);
  EXPECT_EQ(system.calls(), Texts({"popen /sbin/pfs -l", "system /sbin/pfs -r /etc/a\n",
                                   "system /sbin/pfs -r /etc/b\n"}));
}

TEST_F(Interrupted, AMessageIsWaitedForNoMore) {
  const TempDir dir;
  ipc_msgq *const queue = ipc_msgq_createByName((dir / "queue").c_str());
  ASSERT_NE(queue, nullptr);
  char buffer[4];
  EXPECT_EQ(ipc_msgq_receive(queue, buffer, sizeof buffer), -1);
  EXPECT_EQ(errno, EINTR);
  close(queue->fd);
  std::free(queue);
}

TEST_F(Interrupted, SleepsAreSleptOut) {
  using Clock = std::chrono::steady_clock;
  system.answer("kill", 0).always();
  const auto start = Clock::now();
  EXPECT_EQ(process_wait(getpid(), 1), PROCESS_TIMEOUT);
  EXPECT_GE(Clock::now() - start, std::chrono::seconds(1));
  EXPECT_EQ(system.count("kill"), 11);
  EXPECT_EQ(system.count("usleep"), 10);
}

}  // namespace
}  // namespace talvera::test
