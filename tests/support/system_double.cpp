// The double's state: arrangements, counts and records.
#include "support/system_double.h"

#include <dirent.h>
#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "support/system_calls.h"

namespace talvera::test {
namespace {

SystemDouble *active = nullptr;
bool intercepting = true;  // off while the double itself allocates

// Formats a log line or record; preserves errno.
std::string formatted(const char *format, std::va_list arguments) {
  char text[2048];
  std::vsnprintf(text, sizeof text, format, arguments);
  return text;
}

}  // namespace

Bypass::Bypass() : intercepting_(std::exchange(intercepting, false)) {}

Bypass::~Bypass() {
  intercepting = intercepting_;
}

SystemDouble::SystemDouble() : platform_(flash_.path()) {
  if (active != nullptr) std::abort();
  active = this;
}

SystemDouble::~SystemDouble() {
  active = nullptr;
}

SystemDouble *active_double() {
  return active;
}

int &SystemDouble::count(const char *call) {
  std::size_t i = 0;
  while (i < counted_ && std::strcmp(counts_[i].call, call) != 0)
    ++i;
  if (i == counted_) counts_.at(counted_++) = {call, 0};
  return counts_[i].calls;
}

void SystemDouble::clear_records() {
  counted_ = 0;
  calls.clear();
  log.clear();
}

Outcome SystemDouble::outcome_of(const char *call) {
  ++count(call);
  for (std::size_t i = 0; i < arranged_; ++i) {
    Arrangement &arranged = arrangements_[i];
    if (arranged.left == 0 || std::strcmp(arranged.call, call) != 0) continue;
    if (arranged.skipped > 0) {  // the next matching arrangement decides
      --arranged.skipped;
      continue;
    }
    if (arranged.left > 0) --arranged.left;
    if (arranged.event == nullptr) return arranged.outcome;
    const Bypass guard;
    arranged.event();
  }
  return {};
}

int open_descriptors() {
  const Bypass guard;
  DIR *directory = opendir("/proc/self/fd");
  int found = -3;  // ".", ".." and the descriptor of the directory itself
  while (readdir(directory) != nullptr)
    ++found;
  closedir(directory);
  return found;
}

// ---- For the definitions of system calls --------------------------------------------------------

Outcome outcome_of(const char *call) {
  if (active == nullptr || !intercepting) return {};
  const Outcome outcome = active->outcome_of(call);
  if (outcome.kind == Outcome::kFailure) errno = static_cast<int>(outcome.value);
  return outcome;
}

void clobber_errno() {
  if (active != nullptr && intercepting) errno = ESPIPE;
}

void record(const char *format, ...) {
  if (active == nullptr || !intercepting) return;
  const Bypass guard;
  const int error = errno;
  std::va_list arguments;
  va_start(arguments, format);
  active->calls.push_back(formatted(format, arguments));
  va_end(arguments);
  errno = error;
}

void record_log(const char *channel, int level, const char *format, std::va_list arguments) {
  if (active == nullptr) return;
  const Bypass guard;
  const int error = errno;
  active->log.push_back({channel, level, formatted(format, arguments)});
  errno = error;
}

const char *redirected(const char *path) {
  if (active == nullptr) return path;
  const Bypass guard;
  const auto redirection = active->redirections.find(path);
  return redirection != active->redirections.end() ? redirection->second.c_str() : path;
}

void *next_definition(const char *name) {
  const int error = errno;
  void *definition = dlsym(RTLD_NEXT, name);
  if (definition == nullptr) definition = dlsym(RTLD_DEFAULT, name);  // in the preloaded program
  errno = error;
  return definition;
}

}  // namespace talvera::test
