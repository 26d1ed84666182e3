// The store's segment: which calls are made with which arguments, and what failures look like.
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "support/errors.h"
#include "support/system_double.h"
#include "talvera/nvram.h"

namespace talvera::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kKey = 0x01020304;
constexpr int kId = 77;

class Segment : public ::testing::Test {
 protected:
  // No call ever reaches the system.
  Segment() { script(); }
  ~Segment() override { nvram_shmid = -1; }

  void script() {
    system.answer("ftok", kKey, 0, kAlways);
    system.answer("shmget", kId, 0, kAlways);
    system.answer("shmat", reinterpret_cast<long>(&segment), 0, kAlways);
    system.answer("shmdt", 0, 0, kAlways);
    system.answer("shmctl", 0, 0, kAlways);
  }
  // The calls since the last time.
  Texts calls() {
    Texts made = system.calls();
    system.clear_records();
    return made;
  }
  static std::string text(const char *format, int command, const void *pointer) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, command, pointer);
    return buffer;
  }

  SystemDouble system;
  char segment = 0;
  const std::string nil = text("%.0d%p", 0, nullptr);
};

TEST_F(Segment, CallsOfEachFunction) {
  EXPECT_EQ(nvram_init("/some/path", NVRAM_SEGMENT_SIZE), kId);
  EXPECT_THAT(calls(), ElementsAre("ftok /some/path 1", "shmget 0x1020304 38016 01600"));
  for (auto *open : {nvram_open, nvram_id}) {
    EXPECT_EQ(open("/some/path"), kId);
    EXPECT_THAT(calls(), ElementsAre("ftok /some/path 1", "shmget 0x1020304 0 0600"));
  }
  EXPECT_EQ(nvram_attach("/some/path"), &segment);
  EXPECT_EQ(calls().back(), "shmat 77 " + nil + " 0");
  EXPECT_EQ(nvram_exit("/some/path"), 0);
  EXPECT_EQ(calls().back(), text("shmctl 77 %d %p", IPC_RMID, nullptr));

  EXPECT_EQ(nvram_shmid, -1);  // the caller's to set
  EXPECT_EQ(nvram_hash, nullptr);
  nvram_shmid = 0;
  struct shmid_ds status;
  EXPECT_EQ(nvram_stat(&status), 0);
  EXPECT_EQ(nvram_lock(), 0);
  EXPECT_EQ(nvram_unlock(), 0);
  EXPECT_EQ(nvram_detach(&segment), 0);
  EXPECT_THAT(calls(), ElementsAre(text("shmctl 0 %d %p", IPC_STAT, &status),
                                   text("shmctl 0 %d %p", SHM_LOCK, nullptr),
                                   text("shmctl 0 %d %p", SHM_UNLOCK, nullptr),
                                   text("shmdt %.0d%p", 0, &segment)));
  EXPECT_EQ(nvram_shmid, -1);
}

TEST_F(Segment, FailuresAreTheSystems) {
  const auto error_when = [this](const char *failing, auto call) {
    system.forget();
    system.fail(failing, EACCES);
    script();
    return error_of(call());
  };
  const auto init = [] { return nvram_init("/some/path", 1); };
  const auto attach = [] { return reinterpret_cast<long>(nvram_attach("/some/path")); };
  EXPECT_EQ(error_when("ftok", init), EACCES);
  EXPECT_EQ(system.count("shmget"), 0);  // no segment of the key -1, which all bad paths share
  EXPECT_EQ(error_when("shmget", init), EACCES);
  EXPECT_EQ(error_when("shmget", [] { return nvram_open("/some/path"); }), EACCES);
  EXPECT_EQ(error_when("shmat", attach), EACCES);
  EXPECT_EQ(error_when("shmctl", [] { return nvram_exit("/some/path"); }), EACCES);
  nvram_shmid = 5;
  EXPECT_EQ(error_when("shmdt", [this] { return nvram_detach(&segment); }), EACCES);
  EXPECT_EQ(nvram_shmid, -1);
}

}  // namespace
}  // namespace talvera::test
