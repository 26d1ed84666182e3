// Synchronises the saved settings with the files now in the directory.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "files/apply_moves.h"
#include "files/set.h"
#include "internal/owners.h"

namespace talvera::files {
namespace {

// Equal names compare by position.
int compare_names(const void *left, const void *right) {
  const auto *a = *static_cast<const of_file_info *const *>(left);
  const auto *b = *static_cast<const of_file_info *const *>(right);
  const int order = std::strcmp(a->name, b->name);
  return order != 0 ? order : (a > b) - (a < b);
}

// Applies the saved settings to the current items, which are sorted by name. False when memory runs
// out.
bool restore(const of_files_info &saved, of_files_info &current) {
  const auto block = allocate<const of_file_info *>(static_cast<std::size_t>(saved.count));
  if (block == nullptr) return false;
  const of_file_info **next = block.get();
  const of_file_info **const end = next + saved.count;
  const of_file_info *saved_item = saved.items;
  for (const of_file_info **entry = next; entry != end; ++entry)
    *entry = saved_item++;
  // qsort() of the C library: several times smaller than an inlined std::sort().
  std::qsort(next, static_cast<std::size_t>(saved.count), sizeof(void *), compare_names);

  of_file_info *item = current.items;
  for (std::int32_t left = current.count; left > 0; --left, ++item) {
    item->order = kToTop;
    int difference = 1;
    while (next != end && (difference = std::strcmp((*next)->name, item->name)) < 0)
      ++next;
    if (next == end || difference != 0) continue;
    const of_file_info &known = **next;
    item->enable = known.enable;
    item->flags = known.flags;
    item->order = known.order >= 1 && known.order <= current.count ? known.order : kStays;
  }
  return apply_moves(current);
}

}  // namespace
}  // namespace talvera::files

using namespace talvera::files;

extern "C" int of_sync_dbfile(of_filter filter, const char *dir, const char *dbname) {
  of_files_info *built;
  if (of_init_files_info(&built, filter, dir) != 0) return -1;
  const SetPtr current(built);
  of_files_info *read;
  bool restored = true;
  if (of_deserialize(&read, filter, dir, dbname, 0) == 0) {
    const SetPtr saved(read);
    restored = restore(*saved, *current);
  }
  return restored ? of_serialize(current.get(), dir, dbname) : -1;
}
