// Faults in stored data: ordered files, traceroute results, manufacturing data, the certificate
// blob and the configuration store.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "faults/inject.h"
#include "talvera/ccert.h"
#include "talvera/ipdiag.h"
#include "talvera/mfg.h"
#include "talvera/nvram.h"
#include "talvera/of.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

constexpr int kSize = sizeof Fixture::kText - 1;

std::string content(const std::string &path) {
  return bypass([&] { return read_file(path); });
}

// How many of three existence checks succeed.
long questions(Fixture &fixture) {
  return dir_exists(fixture.directory) + uf_path_exists(fixture.a.c_str()) +
         (file_access("%s", R_OK, fixture.a.c_str()) == 0);
}

long whole_file(Fixture &fixture) {
  unsigned char *buffer = nullptr;
  unsigned length = 0;
  const int result = uf_readall(fixture.directory, "a", &buffer, &length);
  const bool read =
      buffer != nullptr && length == kSize && std::memcmp(buffer, Fixture::kText, kSize) == 0;
  std::free(buffer);
  return (result == 0) == read && (read || length == 0) ? result : kWrong;
}

long mapped_file(Fixture &fixture) {
  filemap file;
  const int result = filemap_open(fixture.a.c_str(), &file, O_RDONLY, PROT_READ);
  if (result != 0) return file.fd == -1 && file.map == MAP_FAILED ? result : kWrong;
  filemap_close(&file);
  return file_diff(fixture.a.c_str(), fixture.b.c_str());
}

long link_target(Fixture &fixture) {
  bypass([&] { return symlink(fixture.a.c_str(), fixture.fresh.c_str()); });
  const int result = file_delete(fixture.fresh.c_str());
  const bool gone = bypass([&] { return access(fixture.a.c_str(), F_OK); }) != 0;
  return (result == 0) == gone ? result : kWrong;
}

long written_text(Fixture &fixture) {
  return file_create_write("%s", Fixture::kText, fixture.fresh.c_str());
}

// An unreadable database counts as missing; later allocation failures must not lose settings.
long synchronised(Fixture &fixture) {
  const auto is_listed = [](const char *name) { return name[1] == '\0' ? 1 : 0; };  // "a" and "b"
  const int result = of_sync_dbfile(is_listed, fixture.directory, ".order");
  const bool memory = errno == ENOMEM;
  const std::string now = content(fixture.order);
  if (result == 0) return now == Fixture::kOrder || now == "#1:2\n1:1:0:a\n2:1:0:b\n" ? 0 : kWrong;
  return memory && now != Fixture::kOrder ? kWrong : result;
}

long traceroute(Fixture &) {
  tr_hop rows[2] = {};
  std::int32_t value = 0;
  const int hops = ipdiag_tr_formatout("test", rows, 2, &value);
  if (hops == 0 && (value != 1 || std::strcmp(rows[0].times, "1.5") != 0)) return kWrong;
  return std::min({hops, ipdiag_tr_resptime("test", &value), ipdiag_tr_err("test", &value)});
}

long attribute(Fixture &fixture) {
  char text[kSize + 1] = "";
  const int length = sysfs_get_attr("%s", text, kSize, fixture.a.c_str());
  return sysfs_set_attr("%s", "1", fixture.a.c_str()) == 0 ? length : -1;
}

TEST(Faults, Files) {
  inject({{"questions", {3, 2}, questions},
          {"whole file", {0, -1}, whole_file},
          {"mapped file", {0, 1, -1}, mapped_file},
          {"link target", {0, -1, 40960}, link_target},
          {"written text", {kSize, 1, 0, -1}, written_text},
          {"database", {0, -1}, synchronised},
          {"traceroute", {0, -1}, traceroute},
          {"attribute", {kSize, -1}, attribute}});
}

// Whether the manufacturing file has its full size and contains these bytes.
bool stored(const Fixture &fixture, std::size_t offset, const void *data, std::size_t size) {
  const std::string file = content(fixture.mfg_file);
  return file.size() == 0x20000 && std::memcmp(file.data() + offset, data, size) == 0;
}

long record(Fixture &fixture) {
  std::uint8_t bytes[MFG_INFO_SIZE];
  mfg_info_read(bytes);
  bytes[MFG_INFO_SERIAL] = '7';
  const int result = mfg_info_write(bytes);
  return result != 0 || stored(fixture, 0x1FF00, bytes, sizeof bytes) ? result : kWrong;
}

// Failures that interrupt initialisation are logged.
long start_up(Fixture &fixture) {
  bypass([&] { return truncate(fixture.mfg_file.c_str(), 0); });
  mfg_init();
  return stored(fixture, 0, "", 0) || !fixture.system.log.empty() ? 0 : kWrong;
}

// The result is that of the last of two writes, so success does not imply that everything is
// stored.
long calibration(Fixture &) {
  const unsigned char data[] = "calibration";
  unsigned char read[sizeof data];
  int result = mfg_wlcal_set(data, 5, sizeof data);
  if (result == 0) result = mfg_wlcal_get(read, 5, sizeof read);
  mfg_wlcal_clear();
  return result;
}

long installed_blob(Fixture &fixture) {
  const auto *blob = reinterpret_cast<const unsigned char *>(fixture.blob.data());
  const int result = ccert_install_cert_blob(blob, 2);
  return result != 0 || stored(fixture, 0x18000, blob, fixture.blob.size()) ? result : kWrong;
}

long loaded_blob(Fixture &) {
  const int result = ccert_init();
  unsigned char *data = nullptr, *key = nullptr;
  std::uint32_t length = 0;
  const bool loaded = ccert_get_client_cert(&data, &length) == 0 && length == 11;
  if (loaded && ccert_get_client_private_key(&key, &length) != 0) return kWrong;
  const bool right = key == nullptr ? length == 0 || !loaded : std::memcmp(key, "key", length) == 0;
  std::free(key);
  ccert_deinit();
  return (result == 0) == loaded && right ? result : kWrong;
}

TEST(Faults, Manufacturing) {
  inject({{"info record", {0, -1}, record},
          {"start-up", {0}, start_up},
          {"calibration", {0, -1}, calibration},
          {"installed blob", {0, -1}, installed_blob},
          {"loaded blob", {0, -1, CCERT_NO_MEMORY}, loaded_blob}});
}

// Puts a buffer in place of the shared segment. Counts the failures.
long segment(Fixture &fixture) {
  static char memory[NVRAM_SEGMENT_SIZE];
  for (const char *call : {"ftok", "shmget", "shmdt", "shmctl"})
    fixture.system.answer(call, 7).always();
  fixture.system.answer("shmat", reinterpret_cast<long>(memory)).always();
  long failures = nvram_init("path", sizeof memory) != 7;
  nvram_shmid = nvram_id("path");
  nvram_hash = nvram_attach("path");
  failures += (nvram_shmid < 0) + (nvram_hash != memory);
  failures += nvram_set("name", "value") != 0;
  const char *value = nvram_get("name");
  failures += value == nullptr || std::strcmp(value, "value") != 0;
  shmid_ds status;
  for (const int result :
       {nvram_unset("name"), nvram_stat(&status), nvram_detach(memory), nvram_exit("path")})
    failures += result < 0;
  nvram_shmid = -1;
  nvram_hash = nullptr;
  return failures;
}

TEST(Faults, Segment) {
  // Without an identifier or an address, three or four steps fail together.
  inject({{"segment", {0, 1, 2, 3, 4}, segment}});
}

}  // namespace
}  // namespace talvera::test
