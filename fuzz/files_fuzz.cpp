// The database of ordered files with arbitrary content: read, modified, written and read again.
#include "fuzz/fuzz.h"
#include "talvera/of.h"

static void edit(of_files_info *set) {
  for (std::int32_t i = 0; i < set->count && i < 50; ++i) {
    of_file_info *item = set->items + i;
    require(std::strlen(item->name) < OF_NAME_SIZE);
    require(of_get_file_info_from_name(set, item->name) != nullptr);
    of_get_file_info_from_order(set, item->order);
    of_set_order_for_item(set, item, set->count - i);
    of_set_enable_for_item(item, i & 1);
  }
}

FUZZ(input) {
  static const MemoryFile database;
  database.fill(input.data, input.size);
  const char *const name = database.name.c_str();
  of_files_info *set = nullptr;
  const auto take_all = [](const char *) { return 1; };
  if (of_deserialize(&set, take_all, "/proc/self/fd", name, 0) != 0) return;
  edit(set);
  require(of_serialize(set, "/proc/self/fd", name) == 0);
  of_free_files_info(&set);
  if (of_deserialize(&set, take_all, "/proc/self/fd", name, 0) == 0) of_free_files_info(&set);
}
