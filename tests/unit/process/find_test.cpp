// Finding processes: what pidof is asked, how its output is read, pid files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/system_double.h"
#include "talvera/process.h"

namespace talvera::test {
namespace {

using Pids = std::vector<pid_t>;

// What is found when pidof prints `output`: the array, one more element of -1 behind it.
Pids find(SystemDouble &system, const std::string &output, int capacity, int expected) {
  const TempDir dir;
  system.redirect("pidof prog", "cat " + dir.write("output", output));
  Pids pids(capacity + 1, -1);
  EXPECT_EQ(process_find_all("prog", pids.data(), capacity), expected) << output;
  return pids;
}

TEST(Find, ReadsTheOutputOfPidof) {
  SystemDouble system;
  const int before = open_descriptors();
  EXPECT_EQ(find(system, "300 20 1\n", 2, 2), Pids({300, 20, -1}));
  EXPECT_EQ(find(system, "300 20 1\n", 3, 3), Pids({300, 20, 1, -1}));
  EXPECT_EQ(find(system, "300", 3, 1), Pids({300, 0, 0, -1}));
  EXPECT_EQ(find(system, " 1\t2\r\n\n3 \n4", 5, 4), Pids({1, 2, 3, 4, 0, -1}));
  EXPECT_EQ(find(system, "", 2, 0), Pids({0, 0, -1}));
  EXPECT_EQ(find(system, "7\n", 0, 0), Pids({-1}));
  EXPECT_EQ(find(system, "x 5z 99999999999\n", 3, 3), Pids({0, 5, 2147483647, -1}));
  // Lines are read by pieces of 1023 characters, and a number may be cut in two there.
  EXPECT_EQ(find(system, std::string(1021, ' ') + "1234 5\n", 4, 3), Pids({12, 34, 5, 0, -1}));
  EXPECT_EQ(process_find_all("prog", nullptr, -1), 0);
  EXPECT_EQ(open_descriptors(), before);
}

TEST(Find, AsksForTheBaseName) {
  struct Case {
    std::string name;
    std::string command;
  };
  const Case cases[] = {
      {"/usr/sbin/telnetd", "pidof telnetd"},
      {"telnetd", "pidof telnetd"},
      {"./a/b", "pidof b"},
      {std::string(300, 'n'), "pidof " + std::string(249, 'n')},
  };
  for (const Case &c : cases) {
    SystemDouble system;
    system.redirect(c.command, "echo 42 43");
    EXPECT_EQ(process_find(c.name.c_str()), 42);
    EXPECT_EQ(system.calls().front(), "popen " + c.command);
  }
}

TEST(Find, NothingWhenPidofCannotBeRun) {
  SystemDouble system;
  system.fail("popen", EMFILE, 0, 2);
  Pids pids = {7, 8, 9};
  EXPECT_EQ(process_find_all("prog", pids.data(), 2), 0);
  EXPECT_EQ(pids, Pids({0, 0, 9}));
  EXPECT_EQ(process_find("prog"), 0);
}

TEST(PidFile, GivesRunningProcessesOnly) {
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
  const std::string own = std::to_string(getpid());
  struct Case {
    std::string content;
    pid_t pid;
  };
  const Case cases[] = {
      {own + "\n", getpid()},
      {" \n\t" + own + " rest", getpid()},
      {own + "x", getpid()},
      {"pid " + own, 0},
      {"", 0},
      {"-" + own, 0},
      {"0", 0},
      {std::to_string(ended) + "\n", 0},
      {std::to_string((1LL << 32) + getpid()), 0},
  };
  const TempDir dir;
  const int before = open_descriptors();
  for (const Case &c : cases) {
    EXPECT_EQ(process_get_from_file(dir.write("pid", c.content).c_str()), c.pid) << c.content;
  }
  EXPECT_EQ(process_get_from_file((dir / "none").c_str()), 0);
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace talvera::test
