// The database of ordered files with any content, in memory: read, edited, written and read again.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "talvera/of.h"

namespace {

constexpr char kFolder[] = "/proc/self/fd";

int take_all(const char *) {
  return 1;
}

void edit(of_files_info *set) {
  for (std::int32_t i = 0; i < set->count && i < 50; ++i) {
    of_file_info *item = set->items + i;
    if (std::strlen(item->name) >= OF_NAME_SIZE) std::abort();
    if (of_get_file_info_from_name(set, item->name) == nullptr) std::abort();
    of_get_file_info_from_order(set, item->order);
    of_set_order_for_item(set, item, set->count - i);
    of_set_enable_for_item(item, i & 1);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const int database = memfd_create("database", 0);
  static const std::string name = std::to_string(database);
  if (ftruncate(database, 0) != 0 ||
      pwrite(database, data, size, 0) != static_cast<ssize_t>(size)) {
    std::abort();
  }

  of_files_info *set = nullptr;
  if (of_deserialize(&set, take_all, kFolder, name.c_str(), 0) != 0) return 0;
  edit(set);
  if (of_serialize(set, kFolder, name.c_str()) != 0) std::abort();
  of_free_files_info(&set);
  if (of_deserialize(&set, take_all, kFolder, name.c_str(), 0) == 0) of_free_files_info(&set);
  return 0;
}
