// A group of rows: the system double that its calls meet, the objects that it has named.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "runner/guarded.h"
#include "runner/value.h"
#include "support/system_double.h"
#include "support/temp_dir.h"

namespace talvera::test {

class Session : Pinned {
 public:
  Session();
  ~Session();

  // Makes the library's call: with errno clear, seen by the double. Gives the name of the signal
  // that it raised, or an empty text.
  std::string protect(const std::function<void()> &call);
  // What came of the calls beside their results: output, log lines, calls that are traced.
  std::vector<std::string> effects();
  // Ends the group and tells what is wrong then; empty when nothing is.
  std::string complaint();

  // A row's text with <tmp> and <flash> as the paths of the group's folder and of the platform's
  // flash partition, and $NAME, if it names a value, as that; and back for <tmp>, <flash> and
  // errors.
  std::string substituted(const std::string &text);
  std::string shown(std::string text);
  // A traced call, with addresses as the objects' names.
  std::string shown_call(const std::string &call);
  const TempDir &folder();

  // An object of the group; made at its first mention.
  struct Object {
    std::unique_ptr<Guarded> memory;  // null: somebody else's
    char *data;
  };
  Object &object(const std::string &name, std::size_t size, std::size_t alignment, bool null);

  // What a binding keeps until the group's end: made at the first use.
  template <typename T>
  T &state() {
    static const char kKey = 0;
    std::shared_ptr<void> &kept = states_[&kKey];
    if (kept == nullptr) kept = std::make_shared<T>();
    return *static_cast<T *>(kept.get());
  }

  SystemDouble system;
  std::map<std::string, Object> objects;
  std::map<std::string, std::string> values;  // of "let"
  std::set<std::string> traced;
  std::map<std::string, std::optional<std::string>> variables;  // what they were before the group
  bool skipped = false;      // the rest of the group is for other machines
  bool silent = false;       // log lines are not shown
  bool interrupted = false;  // signals come while the library runs
  int error = 0;             // errno after the last call

 private:
  std::optional<Quiet> quiet_;
  std::map<const void *, std::shared_ptr<void>> states_;
  std::optional<TempDir> folder_;
  std::size_t calls_seen_ = 0, lines_seen_ = 0;
  int descriptors_;
};

// Leads standard output and error of this process to files; the runner's own output goes to
// report().
void capture_output();
// Whether the library runs: not the runner or a directive.
bool in_library();
std::FILE *report();

}  // namespace talvera::test
