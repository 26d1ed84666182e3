// Synchronises the saved settings with the files now in the directory.
#include <algorithm>
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

// Saved items sorted by name; equal names stay in database order.
class NameIndex {
 public:
  explicit NameIndex(std::span<const of_file_info> items)
      : sorted_(allocate<const of_file_info *>(items.size())), size_(items.size()) {
    if (sorted_ == nullptr) return;
    const std::span all{sorted_.get(), size_};
    std::ranges::transform(items, all.begin(), [](const of_file_info &item) { return &item; });
    // qsort() of the C library: several times smaller than an inlined std::sort().
    std::qsort(all.data(), all.size(), sizeof(void *), by_name);
  }

  [[nodiscard]] bool valid() const { return sorted_ != nullptr; }
  [[nodiscard]] const of_file_info *find(const char *name) const {
    const std::span all{sorted_.get(), size_};
    const auto found = std::ranges::partition_point(
        all, [name](const of_file_info *item) { return std::strcmp(item->name, name) < 0; });
    return found != all.end() && std::strcmp((*found)->name, name) == 0 ? *found : nullptr;
  }

 private:
  // Equal names compare by position.
  static int by_name(const void *left, const void *right) {
    const auto *a = *static_cast<const of_file_info *const *>(left);
    const auto *b = *static_cast<const of_file_info *const *>(right);
    const int order = std::strcmp(a->name, b->name);
    return order != 0 ? order : (a > b) - (a < b);
  }

  MallocPtr<const of_file_info *> sorted_;
  std::size_t size_;
};

// Applies the saved settings to the current items. False when memory runs out.
bool restore(const of_files_info &saved, std::span<of_file_info> current) {
  const NameIndex index(items(saved));
  const auto count = static_cast<std::int32_t>(current.size());
  const auto block = allocate<Move>(2 * current.size());
  if (!index.valid() || block == nullptr) return false;
  Move *const moves = block.get();
  Move *const new_files = moves + current.size();

  // Known files first move to their saved positions; then each new file moves to the top. New files
  // are collected in the second half of the block.
  std::size_t known = 0;
  std::size_t added = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    of_file_info &item = current[i];
    const of_file_info *match = index.find(item.name);
    if (match == nullptr) {
      new_files[added++] = {i, 1};
      continue;
    }
    item.enable = match->enable;
    item.flags = match->flags;
    if (match->order >= 1 && match->order <= count) moves[known++] = {i, match->order};
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
    if (!restore(*saved, items(*current))) return -1;
  }
  return of_serialize(current.get(), dir, dbname);
}
