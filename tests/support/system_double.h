// A double of the operating system. The test program defines the system calls that the library
// makes; its definitions take precedence over libc's. While a SystemDouble exists, it records calls
// and can make them fail; all other calls pass through.
//
//   SystemDouble system;
//   system.fail("read", EINTR);            // the next read fails
//   system.fail("malloc", ENOMEM).after(2).times(3);
//   system.answer("kill", 0).always();     // every kill returns 0 and sends no signal
//   system.shorten("write", 100);          // the next write transfers at most 100 bytes
//   system.calls                           // {"umount2 /mfg 2"}
//
// Each call is defined in system_calls.cpp, system_sockets.cpp or system_tls.cpp.
#pragma once

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/platform.h"
#include "support/temp_dir.h"

namespace talvera::test {

struct LogLine {
  std::string channel;  // "syslog" or "sdb"
  int level;
  std::string text;
};

// What happens to a call.
struct Outcome {
  enum { kGoThrough, kFailure, kResult, kShort } kind = kGoThrough;
  long value = 0;  // errno, result or maximum size
};

// An arrangement applies to the next call only, unless modified.
struct Arrangement {
  const char *call;
  Outcome outcome;
  void (*event)() = nullptr;
  int skipped = 0, left = 1;

  Arrangement &after(int calls) {
    skipped = calls;
    return *this;
  }
  Arrangement &times(int calls) {
    left = calls;
    return *this;
  }
  Arrangement &always() { return times(-1); }
};

struct Count {
  const char *call;
  int calls;
};

class SystemDouble : NonCopyable {
 public:
  SystemDouble();
  ~SystemDouble();

  // Replaces a call: it fails with an error or returns a result.
  Arrangement &fail(const char *call, int error) {
    return arrange({call, {Outcome::kFailure, error}});
  }
  Arrangement &answer(const char *call, long result) {
    return arrange({call, {Outcome::kResult, result}});
  }
  // The call transfers at most `bytes` bytes.
  Arrangement &shorten(const char *call, long bytes) {
    return arrange({call, {Outcome::kShort, bytes}});
  }
  // Runs `event` just before the call, whose outcome other arrangements decide.
  Arrangement &before(const char *call, void (*event)()) { return arrange({call, {}, event}); }
  Arrangement &arrange(const Arrangement &arrangement) {
    return arrangements_.at(arranged_++) = arrangement;
  }
  // Cancels all arrangements.
  void forget() { arranged_ = 0; }

  std::time_t time = 0;  // returned by time(), unless 0
  // The values that sdb_get() returns by key; other keys are unknown (ENOENT).
  std::map<std::string, std::string> values;
  // Opens of exactly the first path open the second instead, and likewise for commands of pipes.
  std::map<std::string, std::string> redirections;

  // The recorded calls, each as its name and arguments. Only calls whose arguments matter are
  // recorded.
  std::vector<std::string> calls;
  std::vector<LogLine> log;
  // How often a call was made since construction, recorded or not; and the counts of all calls.
  int &count(const char *call);
  [[nodiscard]] std::span<const Count> counts() const { return {counts_.data(), counted_}; }
  void clear_records();

  // The flash partition and the platform driver.
  host::Platform &platform() { return platform_; }

  Outcome outcome_of(const char *call);

 private:
  // Arrays, because looking up the outcome of malloc must not allocate.
  std::array<Arrangement, 32> arrangements_;
  std::size_t arranged_ = 0;
  std::array<Count, 96> counts_;
  std::size_t counted_ = 0;
  TempDir flash_;
  host::Platform platform_;
};

// The number of open descriptors of this process.
int open_descriptors();

// The existing double, or null.
SystemDouble *active_double();

// For its lifetime, calls pass through uncounted and unrecorded: for the test's own calls.
class Bypass : NonCopyable {
 public:
  Bypass();
  ~Bypass();

 private:
  bool intercepting_;
};

template <typename Call>
auto bypass(Call call) {
  const Bypass guard;
  return call();
}

}  // namespace talvera::test
