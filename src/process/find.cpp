// Finding running programs by name, with pidof, and by pid file.
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "internal/format.h"
#include "internal/integer32.h"
#include "internal/streams.h"
#include "talvera/process.h"

namespace talvera::process {
namespace {

constexpr std::size_t kLineSize = 1024;

bool process_exists(int pid) {
  char path[sizeof "/proc/-2147483648"];
  std::snprintf(path, sizeof path, "/proc/%d", pid);
  struct stat status;
  return stat(path, &status) == 0;
}

}  // namespace
}  // namespace talvera::process

using namespace talvera::process;

extern "C" int process_find_all(const char *name, pid_t *pids, int capacity) {
  if (capacity < 1) return 0;
  std::fill_n(pids, capacity, 0);
  const char *slash = std::strrchr(name, '/');
  char command[talvera::kPathSize];
  std::snprintf(command, sizeof command, "pidof %s", slash != nullptr ? slash + 1 : name);
  const talvera::PipePtr output(popen(command, "r"));
  if (output == nullptr) return 0;

  int count = 0;
  char line[kLineSize];
  while (count < capacity && talvera::read_line(output.get(), line, sizeof line)) {
    for (char *rest = line; rest != nullptr && count < capacity;) {
      const char *token = strsep(&rest, " \t\r\n");
      if (*token != '\0') pids[count++] = talvera::decimal32(token);
    }
  }
  return count;
}

extern "C" pid_t process_find(const char *name) {
  pid_t pid = 0;
  process_find_all(name, &pid, 1);
  return pid;
}

extern "C" pid_t process_get_from_file(const char *path) {
  const talvera::FilePtr file(std::fopen(path, "r"));
  if (file == nullptr) return 0;
  // Parsed as 32 bits with every C library; a value out of range saturates and matches no process.
  char number[64];
  if (std::fscanf(file.get(), " %63[-+0-9]", number) != 1) return 0;
  const int pid = talvera::decimal32(number);
  return process_exists(pid) ? pid : 0;
}
