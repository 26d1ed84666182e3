// Directives, which arrange and inspect.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "runner/bind.h"

namespace talvera::test {
namespace {

// fail read EINTR after 2 times 3: skips two calls, then applies to three.
void arrange(Call &call, Arrangement &arrangement) {
  while (call.has_more()) {
    const std::string word = call.take().bytes;
    if (word == "always") {
      arrangement.always();
      continue;
    }
    const auto calls = static_cast<int>(to_number(call, call.take()));
    word == "after" ? arrangement.after(calls) : arrangement.times(calls);
  }
}

SystemDouble &system(Call &call) {
  return call.session().system;
}

// The double keeps pointers to names, so they must outlive it.
const char *kept(const std::string &name) {
  static std::set<std::string> names;
  return names.insert(name).first->c_str();
}

// ---- Arrangements -----------------------------------------------------------------------------

DIRECTIVE(fail, [](Call &call, const std::string &name, const std::string &error) {
  arrange(call, system(call).fail(kept(name), static_cast<int>(constant(error))));
});
DIRECTIVE(answer, [](Call &call, const std::string &name, long result) {
  arrange(call, system(call).answer(kept(name), result));
});
DIRECTIVE(shorten, [](Call &call, const std::string &name, long bytes) {
  arrange(call, system(call).shorten(kept(name), bytes));
});
DIRECTIVE(forget, [](Call &call) { system(call).forget(); });
DIRECTIVE(time, [](Call &call, std::time_t now) { system(call).time = now; });
DIRECTIVE(value, [](Call &call, const std::string &key, const std::string &value) {
  system(call).values[key] = value;
});
DIRECTIVE(redirect, [](Call &call, const std::string &path, const std::string &target) {
  system(call).redirections[path] = target;
});
DIRECTIVE(env, [](Call &call, const std::string &name, const std::string &value) {
  const char *const former = std::getenv(name.c_str());
  call.session().variables.try_emplace(
      name, former != nullptr ? std::optional<std::string>(former) : std::nullopt);
  setenv(name.c_str(), value.c_str(), 1);
});
// file "<tmp>/name" "content"
DIRECTIVE(file, [](const std::string &path, const std::string &content) {
  std::FILE *const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) throw TableError("cannot write " + path);
  std::fwrite(content.data(), 1, content.size(), file);
  std::fclose(file);
});
// pad name "<tmp>/file" 255: "$name" is this path, padded with slashes to that length.
DIRECTIVE(pad,
          [](Call &call, const std::string &name, const std::string &path, std::size_t length) {
            if (path.size() > length) throw TableError("path too long");
            std::string &padded = call.session().values[name] = path;
            padded.insert(path.rfind('/'), length - path.size(), '/');
          });
// shell "ln -s a <tmp>/b"
DIRECTIVE(shell, [](const std::string &command) {
  if (std::system(command.c_str()) != 0) throw TableError("command failed");
});
// Runs the group without standard input, so that the next descriptor is 0.
struct WithoutInput : NonCopyable {
  int saved = dup(STDIN_FILENO);
  WithoutInput() { close(STDIN_FILENO); }
  ~WithoutInput() {
    const bool left_open = fcntl(STDIN_FILENO, F_GETFD) != -1;
    dup2(saved, STDIN_FILENO);
    if (!left_open) close(saved);  // otherwise it stays, and counts as a leaked descriptor
  }
};
DIRECTIVE(close_input, [](Call &call) { call.session().state<WithoutInput>(); });
// open "<tmp>/file": opens for reading and writing at the lowest free descriptor.
DIRECTIVE(open, [](const std::string &path) {
  if (open(path.c_str(), O_RDWR) < 0) throw TableError("cannot open " + path);
});
DIRECTIVE(close, [](int fd) { return close(fd); });
// Raises a signal every 5 ms, whose handler was installed without SA_RESTART.
DIRECTIVE(interrupt, [](Call &call) { call.session().interrupted = true; });
// buffer name [16]: "$name" is this buffer until the end of the group.
DIRECTIVE(buffer, [](Call &call, const std::string &name) {
  const Value &value = call.take();
  const auto &object = call.session().object(name, value.size, 1, false);
  value.bytes.copy(object.data, value.bytes.size());
});
// only time64: skips the rest of the group on other machines. "host" excludes MIPS, whose error
// numbers differ.
DIRECTIVE(only, [](Call &call, const std::string &kind) {
  bool glibc = true, host = true, sanitized = false;
#ifdef __UCLIBC__
  glibc = false;
#endif
#ifdef __mips__
  host = false;
#endif
#ifdef __SANITIZE_ADDRESS__
  sanitized = true;
#endif
  const std::map<std::string, bool> kinds = {{"time64", sizeof(std::time_t) == 8},
                                             {"time32", sizeof(std::time_t) == 4},
                                             {"glibc", glibc},
                                             {"uclibc", !glibc},
                                             {"host", host},
                                             {"sanitized", sanitized}};
  if (!kinds.contains(kind)) throw TableError("no kind " + kind);
  call.session().skipped = !kinds.at(kind);
});

// ---- Inspection -------------------------------------------------------------------------------

// trace kill usleep: later rows show these calls; "trace all" shows all.
DIRECTIVE(trace, [](Call &call) {
  while (call.has_more())
    call.session().traced.insert(call.take().bytes);
});
// Stops showing log lines.
DIRECTIVE(silence, [](Call &call) { call.session().silent = true; });
// The number of times that a call was made in this group.
DIRECTIVE(count,
          [](Call &call, const std::string &name) { return system(call).count(kept(name)); });
// errno after the previous call.
DIRECTIVE(errno, [](Call &call) { return error_name(call.session().error); });
// How a descriptor was opened.
DIRECTIVE(flags, [](int fd) {
  static constexpr const char *kAccess[] = {"read-only", "write-only", "read-write"};
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0) return std::string("closed");
  return std::string(kAccess[flags & O_ACCMODE]) +
         ((flags & O_NONBLOCK) != 0 ? " non-blocking" : "") +
         ((fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0 ? " close-on-exec" : "");
});
// The permissions of a file, in octal.
DIRECTIVE(mode, [](const std::string &path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return std::string("none");
  char text[16];
  std::snprintf(text, sizeof text, "%#o", static_cast<unsigned>(status.st_mode & 07777U));
  return std::string(text);
});
DIRECTIVE(content, [](const std::string &path) { return in_quotes(read_file(path)); });

}  // namespace
}  // namespace talvera::test
