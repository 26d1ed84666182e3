// Synchronises the saved settings with the files now in the directory.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "files/apply_moves.h"
#include "files/set.h"
#include "internal/owners.h"

namespace talvera::files {
namespace {

// Compares equal names by position, because qsort() is not stable.
int compare_names(const void *left, const void *right) {
  const auto *a = *static_cast<const of_file_info *const *>(left);
  const auto *b = *static_cast<const of_file_info *const *>(right);
  const int order = std::strcmp(a->name, b->name);
  return order != 0 ? order : (a > b) - (a < b);
}

// Applies the saved settings to the current items, which are sorted by name. Returns false when
// memory runs out.
bool restore(const of_files_info &saved, std::span<of_file_info> current) {
  const auto saved_count = static_cast<std::size_t>(saved.count);
  const auto sorted = allocate<const of_file_info *>(saved_count);
  const auto block = allocate<Move>(2 * current.size());
  if (sorted == nullptr || block == nullptr) return false;
  const of_file_info **next = sorted.get();
  const of_file_info **const end = next + saved_count;
  const of_file_info *saved_item = saved.items;
  for (const of_file_info **entry = next; entry != end; ++entry)
    *entry = saved_item++;
  // qsort() is several times smaller than an inlined std::sort().
  std::qsort(next, saved_count, sizeof(void *), compare_names);

  // Known files first move to their saved positions; then each new file moves to the top. New files
  // are collected in the second half of the block.
  const auto count = static_cast<std::int32_t>(current.size());
  Move *const moves = block.get();
  Move *const new_files = moves + count;
  std::size_t known = 0;
  std::size_t added = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    of_file_info &item = current[i];
    int difference = 1;
    while (next != end && (difference = std::strcmp((*next)->name, item.name)) < 0)
      ++next;
    if (next == end || difference != 0) {
      new_files[added++] = {i, 1};
      continue;
    }
    item.enable = (*next)->enable;
    item.flags = (*next)->flags;
    if ((*next)->order >= 1 && (*next)->order <= count) moves[known++] = {i, (*next)->order};
  }
  std::memmove(moves + known, new_files, added * sizeof(Move));
  return apply_moves({moves, known + added}, current);
}

}  // namespace
}  // namespace talvera::files

using namespace talvera::files;

extern "C" int of_sync_dbfile(of_filter filter, const char *dir, const char *dbname) {
  of_files_info *built = nullptr;
  if (of_init_files_info(&built, filter, dir) != 0) return -1;
  const SetPtr current(built);
  of_files_info *read = nullptr;
  if (of_deserialize(&read, filter, dir, dbname, 0) == 0) {
    const SetPtr saved(read);
    const auto count = static_cast<std::size_t>(current->count);
    if (!restore(*saved, {current->items, count})) return -1;
  }
  return of_serialize(current.get(), dir, dbname);
}
