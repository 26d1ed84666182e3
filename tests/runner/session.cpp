// The state of a group of rows and the side effects of its calls.
#include "runner/session.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace talvera::test {
namespace {

sigjmp_buf before_call;
volatile sig_atomic_t in_call = 0, interrupting = 0;
pid_t runner = 0;
constexpr std::array kCaught = {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGALRM};
constexpr unsigned kLongestGroup = 60;  // seconds

// Fills the stack below with digits, so that uninitialised or unterminated variables show.
[[gnu::noinline]] void poison_stack() {
  char bytes[4096];
  std::memset(bytes, '9', sizeof bytes);
  asm volatile("" : : "r"(bytes) : "memory");
}

// A crash is an outcome, except in a child process.
void leave_call(int signal) {
  if (signal == SIGALRM && interrupting != 0) return;
  if (in_call != 0 && getpid() == runner) siglongjmp(before_call, signal);
  std::signal(signal, SIG_DFL);
  raise(signal);
}

std::FILE *own_output = nullptr;
std::array<int, 2> captured = {-1, -1};  // files that capture standard output and error

// Returns and discards what the file has captured.
std::string taken(int fd) {
  std::string text;
  char buffer[4096];
  lseek(fd, 0, SEEK_SET);
  for (ssize_t got; (got = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(got));
  if (!text.empty() && ftruncate(fd, 0) != 0) std::abort();
  lseek(fd, 0, SEEK_SET);
  return text;
}

// A call in brackets, quoted if it would be ambiguous.
std::string in_brackets(const std::string &call) {
  const std::string text = in_quotes(call + '\0');
  const bool plain = text == '"' + call + '"' && call.find('\'') == call.npos;
  return '[' + (plain ? call : text) + ']';
}

const char *level_name(int level) {
  static constexpr const char *kNames[] = {"emerg",   "alert",  "crit", "err",
                                           "warning", "notice", "info", "debug"};
  return kNames[level & 7];
}

}  // namespace

void capture_output() {
  runner = getpid();
  struct sigaction action = {};  // without SA_RESTART
  action.sa_handler = leave_call;
  for (const int signal : kCaught)
    sigaction(signal, &action, nullptr);
  own_output = fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100), "w");
  for (const int fd : {STDOUT_FILENO, STDERR_FILENO}) {
    std::FILE *const file = std::tmpfile();
    if (file == nullptr) std::abort();
    captured[static_cast<std::size_t>(fd - 1)] = fcntl(fileno(file), F_DUPFD_CLOEXEC, 100);
    dup2(fileno(file), fd);
    std::fclose(file);
  }
}

bool in_library() {
  return in_call != 0;
}

std::FILE *report() {
  return own_output;
}

Session::Session() : bypass_(std::in_place), descriptors_(open_descriptors()) {
  alarm(kLongestGroup);
}

Session::~Session() {
  for (const auto &[name, former] : variables) {
    if (former) {
      setenv(name.c_str(), former->c_str(), 1);
    } else {
      unsetenv(name.c_str());
    }
  }
  if (!variables.empty()) tzset();
  objects.clear();
  system.forget();
}

std::string Session::protect(const std::function<void()> &call) {
  const int signal = sigsetjmp(before_call, 1);
  if (signal == 0) {
    in_call = 1;
    bypass_.reset();
    poison_stack();
    interrupting = interrupted ? 1 : 0;
    constexpr itimerval kOften = {{0, 5000}, {0, 5000}};
    if (interrupted) setitimer(ITIMER_REAL, &kOften, nullptr);
    errno = 0;
    call();
  }
  error = errno;
  if (interrupted) alarm(kLongestGroup);
  interrupting = 0;
  bypass_.emplace();
  in_call = 0;
  return signal == 0         ? ""
         : signal == SIGSEGV ? "SIGSEGV"
         : signal == SIGABRT ? "SIGABRT"
         : signal == SIGALRM ? "endless"
                             : "signal" + std::to_string(signal);
}

std::vector<std::string> Session::effects() {
  std::vector<std::string> found;
  std::fflush(stdout);
  for (const int fd : {STDOUT_FILENO, STDERR_FILENO}) {
    const std::string text = taken(captured[static_cast<std::size_t>(fd - 1)]);
    if (!text.empty()) {
      found.push_back((fd == STDOUT_FILENO ? "out " : "err ") + in_quotes(shown(text) + '\0'));
    }
  }
  for (; lines_seen_ < system.log.size(); ++lines_seen_) {
    const LogLine &line = system.log[lines_seen_];
    if (silent) continue;
    found.push_back(line.channel + '.' + level_name(line.level) + ' ' +
                    in_quotes(shown(line.text) + '\0'));
  }
  for (; calls_seen_ < system.calls.size(); ++calls_seen_) {
    const std::string &call = system.calls[calls_seen_];
    const std::string name = call.substr(0, call.find(' '));
    if (traced.contains(name) || traced.contains("all"))
      found.push_back(in_brackets(shown_call(call)));
  }
  return found;
}

std::string Session::problem() {
  states_.clear();
  for (const auto &[name, object] : objects)
    if (object.memory != nullptr && !object.memory->intact()) return "bytes around $" + name;
  if (system.platform().mounted()) return "the flash partition mounted";
  const int open = open_descriptors();
  if (open != descriptors_) return std::to_string(open - descriptors_) + " descriptors left open";
  return {};
}

std::string Session::substituted(const std::string &text) {
  std::string result = text;
  if (text.find("<tmp>") != text.npos) replace_all(result, "<tmp>", folder().path());
  replace_all(result, "<flash>", system.platform().flash_directory());
  for (std::size_t at = 0; (at = result.find('$', at)) != result.npos; ++at) {
    std::size_t end = at + 1;
    while (end < result.size() && (std::isalnum(static_cast<unsigned char>(result[end])) != 0))
      ++end;
    const auto value = values.find(result.substr(at + 1, end - at - 1));
    if (value != values.end()) result.replace(at, end - at, value->second);
  }
  return result;
}

std::string Session::shown(std::string text) {
  if (folder_) replace_all(text, folder_->path(), "<tmp>");
  replace_all(text, system.platform().flash_directory(), "<flash>");
  return with_error_names(std::move(text));
}

std::string Session::shown_call(const std::string &call) {
  const auto address = [](const void *p) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", p);
    return std::string(text);
  };
  std::string text;
  for (const std::string &word : split(call, " ")) {
    std::string as = word == address(nullptr) ? "null" : word;
    for (const auto &[name, object] : objects)
      if (word == address(object.data)) as = '$' + name;
    text += (text.empty() ? "" : " ") + as;
  }
  return shown(text);
}

const TempDir &Session::folder() {
  if (!folder_) folder_.emplace();
  return *folder_;
}

Session::Object &Session::object(const std::string &name, std::size_t size, std::size_t alignment,
                                 bool null) {
  const auto found = objects.find(name);
  if (found != objects.end()) return found->second;
  auto memory = std::make_unique<GuardedBuffer>(size, alignment);
  if (null) std::fill_n(memory->data(), size, '\0');
  char *const data = memory->data();
  return objects[name] = {std::move(memory), data};
}

}  // namespace talvera::test
