// A group of rows: its system double and named objects.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "runner/guarded_buffer.h"
#include "runner/value.h"
#include "support/system_double.h"
#include "support/temp_dir.h"

namespace talvera::test {

class Session : NonCopyable {
 public:
  Session();
  ~Session();

  // Makes a call of the library with errno cleared, intercepted by the double. Returns the name of
  // the signal that it raised, or an empty string.
  std::string protect(const std::function<void()> &call);
  // Side effects of the calls: output, log lines, traced calls.
  std::vector<std::string> effects();
  // Ends the group; returns a description of a failed check, or an empty string.
  std::string problem();

  // substituted() expands <tmp> and <flash> to the paths of the group's folder and of the flash
  // partition, and $NAME to the value of that name. shown() reverses <tmp> and <flash>, and
  // abbreviates error messages.
  std::string substituted(const std::string &text);
  std::string shown(std::string text);
  // A traced call, with the objects' names for their addresses.
  std::string shown_call(const std::string &call);
  const TempDir &folder();

  // An object of the group, created on first use.
  struct Object {
    std::unique_ptr<GuardedBuffer> memory;  // null if not owned
    char *data;
  };
  Object &object(const std::string &name, std::size_t size, std::size_t alignment, bool null);

  // State of a binding until the end of the group, created on first use.
  template <typename T>
  T &state() {
    static const char kKey = 0;
    std::shared_ptr<void> &kept = states_[&kKey];
    if (kept == nullptr) kept = std::make_shared<T>();
    return *static_cast<T *>(kept.get());
  }

  SystemDouble system;
  std::map<std::string, Object> objects;
  std::map<std::string, std::string> values;  // defined by "let"
  std::set<std::string> traced;
  std::map<std::string, std::optional<std::string>> variables;  // values before the group
  bool skipped = false;      // the rest of the group does not apply to this machine
  bool silent = false;       // do not show log lines
  bool interrupted = false;  // raise signals while the library runs
  int error = 0;             // errno after the last call

 private:
  std::optional<Bypass> bypass_;
  std::map<const void *, std::shared_ptr<void>> states_;
  std::optional<TempDir> folder_;
  std::size_t calls_seen_ = 0, lines_seen_ = 0;
  int descriptors_;
};

// Redirects standard output and error of this process to files; the runner itself writes to
// report().
void capture_output();
// Whether a call of the library is running, not the runner or a directive.
bool in_library();
std::FILE *report();

}  // namespace talvera::test
