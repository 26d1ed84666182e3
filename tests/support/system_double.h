// A double of the operating system for unit tests. The test program defines the system calls that
// the library makes; its definitions win over libc's. While a SystemDouble lives, calls can be made
// to fail, and what the library did is recorded; otherwise, and unless told, calls go through.
//
//   SystemDouble system;
//   system.fail("read", EINTR);            // the next read fails, once
//   system.fail("malloc", ENOMEM, 2);      // the third allocation fails
//   system.answer("kill", 0, 0, kAlways);  // every kill gives 0 and signals nobody
//   system.shorten("write", 100);          // the next write takes at most 100 bytes
//   EXPECT_EQ(system.calls(), Texts({"umount2 /mfg 2"}));
//
// To add a call, define it in one of the system_*.cpp files with intercept().
#pragma once

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <ostream>
#include <string>
#include <vector>

#include "host/platform.h"
#include "support/temp_dir.h"

namespace talvera::test {

inline constexpr int kAlways = -1;

using Texts = std::vector<std::string>;

struct LogLine {
  std::string channel;  // "syslog" or "sdb"
  int level;
  std::string text;
  bool operator==(const LogLine &) const = default;
};
std::ostream &operator<<(std::ostream &out, const LogLine &line);

class SystemDouble {
 public:
  SystemDouble();
  ~SystemDouble();
  SystemDouble(const SystemDouble &) = delete;
  SystemDouble &operator=(const SystemDouble &) = delete;

  // After `skip` calls that this leaves alone, `times` calls are not made at all: they fail with
  // `error`, or give `result`.
  void fail(const char *call, int error, int skip = 0, int times = 1);
  void answer(const char *call, long result, int skip = 0, int times = 1);
  // The call is made for at most `bytes` bytes.
  void shorten(const char *call, std::size_t bytes, int skip = 0, int times = 1);
  // Right before a call, once, something else happens; what becomes of the call is as told besides.
  void before(const char *call, void (*event)(), int skip = 0);
  // Takes back all of these that are left.
  void forget();

  void set_time(std::time_t now);
  // What sdb_get() gives for a key; all other keys are unknown (ENOENT).
  void set_value(const std::string &key, const std::string &value);
  // Opens of `path`, if it is exactly that, open `target` instead; likewise the command of a pipe.
  void redirect(const std::string &path, const std::string &target);

  // The recorded calls (those whose arguments matter), each as its name and arguments.
  [[nodiscard]] const Texts &calls() const;
  // How often a call was made, recorded or not, since the double was made.
  [[nodiscard]] int count(const char *call) const;
  [[nodiscard]] const std::vector<LogLine> &log() const;
  void clear_records();

  // The flash partition and the platform driver.
  host::Platform &platform();

 private:
  TempDir flash_;
};

// Descriptors that this process has open.
int open_descriptors();

// ---- For the definitions of system calls ----------------------------------------------------

struct Verdict {
  enum { kGoThrough, kReplace, kShorten } what = kGoThrough;
  long value = 0;  // result, or greatest size
};

// Counts a call and tells what is to become of it; errno is set for a failure.
Verdict judge(const char *call);

// While one lives, calls are neither judged nor counted: for what the double itself does.
class Quiet {
 public:
  Quiet();
  ~Quiet();
  Quiet(const Quiet &) = delete;
  Quiet &operator=(const Quiet &) = delete;

 private:
  bool judging_;
};

// While a double lives, calls that succeed may still change errno, as POSIX allows; these do.
void spoil_errno();

// Adds a line to calls() or log(), if a double is there.
__attribute__((format(printf, 1, 2))) void record(const char *format, ...);
void record_log(const char *channel, int level, const char *format, std::va_list arguments);

// Prints log(), a line each, if a double is there.
void print_log(std::FILE *stream);

// The time that set_time() has set, or 0.
std::time_t double_time();

// The value that set_value() has set, or null.
const char *double_value(const char *key);

// Where redirect() has sent a path, or the path itself.
const char *redirected(const char *path);

// The platform, or null without a double.
host::Platform *active_platform();

// The next definition of a function after the test program's own.
void *next_definition(const char *name);

template <typename Function>
Function *real(const char *name) {
  return reinterpret_cast<Function *>(next_definition(name));
}

// Makes the call unless it is to be replaced.
template <typename Result, typename Call>
Result intercept(const char *name, Call call) {
  const Verdict verdict = judge(name);
  if (verdict.what == Verdict::kReplace) return (Result)verdict.value;
  return call();
}

// The same for a call that moves `size` bytes.
template <typename Result, typename Call>
Result intercept_transfer(const char *name, std::size_t size, Call call) {
  const Verdict verdict = judge(name);
  if (verdict.what == Verdict::kReplace) return (Result)verdict.value;
  if (verdict.what == Verdict::kShorten && static_cast<std::size_t>(verdict.value) < size) {
    size = static_cast<std::size_t>(verdict.value);
  }
  return call(size);
}

}  // namespace talvera::test
