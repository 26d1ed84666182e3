// The world of the scenarios, the table of faults, and the runs.
#include "faults/inject.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "support/blob.h"
#include "talvera/ccert.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" int __lsan_do_recoverable_leak_check();
#endif

namespace talvera::test {
namespace {

constexpr unsigned kSlowestRun = 20;  // seconds
constexpr std::size_t kMfgFileSize = 0x20000, kSlot1 = 0x1C000;

struct Fault {
  enum Kind { kError, kShort, kResult } kind;
  const char *call;
  int value;  // errno, greatest size or result

  void arm(SystemDouble &system, int skip) const {
    if (kind == kError) system.fail(call, value, skip);
    if (kind == kShort) system.shorten(call, static_cast<std::size_t>(value), skip);
    if (kind == kResult) system.answer(call, value, skip);
  }
};

std::vector<Fault> all_faults(bool memory) {
  std::vector<Fault> faults;
  for (const char *call : {"malloc", "calloc", "realloc", "strdup", "strndup"}) {
    if (memory) faults.push_back({Fault::kError, call, ENOMEM});
  }
  for (const char *call :
       {"access",  "bind",     "close",   "fcntl",   "fopen",   "fork",       "fstat",
        "ftok",    "ioctl",    "kill",    "lseek",   "lstat",   "mmap",       "mount",
        "munmap",  "open",     "opendir", "popen",   "read",    "readlink",   "recvfrom",
        "scandir", "select",   "sdb_get", "sendto",  "shmat",   "shmctl",     "shmdt",
        "shmget",  "sigqueue", "socket",  "stat",    "symlink", "sysinfo",    "system",
        "umount2", "unlink",   "usleep",  "waitpid", "write",   "getsockname"}) {
    faults.push_back({Fault::kError, call, EINTR});
    faults.push_back({Fault::kError, call, EIO});
  }
  for (const char *call : {"read", "write"}) {
    faults.push_back({Fault::kShort, call, 1});
    faults.push_back({Fault::kResult, call, 0});
  }
  for (const char *call :
       {"SSL_CTX_new", "d2i_X509", "SSL_CTX_use_RSAPrivateKey_ASN1", "SSL_CTX_use_certificate",
        "SSL_CTX_check_private_key", "SSL_CTX_set_default_verify_paths", "RAND_status"}) {
    faults.push_back({Fault::kResult, call, 0});
  }
  return faults;
}

char where[128];  // the run that is on

void give_up(int) {
  const Quiet quiet;
  std::fprintf(stderr, "%s does not end\n", where);
  std::_Exit(1);
}

// The faults that can hit a scenario, which is run without one first.
std::vector<Fault> faults_of(const Scenario &scenario) {
  World world;
  EXPECT_EQ(scenario.run(world), scenario.results.front()) << scenario.name;
  std::vector<Fault> faults = all_faults(scenario.memory);
  std::erase_if(faults, [&](const Fault &fault) { return world.system.count(fault.call) == 0; });
  return faults;
}

// Runs a scenario in a world of its own, with the fault after `skip` calls. Returns the number of
// the calls that were made.
int run_once(const Scenario &scenario, const Fault &fault, int skip) {
  std::snprintf(where, sizeof where, "%s: %s (%d) after %d", scenario.name, fault.call, fault.value,
                skip);
  World world;
  const int descriptors = open_descriptors();
  fault.arm(world.system, skip);
  alarm(kSlowestRun);
  const long result = scenario.run(world);
  alarm(0);
  const int calls = world.system.count(fault.call);
  world.system.forget();

  EXPECT_NE(std::ranges::find(scenario.results, result), scenario.results.end())
      << where << ": result " << result;
  EXPECT_EQ(open_descriptors(), descriptors) << where;
  const bool stuck = std::string_view(fault.call) == "umount2";  // stays mounted
  EXPECT_TRUE(stuck || !world.system.platform().mounted()) << where;
  return calls;
}

}  // namespace

World::World()
    : blob(make_blob({{"certificate", CCERT_CERTIFICATE}, {"key", CCERT_KEY_PLAIN}})),
      mfg_file(system.platform().flash_directory() + "/mfg.dat"),
      log_message(message(0x0101, std::string(4, '\0'))) {
  std::string flash(kMfgFileSize, '\xFF');
  std::ofstream(mfg_file, std::ios::binary) << flash.replace(kSlot1, blob.size(), blob);
  folder.write("a", kText);
  folder.write("b", kText);
  folder.write(".order", kOrder);
  folder.write("hops", "traceroute to b (192.0.2.9)\n 1  b (192.0.2.9)  1.5 ms\n");
  for (const char *path : {"/tmp/test-out", "/tmp/test-err", "/tmp/test-status"})
    system.redirect(path, hops);
  for (const char *command : {"pidof pfs", "/sbin/pfs -l"})
    system.redirect(command, "echo 77");
  system.set_value("system.sku", "50");
  kernel.acknowledge = true;
  system.clear_records();
}

void inject(const std::vector<Scenario> &scenarios) {
  std::signal(SIGALRM, give_up);
  int runs = 0;
  for (const Scenario &scenario : scenarios) {
    for (const Fault &fault : faults_of(scenario)) {
      int skip = 0;
      for (; run_once(scenario, fault, skip) > skip; ++skip) {
        if (::testing::Test::HasFailure()) return;
      }
      runs += skip;
    }
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0) << scenario.name;
#endif
  }
  std::printf("%d faults in %zu scenarios\n", runs, scenarios.size());
}

}  // namespace talvera::test
