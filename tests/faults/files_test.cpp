// Faults in the file and system helpers, the database of ordered files and traceroute's results.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "faults/inject.h"
#include "talvera/ipdiag.h"
#include "talvera/of.h"
#include "talvera/time.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

constexpr int kSize = sizeof kText - 1;

// How many of three questions about what is there get a yes.
long questions(World &world) {
  return dir_exists(world.directory()) + uf_path_exists(world.a.c_str()) +
         (file_access("%s", R_OK, world.a.c_str()) == 0);
}

long whole_file(World &world) {
  unsigned char *buffer = nullptr;
  unsigned length = 0;
  const int result = uf_readall(world.directory(), "a", &buffer, &length);
  const bool read = buffer != nullptr && length == kSize && std::memcmp(buffer, kText, kSize) == 0;
  std::free(buffer);
  return (result == 0) == read && (read || length == 0) ? result : kWrong;
}

long mapped_file(World &world) {
  filemap file;
  const int result = filemap_open(world.a.c_str(), &file, O_RDONLY, PROT_READ);
  if (result != 0) return file.fd == -1 && file.map == MAP_FAILED ? result : kWrong;
  filemap_close(&file);
  return file_diff(world.a.c_str(), world.b.c_str());
}

long link_target(World &world) {
  World::quietly([&] { return symlink(world.a.c_str(), world.fresh.c_str()); });
  const int result = file_delete(world.fresh.c_str());
  const bool gone = World::quietly([&] { return access(world.a.c_str(), F_OK); }) != 0;
  return (result == 0) == gone ? result : kWrong;
}

// A database that cannot be read counts as none; a lack of memory later on costs no settings.
long synchronised(World &world) {
  const auto is_listed = [](const char *name) { return name[1] == '\0' ? 1 : 0; };  // "a" and "b"
  const int result = of_sync_dbfile(is_listed, world.directory(), ".order");
  const bool memory = errno == ENOMEM;
  const std::string now = World::content(world.order);
  if (result == 0) return now == kOrder || now == "#1:2\n1:1:0:a\n2:1:0:b\n" ? 0 : kWrong;
  return memory && now != kOrder ? kWrong : result;
}

long traceroute(World &) {
  tr_hop rows[2] = {};
  std::int32_t value = 0;
  const int hops = ipdiag_tr_formatout("test", rows, 2, &value);
  if (hops == 0 && (value != 1 || std::strcmp(rows[0].times, "1.5") != 0)) return kWrong;
  return std::min({hops, ipdiag_tr_resptime("test", &value), ipdiag_tr_err("test", &value)});
}

long attribute(World &world) {
  char text[kSize + 1] = "";
  const int length = sysfs_get_attr("%s", text, kSize, world.a.c_str());
  return sysfs_set_attr("%s", "1", world.a.c_str()) == 0 ? length : -1;
}

long system_helpers(World &world) {
  char bytes[4];
  if (urand_read(bytes, sizeof bytes) != 0) return -1;
  const int result = sdb_system("true");
  world.system.answer("system", 0, 0, kAlways);
  if (pfs_forget_files("7") != 0) return kWrong;
  return get_sysuptime() > 0 ? result : -1;
}

TEST(Faults, Files) {
  inject({
      {"questions", {3, 2}, questions},
      {"whole file", {0, -1}, whole_file},
      {"mapped file", {0, 1, -1}, mapped_file},
      {"link target", {0, -1, 40960}, link_target},
      {"written text",
       {kSize, 1, 0, -1},
       [](World &world) -> long { return file_create_write("%s", kText, world.fresh.c_str()); }},
      {"database", {0, -1}, synchronised},
      {"traceroute", {0, -1}, traceroute},
      {"attribute", {kSize, -1}, attribute},
      {"system helpers", {0, -1, EINTR, EIO}, system_helpers},
  });
}

}  // namespace
}  // namespace talvera::test
