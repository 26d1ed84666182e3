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

// The calls of a wait that asks `polls` times.
Texts polling(int polls) {
  Texts calls;
  for (int i = 0; i < polls; ++i) {
    if (i > 0) calls.emplace_back("usleep 100000");
    calls.push_back("kill " + std::to_string(kPid) + " 0");
  }
  return calls;
}

Texts operator+(Texts first, const Texts &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Texts signalled(int signal) {
  return {"kill " + std::to_string(kPid) + ' ' + std::to_string(signal)};
}

const Texts kCollected = {"waitpid " + std::to_string(kPid) + ' ' + std::to_string(WNOHANG)};

LogLine timeout_note(int seconds) {
  return {"syslog", 7,
          "timeout (" + std::to_string(seconds) + "s) waiting for process " + std::to_string(kPid)};
}

LogLine stop_note(const std::string &name) {
  return {"syslog", 7, "stopping process " + std::to_string(kPid) + " (" + name + ")"};
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
  value.sival_ptr = &system;
  EXPECT_EQ(process_queue_signal(kPid, SIGHUP, value), EAGAIN);
  const std::string pid = std::to_string(kPid);
  EXPECT_EQ(
      system.log(),
      std::vector<LogLine>(
          {{"syslog", 4, "could not send signal 15 process " + pid + ": " + strerror(ESRCH)},
           {"syslog", 4, "could not queue signal 1 to process " + pid + ": " + strerror(EAGAIN)}}));
}

volatile sig_atomic_t queued_value = 0;

TEST(Signal, CarriesItsValue) {
  struct sigaction action = {};
  struct sigaction old = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = [](int, siginfo_t *info, void *) {
    queued_value = info->si_value.sival_int;
  };
  sigaction(SIGUSR2, &action, &old);
  union sigval value = {};
  value.sival_int = 4711;
  EXPECT_EQ(process_queue_signal(getpid(), SIGUSR2, value), 0);
  EXPECT_EQ(queued_value, 4711);
  sigaction(SIGUSR2, &old, nullptr);
}

TEST(Wait, PollsTenTimesASecond) {
  struct Case {
    int seconds;
    int polls;
  };
  for (const Case &c : {Case{2, 21}, Case{1, 11}, Case{0, 1}, Case{-3, 1}}) {
    SystemDouble system;
    system.answer("kill", 0, 0, kAlways);
    system.answer("usleep", 0, 0, kAlways);
    EXPECT_EQ(process_wait(kPid, c.seconds), 62);
    EXPECT_EQ(system.calls(), polling(c.polls)) << c.seconds;
    EXPECT_EQ(system.log(), std::vector<LogLine>({timeout_note(c.seconds)}));
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
  struct Case {
    const char *what;
    int answered;  // signals that find the process there
    int result;
    Texts calls;
    std::vector<LogLine> notes;
  };
  const Texts term = signalled(SIGTERM);
  const Texts kill9 = signalled(SIGKILL);
  const LogLine gone = {
      "syslog", 4,
      "could not send signal 9 process " + std::to_string(kPid) + ": " + strerror(ESRCH)};
  const Case cases[] = {
      {"ends at once", 1, 0, term + polling(1) + kCollected, {}},
      {"ends in its last tenth of a second", 31, 0, term + polling(31) + kCollected, {}},
      {"ends between time-out and kill",
       32,
       ESRCH,
       term + polling(31) + kill9 + kCollected,
       {timeout_note(3), gone}},
      {"ends by the kill",
       33,
       0,
       term + polling(31) + kill9 + polling(1) + kCollected,
       {timeout_note(3)}},
      {"does not end",
       kAlways,
       62,
       term + polling(31) + kill9 + polling(11) + kCollected,
       {timeout_note(3), timeout_note(1)}},
  };
  for (const Case &c : cases) {
    SystemDouble system;
    system.answer("usleep", 0, 0, kAlways);
    system.answer("kill", 0, 0, c.answered);
    EXPECT_EQ(process_stop(kPid), c.result) << c.what;
    EXPECT_EQ(system.calls(), c.calls) << c.what;
    std::vector<LogLine> log = {stop_note("<unknown>")};
    log.insert(log.end(), c.notes.begin(), c.notes.end());
    EXPECT_EQ(system.log(), log) << c.what;
  }
}

TEST(Stop, ReportsASignalThatCannotBeSent) {
  SystemDouble system;
  system.fail("kill", EPERM);
  EXPECT_EQ(process_stop(kPid), EPERM);
  EXPECT_EQ(system.calls(), signalled(SIGTERM) + kCollected);
}

TEST(Stop, NamesTheProgram) {
  struct Case {
    std::string command_line;
    std::string shown;
  };
  const Case cases[] = {
      {"/sbin/pfs\0-e\0"s, "/sbin/pfs"},
      {"", "<unknown>"},
      {std::string(1023, 'p') + "q", std::string(1023, 'p')},
  };
  const TempDir dir;
  SystemDouble system;
  system.redirect("/proc/" + std::to_string(kPid) + "/cmdline", dir / "cmdline");
  for (const Case &c : cases) {
    dir.write("cmdline", c.command_line);
    system.clear_records();
    EXPECT_EQ(process_stop(kPid), ESRCH);
    ASSERT_FALSE(system.log().empty());
    EXPECT_EQ(system.log().front(), stop_note(c.shown));
  }
}

}  // namespace
}  // namespace talvera::test
