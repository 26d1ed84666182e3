// Commands of the persistent-file tool.
#include <cstdint>
#include <cstdio>

#include "internal/streams.h"
#include "talvera/process.h"
#include "talvera/strutil.h"
#include "talvera/utils.h"

namespace talvera::process {
namespace {

constexpr int kLineSize = 1024;

// Set when a factory reset starts; never cleared.
std::int32_t clearing = 0;

}  // namespace
}  // namespace talvera::process

using namespace talvera::process;

extern "C" void pfs_clearing_set(void) {
  clearing = 1;
}

extern "C" int pfs_newbox(void) {
  process_stop(process_find("pfs"));
  return sdb_system("pfs -e > /dev/null 2>&1");
}

extern "C" int pfs_forget_files(const char *substring) {
  talvera::PipePtr listing(popen("/sbin/pfs -l", "r"));
  if (listing == nullptr) return 0;
  char line[kLineSize];
  while (talvera::read_line(listing.get(), line, sizeof line)) {
    // Passes the line with its line feed, which ends the command for the shell.
    if (strncasestr(line, substring, kLineSize) != nullptr) sdb_system("/sbin/pfs -r %s", line);
  }
  return pclose(listing.release());
}

extern "C" int pfs_forget_file(const char *path) {
  return sdb_system("/sbin/pfs -r %s", path);
}

extern "C" int pfs_remember_file(const char *path) {
  if (clearing != 0) return clearing;
  return sdb_system("/sbin/pfs -a %s", path);
}

extern "C" int pfs_commit(void) {
  if (clearing != 0) return clearing;
  return sdb_system("/sbin/pfs -s");
}
