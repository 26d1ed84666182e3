// Finding processes: what pidof is asked, how its output is read, pid files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/descriptors.h"
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
  const DescriptorCheck descriptors;
  EXPECT_EQ(find(system, "300 20 1\n", 2, 2), Pids({300, 20, -1}));
  EXPECT_EQ(find(system, "1\n2\n3\n", 2, 2), Pids({1, 2, -1}));
  EXPECT_EQ(find(system, "300", 3, 1), Pids({300, 0, 0, -1}));
  EXPECT_EQ(find(system, " 1\t2\r\n\n3 \n4", 5, 4), Pids({1, 2, 3, 4, 0, -1}));
  EXPECT_EQ(find(system, "7\n", 0, 0), Pids({-1}));
  EXPECT_EQ(find(system, "x 5z 99999999999\n", 3, 3), Pids({0, 5, 2147483647, -1}));
  // Lines are read by pieces of 1023 characters, and a number may be cut in two there.
  EXPECT_EQ(find(system, std::string(1021, ' ') + "1234 5\n", 4, 3), Pids({12, 34, 5, 0, -1}));
  EXPECT_EQ(process_find_all("prog", nullptr, -1), 0);
  system.fail("popen", EMFILE, 0, 2);
  EXPECT_EQ(find(system, "300 20\n", 2, 0), Pids({0, 0, -1}));
  EXPECT_EQ(process_find("prog"), 0);
}

TEST(Find, AsksForTheBaseName) {
  for (const auto &[name, command] :
       {std::pair{std::string("/usr/sbin/telnetd"), std::string("pidof telnetd")},
        {"telnetd", "pidof telnetd"},
        {std::string(300, 'n'), "pidof " + std::string(249, 'n')}}) {
    SystemDouble system;
    system.redirect(command, "echo 42 43");
    EXPECT_EQ(process_find(name.c_str()), 42);
    EXPECT_EQ(system.calls().front(), "popen " + command);
  }
}

TEST(PidFile, GivesRunningProcessesOnly) {
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
  const std::string own = std::to_string(getpid());
  const TempDir dir;
  const DescriptorCheck descriptors;
  for (const auto &[content, pid] : {std::pair{" \n\t" + own + " rest", getpid()},
                                     {own + "x", getpid()},
                                     {"pid " + own, 0},
                                     {"", 0},
                                     {"-" + own, 0},
                                     {"0", 0},
                                     {std::to_string(ended) + "\n", 0},
                                     {std::to_string((1LL << 32) + getpid()), 0}}) {
    EXPECT_EQ(process_get_from_file(dir.write("pid", content).c_str()), pid) << content;
  }
  EXPECT_EQ(process_get_from_file((dir / "none").c_str()), 0);
}

}  // namespace
}  // namespace talvera::test
