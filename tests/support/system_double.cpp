// The double's state: scripted outcomes, counts and records.
#include "support/system_double.h"

#include <dirent.h>
#include <dlfcn.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace talvera::test {
namespace {

// Plain arrays: a verdict on malloc must not itself allocate.
struct Step {
  const char *call;
  int skip;
  int times;
  Verdict verdict;
  int error;
  void (*event)() = nullptr;
};
struct Count {
  const char *call;
  int calls;
};
std::array<Step, 32> steps;
std::size_t step_count = 0;
std::array<Count, 96> counts;
std::size_t counted = 0;

SystemDouble *active = nullptr;
bool judging = true;  // off while the double itself allocates
std::time_t fixed_time = 0;

struct Records {
  Texts calls;
  std::vector<LogLine> log;
  std::map<std::string, std::string> values;
  std::map<std::string, std::string> redirections;
  host::Platform platform;
};
Records *records = nullptr;

void add_step(const Step &step) {
  if (step_count == steps.size()) std::abort();
  steps[step_count++] = step;
}

void count_call(const char *call) {
  for (std::size_t i = 0; i < counted; ++i) {
    if (std::strcmp(counts[i].call, call) == 0) {
      ++counts[i].calls;
      return;
    }
  }
  if (counted == counts.size()) std::abort();
  counts[counted++] = {call, 1};
}

}  // namespace

Quiet::Quiet() : judging_(std::exchange(judging, false)) {}

Quiet::~Quiet() {
  judging = judging_;
}

std::ostream &operator<<(std::ostream &out, const LogLine &line) {
  return out << line.channel << ' ' << line.level << " \"" << line.text << '"';
}

SystemDouble::SystemDouble() {
  if (active != nullptr) std::abort();
  records = new Records{{}, {}, {}, {}, host::Platform(flash_.path())};
  active = this;
}

SystemDouble::~SystemDouble() {
  active = nullptr;
  step_count = 0;
  counted = 0;
  fixed_time = 0;
  delete records;
  records = nullptr;
}

void SystemDouble::fail(const char *call, int error, int skip, int times) {
  // The failure value of the calls that return an address is null or MAP_FAILED, of all else -1.
  static constexpr std::array kNull = {"malloc", "calloc", "realloc", "opendir", "fopen",
                                       "popen",  "fdopen", "strdup",  "fgets",   "strndup"};
  bool null = false;
  for (const char *name : kNull)
    null = null || std::strcmp(name, call) == 0;
  add_step({call, skip, times, {Verdict::kReplace, null ? 0 : -1}, error});
}

void SystemDouble::answer(const char *call, long result, int skip, int times) {
  add_step({call, skip, times, {Verdict::kReplace, result}, 0});
}

void SystemDouble::shorten(const char *call, std::size_t bytes, int skip, int times) {
  add_step({call, skip, times, {Verdict::kShorten, static_cast<long>(bytes)}, 0});
}

void SystemDouble::before(const char *call, void (*event)(), int skip) {
  add_step({call, skip, 1, {}, 0, event});
}

void SystemDouble::forget() {
  step_count = 0;
}

void SystemDouble::set_time(std::time_t now) {
  fixed_time = now;
}

void SystemDouble::set_value(const std::string &key, const std::string &value) {
  records->values[key] = value;
}

void SystemDouble::redirect(const std::string &path, const std::string &target) {
  records->redirections[path] = target;
}

const Texts &SystemDouble::calls() const {
  return records->calls;
}

int SystemDouble::count(const char *call) const {
  for (std::size_t i = 0; i < counted; ++i) {
    if (std::strcmp(counts[i].call, call) == 0) return counts[i].calls;
  }
  return 0;
}

const std::vector<LogLine> &SystemDouble::log() const {
  return records->log;
}

void SystemDouble::clear_records() {
  const Quiet quiet;
  counted = 0;
  records->calls.clear();
  records->log.clear();
  records->platform.journal.clear();
}

host::Platform &SystemDouble::platform() {
  return records->platform;
}

int open_descriptors() {
  const Quiet quiet;
  DIR *directory = opendir("/proc/self/fd");
  int found = -3;  // ".", ".." and the listing's own
  while (readdir(directory) != nullptr)
    ++found;
  closedir(directory);
  return found;
}

Verdict judge(const char *call) {
  if (active == nullptr || !judging) return {};
  count_call(call);
  for (std::size_t i = 0; i < step_count; ++i) {
    Step &step = steps[i];
    if (step.times == 0 || std::strcmp(step.call, call) != 0) continue;
    if (step.skip > 0) {  // what comes after it decides
      --step.skip;
      continue;
    }
    if (step.times > 0) --step.times;
    if (step.event != nullptr) {
      const Quiet quiet;
      step.event();
      continue;
    }
    if (step.error != 0) errno = step.error;
    return step.verdict;
  }
  return {};
}

void spoil_errno() {
  if (active != nullptr && judging) errno = ESPIPE;
}

void record(const char *format, ...) {
  if (active == nullptr || !judging) return;
  const Quiet quiet;
  const int error = errno;
  char text[2048];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  records->calls.emplace_back(text);
  errno = error;
}

void record_log(const char *channel, int level, const char *format, std::va_list arguments) {
  if (active == nullptr) return;
  char text[2048];
  std::vsnprintf(text, sizeof text, format, arguments);  // before anything can change errno, for %m
  const Quiet quiet;
  const int error = errno;
  records->log.push_back({channel, level, text});
  errno = error;
}

void print_log(std::FILE *stream) {
  if (active == nullptr) return;
  for (const LogLine &line : records->log)
    std::fprintf(stream, "%s %d %s\n", line.channel.c_str(), line.level, line.text.c_str());
}

std::time_t double_time() {
  return active != nullptr ? fixed_time : 0;
}

const char *double_value(const char *key) {
  if (active == nullptr) return nullptr;
  const Quiet quiet;
  const auto value = records->values.find(key);
  return value != records->values.end() ? value->second.c_str() : nullptr;
}

const char *redirected(const char *path) {
  if (active == nullptr) return path;
  const Quiet quiet;
  const auto redirection = records->redirections.find(path);
  return redirection != records->redirections.end() ? redirection->second.c_str() : path;
}

host::Platform *active_platform() {
  return active != nullptr ? &records->platform : nullptr;
}

void *next_definition(const char *name) {
  const int error = errno;
  void *definition = dlsym(RTLD_NEXT, name);
  if (definition == nullptr) definition = dlsym(RTLD_DEFAULT, name);  // the program's, before ours
  errno = error;
  return definition;
}

}  // namespace talvera::test
