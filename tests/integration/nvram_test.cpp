// The configuration store in real System V shared memory, shared by processes.
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "support/temp_dir.h"
#include "talvera/nvram.h"

namespace talvera::test {
namespace {

class SharedStore : public ::testing::Test {
 protected:
  SharedStore() { nvram_init(path_.c_str(), NVRAM_SEGMENT_SIZE); }
  ~SharedStore() override {
    detach();
    nvram_exit(path_.c_str());
  }

  void attach() {
    nvram_hash = nvram_attach(path_.c_str());
    nvram_shmid = nvram_id(path_.c_str());
  }
  static void detach() {
    if (nvram_hash != nullptr) nvram_detach(nvram_hash);
    nvram_hash = nullptr;
  }
  static std::string get(const std::string &name) {
    const char *value = nvram_get(name.c_str());
    return value != nullptr ? value : "none";
  }
  // A process that attaches the store, does its work and says whether all went well.
  pid_t start(const std::function<bool()> &work) {
    const pid_t child = fork();
    if (child != 0) return child;
    nvram_hash = nullptr;
    attach();
    const bool well = work();
    _exit(well && nvram_detach(nvram_hash) == 0 ? 0 : 1);
  }
  static bool succeeded(pid_t child) {
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
  }

  TempDir directory_;
  std::string path_ = directory_.write("store", "");
};

TEST_F(SharedStore, LifeCycle) {
  const int id = nvram_open(path_.c_str());
  ASSERT_GE(id, 0);
  EXPECT_EQ(nvram_init(path_.c_str(), NVRAM_SEGMENT_SIZE), id);  // there already
  attach();
  ASSERT_NE(nvram_hash, nullptr);
  struct shmid_ds status;
  ASSERT_EQ(nvram_stat(&status), 0);
  EXPECT_EQ(status.shm_segsz, 38016U);
  EXPECT_EQ(status.shm_perm.mode & 0777U, 0600U);
  EXPECT_EQ(status.shm_nattch, 1U);
#ifdef SHM_LOCKED
  ASSERT_EQ(nvram_lock(), 0);
  ASSERT_EQ(nvram_stat(&status), 0);
  EXPECT_NE(status.shm_perm.mode & SHM_LOCKED, 0U);
  ASSERT_EQ(nvram_set("name", "value"), 0);
  ASSERT_EQ(nvram_stat(&status), 0);
  EXPECT_EQ(status.shm_perm.mode & SHM_LOCKED, 0U);  // unpinned at its end
#endif
  EXPECT_EQ(nvram_exit(path_.c_str()), 0);
  EXPECT_EQ(nvram_open(path_.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(nvram_attach(path_.c_str()), reinterpret_cast<void *>(-1));
  EXPECT_EQ(get("name"), "value");  // attached still
}

TEST_F(SharedStore, OneProcessSetsAnotherReads) {
  attach();
  ASSERT_EQ(nvram_set("from.parent", "1"), 0);
  EXPECT_TRUE(succeeded(start([] {
    return get("from.parent") == "1" && nvram_set("from.child", "2") == 0 &&
           nvram_unset("from.parent") == 0;
  })));
  EXPECT_EQ(get("from.child"), "2");
  EXPECT_EQ(get("from.parent"), "none");
}

// Two writers take turns by a lock of their own; a reader needs none to stay unharmed.
TEST_F(SharedStore, SerialisedWritersLoseNothing) {
  constexpr int kRounds = 300;
  constexpr int kNames = 40;
  const auto hammer = [this](const std::string &prefix) {
    FILE *turn = std::fopen(path_.c_str(), "r");
    bool well = true;
    for (int round = 0; round < kRounds; ++round) {
      for (int i = 0; i < kNames; ++i) {
        const std::string name = prefix + std::to_string(i);
        flock(fileno(turn), LOCK_EX);
        well = well && (round == 0 || get(name) == std::to_string(round - 1));
        if (round % 3 == 1) nvram_unset(name.c_str());
        well = well && nvram_set(name.c_str(), std::to_string(round).c_str()) == 0;
        flock(fileno(turn), LOCK_UN);
      }
    }
    std::fclose(turn);
    return well;
  };
  // Names of the two writers meet in the same chains.
  const pid_t first = start([&] { return hammer("Aa."); });
  const pid_t second = start([&] { return hammer("BB."); });
  const pid_t reader = start([] {
    for (int i = 0; i < 100000; ++i)
      get("Aa." + std::to_string(i % kNames));
    return true;
  });
  EXPECT_TRUE(succeeded(first));
  EXPECT_TRUE(succeeded(second));
  EXPECT_TRUE(succeeded(reader));
  attach();
  for (int i = 0; i < kNames; ++i) {
    EXPECT_EQ(get("Aa." + std::to_string(i)), std::to_string(kRounds - 1));
    EXPECT_EQ(get("BB." + std::to_string(i)), std::to_string(kRounds - 1));
  }
}

}  // namespace
}  // namespace talvera::test
