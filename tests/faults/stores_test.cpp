// Faults in the manufacturing store, the certificate blob and the configuration store.
#include "talvera/mfg.h"

#include <gtest/gtest.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "faults/inject.h"
#include "talvera/ccert.h"
#include "talvera/nvram.h"

namespace talvera::test {
namespace {

constexpr std::size_t kFileSize = 0x20000;
constexpr std::size_t kSlot2 = 0x18000;
constexpr std::size_t kRecord = 0x1FF00;

// Whether the factory file is whole, with these bytes in it.
bool stored(const World &world, std::size_t offset, const void *data, std::size_t size) {
  const std::string content = World::content(world.factory);
  return content.size() == kFileSize && std::memcmp(content.data() + offset, data, size) == 0;
}

long record(World &world) {
  std::uint8_t bytes[MFG_INFO_SIZE];
  mfg_info_read(bytes);
  bytes[MFG_INFO_SERIAL] = '7';
  const int result = mfg_info_write(bytes);
  return result != 0 || stored(world, kRecord, bytes, sizeof bytes) ? result : kWrong;
}

// What stops the start-up half-way is logged.
long start_up(World &world) {
  World::quietly([&] { return truncate(world.factory.c_str(), 0); });
  mfg_init();
  const bool prepared = World::content(world.factory).size() == kFileSize;
  return prepared || !world.system.log().empty() ? 0 : kWrong;
}

// The result is that of the last of two writes, so that a success need not mean that all is stored.
long calibration(World &) {
  const unsigned char data[] = "calibration";
  unsigned char read[sizeof data];
  int result = mfg_wlcal_set(data, 5, sizeof data);
  if (result == 0) result = mfg_wlcal_get(read, 5, sizeof read);
  mfg_wlcal_clear();
  return result;
}

long installed_blob(World &world) {
  const auto *blob = reinterpret_cast<const unsigned char *>(world.blob.data());
  const int result = ccert_install_cert_blob(blob, 2);
  return result != 0 || stored(world, kSlot2, blob, world.blob.size()) ? result : kWrong;
}

long loaded_blob(World &) {
  const int result = ccert_init();
  unsigned char *data = nullptr;
  std::uint32_t length = 0;
  const bool loaded = ccert_get_client_cert(&data, &length) == 0 && length == 11;
  unsigned char *key = nullptr;
  if (loaded && ccert_get_client_private_key(&key, &length) != 0) return kWrong;
  const bool right = key == nullptr ? length == 0 || !loaded : std::memcmp(key, "key", length) == 0;
  std::free(key);
  ccert_deinit();
  return (result == 0) == loaded && right ? result : kWrong;
}

TEST(Faults, Manufacturing) {
  inject({
      {"info record", {0, -1}, record},
      {"start-up", {0}, start_up},
      {"calibration", {0, -1}, calibration},
      {"installed blob", {0, -1}, installed_blob},
      {"loaded blob", {0, -1, CCERT_NO_MEMORY}, loaded_blob},
  });
}

// The calls on shared memory are answered: a segment of the test's own. Counts the failures.
long segment(World &world) {
  static char memory[NVRAM_SEGMENT_SIZE];
  for (const char *call : {"ftok", "shmget", "shmdt", "shmctl"})
    world.system.answer(call, 7, 0, kAlways);
  world.system.answer("shmat", reinterpret_cast<long>(memory), 0, kAlways);
  long failures = nvram_init("path", sizeof memory) != 7;
  nvram_shmid = nvram_id("path");
  nvram_hash = nvram_attach("path");
  failures += (nvram_shmid < 0) + (nvram_hash != memory);
  failures += nvram_set("name", "value") != 0;
  const char *value = nvram_get("name");
  failures += value == nullptr || std::strcmp(value, "value") != 0;
  failures += nvram_unset("name") != 0;
  shmid_ds status;
  failures += nvram_stat(&status) < 0;
  failures += nvram_detach(memory) < 0;
  failures += nvram_exit("path") < 0;
  nvram_shmid = -1;
  nvram_hash = nullptr;
  return failures;
}

TEST(Faults, Segment) {
  // Without an identifier or an address, three or four of the steps fail together.
  inject({{"segment", {0, 1, 2, 3, 4}, segment}});
}

}  // namespace
}  // namespace talvera::test
