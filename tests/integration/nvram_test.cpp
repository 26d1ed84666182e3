// The configuration store in real System V shared memory, used by concurrent processes.
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "support/temp_dir.h"
#include "talvera/nvram.h"

namespace talvera::test {
namespace {

constexpr int kRounds = 300, kNames = 40;

std::string get(const std::string &name) {
  const char *value = nvram_get(name.c_str());
  return value != nullptr ? value : "none";
}

// Sets each name in turn under a lock, and checks that its value has not changed since.
bool hammer(const char *path, const std::string &prefix) {
  FILE *const turn = std::fopen(path, "r");
  bool well = true;
  for (int i = 0; i < kRounds * kNames; ++i) {
    const std::string name = prefix + std::to_string(i % kNames),
                      round = std::to_string(i / kNames);
    flock(fileno(turn), LOCK_EX);
    well = well && (i < kNames || get(name) == std::to_string(i / kNames - 1));
    if (i % 3 == 1) nvram_unset(name.c_str());
    well = well && nvram_set(name.c_str(), round.c_str()) == 0;
    flock(fileno(turn), LOCK_UN);
  }
  return well && std::fclose(turn) == 0;
}

// Two writers share a lock of their own; a reader without a lock must not crash.
TEST(SharedStore, SerialisedWritersLoseNothing) {
  const TempDir directory;
  const std::string path = directory.write("store", "");
  ASSERT_GE(nvram_init(path.c_str(), NVRAM_SEGMENT_SIZE), 0);
  nvram_hash = nvram_attach(path.c_str());
  // The writers' names share chains.
  const std::function<bool()> works[] = {[&] { return hammer(path.c_str(), "Aa."); },
                                         [&] { return hammer(path.c_str(), "BB."); },
                                         [] {
                                           for (int i = 0; i < 100000; ++i)
                                             get("Aa." + std::to_string(i % kNames));
                                           return true;
                                         }};
  for (const auto &work : works)
    if (fork() == 0) _exit(work() ? 0 : 1);
  for (int status; wait(&status) > 0;)
    EXPECT_EQ(status, 0);
  for (int i = 0; i < kNames; ++i) {
    EXPECT_EQ(get("Aa." + std::to_string(i)), std::to_string(kRounds - 1));
    EXPECT_EQ(get("BB." + std::to_string(i)), std::to_string(kRounds - 1));
  }
  nvram_detach(nvram_hash);
  nvram_exit(path.c_str());
}

}  // namespace
}  // namespace talvera::test
