// Processes as they are: real programs, the real pidof, the real tool of persistent files (a script
// in its place), a real second process at the other end of a queue.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "talvera/ipc_msgq.h"
#include "talvera/process.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

char *arg(const std::string &text) {
  return const_cast<char *>(text.c_str());
}

// Starts a shell script that says so by making a file, and waits for that.
pid_t start_script(const TempDir &dir, const std::string &script) {
  const std::string command = script + "; : > " + dir / "ready" + "; while :; do sleep 0.1; done";
  unlink((dir / "ready").c_str());
  char *const argv[] = {arg("sh"), arg("-c"), arg(command), nullptr};
  pid_t pid = 0;
  EXPECT_EQ(process_start(&pid, "/bin/sh", argv, nullptr), 0);
  while (access((dir / "ready").c_str(), F_OK) != 0)
    usleep(10000);
  return pid;
}

double seconds_for(pid_t pid, int expected) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(process_stop(pid), expected);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class Process : public ::testing::Test {
 protected:
  void TearDown() override { signal(SIGCHLD, SIG_DFL); }
  TempDir dir;
};

TEST_F(Process, StopsPrograms) {
  const pid_t obedient = start_script(dir, ":");
  EXPECT_LT(seconds_for(obedient, 0), 2.0);
  EXPECT_EQ(process_stop(obedient), ESRCH);  // already gone

  const pid_t stubborn = start_script(dir, "trap '' TERM");
  const double seconds = seconds_for(stubborn, 0);
  EXPECT_GE(seconds, 3.0);
  EXPECT_LT(seconds, 4.5);
  EXPECT_EQ(kill(stubborn, 0), -1);
}

// Nobody collects this child but process_stop(), at the very end: until then it looks alive.
TEST_F(Process, CollectsAZombie) {
  const pid_t zombie = fork();
  if (zombie == 0) _exit(0);
  siginfo_t info;
  ASSERT_EQ(waitid(P_PID, zombie, &info, WEXITED | WNOWAIT), 0);
  EXPECT_GE(seconds_for(zombie, 62), 4.0);
  EXPECT_EQ(kill(zombie, 0), -1);
}

TEST_F(Process, SignalsNobodyElsesProgram) {
  const pid_t nobody = fork();
  if (nobody == 0) {
    // Where an ordinary user is root of the sandbox, nobody else can be had: EINVAL.
    if (setuid(65534) != 0) _exit(errno == EINVAL ? 77 : 1);
    const bool refused =
        process_signal(getppid(), SIGTERM) == EPERM && process_stop(getppid()) == EPERM;
    _exit(refused ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(waitpid(nobody, &status, 0), nobody);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "needs to be real root";
  EXPECT_EQ(status, 0);
}

// The terminal puts a carriage return before the line feed, and the library one behind it.
TEST_F(Process, WritesToATerminalAsConsole) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_EQ(grantpt(master) | unlockpt(master), 0);
  const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
  ASSERT_EQ(sdb_system("mount -t tmpfs none /dev && touch /dev/console"), 0);
  EXPECT_EQ(sdb_system("mount --bind /proc/%d/fd/%d /dev/console", getpid(), slave), 0);
  EXPECT_EQ(cons_printk("up %d\n", 7), 1);
  EXPECT_EQ(sdb_system("umount -l /dev"), 0);
  char shown[16] = "";
  EXPECT_EQ(read(master, shown, sizeof shown - 1), 7);
  EXPECT_STREQ(shown, "up 7\r\n\r");
  close(slave);
  close(master);
}

TEST_F(Process, FindsProgramsByName) {
  const std::string program = dir / "tlv-helper";
  ASSERT_EQ(sdb_system("cp /bin/sleep %s", program.c_str()), 0);
  std::vector<pid_t> started(3);
  char *const argv[] = {arg(program), arg("60"), nullptr};
  for (pid_t &pid : started)
    ASSERT_EQ(process_start(&pid, program.c_str(), argv, nullptr), 0);
  std::vector<pid_t> found(5, -1);
  for (int i = 0; i < 100 && process_find_all(program.c_str(), found.data(), 4) < 3; ++i)
    usleep(50000);
  EXPECT_THAT(std::vector<pid_t>(found.begin(), found.begin() + 3),
              ::testing::UnorderedElementsAreArray(started));
  EXPECT_EQ(found[3], 0);
  EXPECT_EQ(found[4], -1);
  std::vector<pid_t> two(2);
  EXPECT_EQ(process_find_all("/elsewhere/tlv-helper", two.data(), 2), 2);
  EXPECT_EQ(two, std::vector<pid_t>(found.begin(), found.begin() + 2));
  EXPECT_EQ(process_find("tlv-helper"), found[0]);
  for (const pid_t pid : started)
    EXPECT_EQ(process_stop(pid), 0);
  EXPECT_EQ(process_find("tlv-helper"), 0);
}

TEST_F(Process, DrivesThePersistentFileTool) {
  const std::string journal = dir / "journal";
  std::ofstream("/sbin/pfs") << "#!/bin/sh\necho \"pfs $*\" >> " << journal
                             << "\n[ \"$1\" != -l ] || printf '/etc/A.pem\\n/var/b\\n'\n";
  ASSERT_EQ(chmod("/sbin/pfs", 0755), 0);
  setenv("PATH", (std::string("/sbin:") + getenv("PATH")).c_str(), 1);
  EXPECT_EQ(pfs_remember_file("/etc/new"), 0);
  EXPECT_EQ(pfs_forget_file("/etc/old"), 0);
  EXPECT_EQ(pfs_forget_files(".PEM"), 0);
  EXPECT_EQ(pfs_commit(), 0);
  EXPECT_EQ(pfs_newbox(), 0);
  EXPECT_EQ(read_file(journal),
            "pfs -a /etc/new\npfs -r /etc/old\npfs -l\npfs -r /etc/A.pem\npfs -s\npfs -e\n");
}

TEST_F(Process, ExchangesMessagesThroughAQueue) {
  const std::string name = dir / "queue";
  ipc_msgq *queue = ipc_msgq_createByName(name.c_str());
  ASSERT_NE(queue, nullptr);
  const pid_t child = fork();
  if (child == 0) {
    ipc_msgq *sender = ipc_msgq_GetByName(name.c_str());
    usleep(100000);  // the receiver is waiting by now
    const bool sent = sender != nullptr && ipc_msgq_send(sender, "hello", 5) == 0;
    _exit(sent ? 0 : 1);
  }
  char buffer[16] = {};
  EXPECT_EQ(ipc_msgq_receive(queue, buffer, sizeof buffer), 5);
  EXPECT_STREQ(buffer, "hello");
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  close(queue->fd);
  std::free(queue);
}

}  // namespace
}  // namespace talvera::test
