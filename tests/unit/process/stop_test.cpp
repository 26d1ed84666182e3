// Signalling, waiting and stopping: every poll, sleep and signal in its order.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <string>

#include "support/system_double.h"
#include "talvera/process.h"

namespace talvera::test {
namespace {

using namespace std::string_literals;

constexpr pid_t kPid = 2000000000;  // no such process
const std::string kPidText = std::to_string(kPid);

// The calls of a wait that asks `polls` times.
Texts polling(int polls) {
  Texts calls;
  for (int i = 0; i < polls; ++i) {
    if (i > 0) calls.emplace_back("usleep 100000");
    calls.push_back("kill " + kPidText + " 0");
  }
  return calls;
}

Texts operator+(Texts first, const Texts &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Texts signalled(int signal) {
  return {"kill " + kPidText + ' ' + std::to_string(signal)};
}

const Texts kCollected = {"waitpid " + kPidText + ' ' + std::to_string(WNOHANG)};

LogLine timeout_note(int seconds) {
  return {"syslog", 7,
          "timeout (" + std::to_string(seconds) + "s) waiting for process " + kPidText};
}

LogLine stop_note(const std::string &name) {
  return {"syslog", 7, "stopping process " + kPidText + " (" + name + ")"};
}

LogLine failure_note(const char *what, int error) {
  return {"syslog", 4, std::string("could not ") + what + kPidText + ": " + strerror(error)};
}

TEST(Signal, RefusesIdentifiersBelowTwo) {
  SystemDouble system;
  for (const pid_t pid : {1, 0, -1, INT_MIN}) {
    EXPECT_EQ(process_signal(pid, SIGTERM), 2002);
    EXPECT_EQ(process_queue_signal(pid, SIGTERM, {}), 2002);
    EXPECT_EQ(process_stop(pid), 2002);
  }
  EXPECT_EQ(system.calls(), Texts());
  EXPECT_TRUE(system.log().empty());
  system.answer("kill", 0);
  EXPECT_EQ(process_signal(2, SIGHUP), 0);
  EXPECT_EQ(system.calls(), Texts({"kill 2 1"}));
}

TEST(Signal, FailuresAreLoggedAndReturned) {
  SystemDouble system;
  EXPECT_EQ(process_signal(kPid, SIGTERM), ESRCH);
  system.fail("sigqueue", EAGAIN);
  union sigval value = {};
  value.sival_ptr = reinterpret_cast<void *>(0x1234);
  EXPECT_EQ(process_queue_signal(kPid, SIGHUP, value), EAGAIN);
  EXPECT_EQ(system.calls().back(), "sigqueue " + kPidText + " 1 0x1234");
  EXPECT_EQ(system.log(),
            std::vector<LogLine>({failure_note("send signal 15 process ", ESRCH),
                                  failure_note("queue signal 1 to process ", EAGAIN)}));
}

TEST(Wait, PollsTenTimesASecond) {
  for (const auto &[seconds, polls] : {std::pair{2, 21}, {0, 1}, {-3, 1}}) {
    SystemDouble system;
    system.answer("kill", 0, 0, kAlways);
    system.answer("usleep", 0, 0, kAlways);
    EXPECT_EQ(process_wait(kPid, seconds), 62);
    EXPECT_EQ(system.calls(), polling(polls)) << seconds;
    EXPECT_EQ(system.log(), std::vector<LogLine>({timeout_note(seconds)}));
  }
}

TEST(Wait, EndsWhenTheProcessIsGone) {
  SystemDouble system;
  system.answer("usleep", 0, 0, kAlways);
  EXPECT_EQ(process_wait(kPid, 0), 0);
  EXPECT_EQ(system.calls(), polling(1));

  // At the last poll, after an error that tells nothing; and long before a time-out whose tenths of
  // a second are beyond an int.
  for (const int seconds : {1, INT_MAX}) {
    system.clear_records();
    system.fail("kill", EPERM, 0, 10);
    EXPECT_EQ(process_wait(kPid, seconds), 0);
    EXPECT_EQ(system.calls(), polling(11));
    EXPECT_TRUE(system.log().empty());
  }
}

TEST(Stop, TermThenKill) {
  const Texts term = signalled(SIGTERM);
  const Texts kill9 = signalled(SIGKILL);
  const LogLine stopping = stop_note("<unknown>");
  const LogLine gone = failure_note("send signal 9 process ", ESRCH);
  using Log = std::vector<LogLine>;
  // How many signals find the process there, the result, the calls before the last, the log.
  for (const auto &[answered, result, calls, log] : {
           std::tuple{1, 0, term + polling(1), Log{stopping}},  // ends at once
           // ends in its last tenth of a second
           {31, 0, term + polling(31), Log{stopping}},
           // ends between time-out and kill
           {32, ESRCH, term + polling(31) + kill9, Log{stopping, timeout_note(3), gone}},
           // ends by the kill
           {33, 0, term + polling(31) + kill9 + polling(1), Log{stopping, timeout_note(3)}},
           // does not end
           {kAlways, 62, term + polling(31) + kill9 + polling(11),
            Log{stopping, timeout_note(3), timeout_note(1)}},
       }) {
    SystemDouble system;
    system.answer("usleep", 0, 0, kAlways);
    system.answer("kill", 0, 0, answered);
    EXPECT_EQ(process_stop(kPid), result) << answered;
    EXPECT_EQ(system.calls(), calls + kCollected) << answered;
    EXPECT_EQ(system.log(), log) << answered;
  }
}

TEST(Stop, ReportsASignalThatCannotBeSent) {
  SystemDouble system;
  system.fail("kill", EPERM);
  EXPECT_EQ(process_stop(kPid), EPERM);
  EXPECT_EQ(system.calls(), signalled(SIGTERM) + kCollected);
}

TEST(Stop, NamesTheProgram) {
  const TempDir dir;
  SystemDouble system;
  system.redirect("/proc/" + kPidText + "/cmdline", dir / "cmdline");
  const std::string longest(1023, 'p');
  for (const auto &[command_line, shown] :
       {std::pair{"/sbin/pfs\0-e\0"s, "/sbin/pfs"s}, {"", "<unknown>"}, {longest + "q", longest}}) {
    dir.write("cmdline", command_line);
    system.clear_records();
    EXPECT_EQ(process_stop(kPid), ESRCH);
    ASSERT_FALSE(system.log().empty());
    EXPECT_EQ(system.log().front(), stop_note(shown));
  }
}

}  // namespace
}  // namespace talvera::test
