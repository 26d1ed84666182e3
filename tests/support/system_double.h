// A double of the operating system for tests. The test program defines the system calls that the
// library makes; its definitions win over libc's. While a SystemDouble lives, calls can be made to
// fail, and what the library did is recorded; otherwise, and unless told, calls go through.
//
//   SystemDouble system;
//   system.fail("read", EINTR);            // the next read fails, once
//   system.fail("malloc", ENOMEM).after(2).times(3);
//   system.answer("kill", 0).always();     // every kill gives 0 and signals nobody
//   system.shorten("write", 100);          // the next write takes at most 100 bytes
//   EXPECT_EQ(system.calls(), Texts({"umount2 /mfg 2"}));
//
// Each call is a row in system_calls.cpp, system_sockets.cpp or system_tls.cpp.
#pragma once

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <map>
#include <ostream>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/platform.h"
#include "support/temp_dir.h"

namespace talvera::test {

using Texts = std::vector<std::string>;

struct LogLine {
  std::string channel;  // "syslog" or "sdb"
  int level;
  std::string text;
  bool operator==(const LogLine &) const = default;
};
std::ostream &operator<<(std::ostream &out, const LogLine &line);

// What becomes of a call.
struct Outcome {
  enum { kGoThrough, kFailure, kResult, kShort } kind = kGoThrough;
  long value = 0;  // errno, result or greatest size
};

// An arrangement; it holds for the next call alone, unless told otherwise.
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

class SystemDouble : Pinned {
 public:
  SystemDouble();
  ~SystemDouble();

  // The call is not made: it fails with an error, or gives a result.
  Arrangement &fail(const char *call, int error) {
    return arrange({call, {Outcome::kFailure, error}});
  }
  Arrangement &answer(const char *call, long result) {
    return arrange({call, {Outcome::kResult, result}});
  }
  // The call is made for at most `bytes` bytes.
  Arrangement &shorten(const char *call, long bytes) {
    return arrange({call, {Outcome::kShort, bytes}});
  }
  // Right before the call something else happens; what becomes of the call is as told besides.
  Arrangement &before(const char *call, void (*event)()) { return arrange({call, {}, event}); }
  Arrangement &arrange(const Arrangement &arrangement) {
    return arrangements_.at(arranged_++) = arrangement;
  }
  // Takes back all of these that are left.
  void forget() { arranged_ = 0; }

  void set_time(std::time_t now) { time = now; }
  // What sdb_get() gives for a key; all other keys are unknown (ENOENT).
  void set_value(const std::string &key, const std::string &value) { values[key] = value; }
  // Opens of `path`, if it is exactly that, open `target` instead; likewise the command of a pipe.
  void redirect(const std::string &path, const std::string &target) { redirections[path] = target; }

  // The recorded calls (those whose arguments matter), each as its name and arguments.
  [[nodiscard]] const Texts &calls() const { return recorded; }
  // How often a call was made, recorded or not, since the double was made; all that were.
  int &count(const char *call);
  [[nodiscard]] std::span<const Count> counts() const { return {counts_.data(), counted_}; }
  [[nodiscard]] const std::vector<LogLine> &log() const { return logged; }
  void clear_records();

  // The flash partition and the platform driver.
  host::Platform &platform() { return platform_; }

  // ---- For the definitions of system calls ----

  Outcome outcome_of(const char *call);
  Texts recorded;
  std::vector<LogLine> logged;
  std::time_t time = 0;
  std::map<std::string, std::string> values, redirections;

 private:
  // Plain arrays: a look at the outcome of malloc must not itself allocate.
  std::array<Arrangement, 32> arrangements_;
  std::size_t arranged_ = 0;
  std::array<Count, 96> counts_;
  std::size_t counted_ = 0;
  TempDir flash_;
  host::Platform platform_;
};

// Descriptors that this process has open.
int open_descriptors();

// The double that lives, or null.
SystemDouble *active_double();

// While one lives, calls go through, neither counted nor recorded: for what the test itself does.
class Quiet : Pinned {
 public:
  Quiet();
  ~Quiet();

 private:
  bool noticing_;
};

template <typename Call>
auto quietly(Call call) {
  const Quiet quiet;
  return call();
}

}  // namespace talvera::test
