// Sets of files: creation from a directory, lookups, changes of order, enable switch and flags.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "files/set.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "talvera/utils.h"

static_assert(sizeof(of_file_info) == 44 && offsetof(of_file_info, enable) == 32);
static_assert(offsetof(of_files_info, items) == 8);

namespace talvera::files {
namespace {

// Owns the list of a directory's regular files.
class FileList {
 public:
  explicit FileList(const char *dir) : count_(uf_get_dirent_list(dir, &entries_)) {}
  FileList(const FileList &) = delete;
  FileList &operator=(const FileList &) = delete;
  ~FileList() {
    const ErrnoSaver saver;
    uf_free_dirent_list(&entries_, count_);
  }

  [[nodiscard]] bool valid() const { return count_ >= 0; }
  [[nodiscard]] int accepted_by(of_filter filter) const {
    return uf_filtered_file_count(entries_, count_, filter);
  }
  [[nodiscard]] std::span<dirent *const> entries() const {
    if (count_ < 1) return {};
    return {entries_, static_cast<std::size_t>(count_)};
  }

 private:
  dirent **entries_ = nullptr;
  int count_;
};

void fill_item(of_file_info &item, const char *name, std::int32_t order) {
  item = {};
  std::memcpy(item.name, name, strnlen(name, OF_NAME_SIZE - 1));
  item.enable = 1;
  item.order = order;
}

}  // namespace

of_files_info *allocate_set(std::size_t count) {
  if (count > (SIZE_MAX - sizeof(of_files_info)) / sizeof(of_file_info)) {
    errno = ENOMEM;
    return nullptr;
  }
  const std::size_t size = sizeof(of_files_info) + count * sizeof(of_file_info);
  auto *set = static_cast<of_files_info *>(std::malloc(size));
  if (set == nullptr) return nullptr;
  set->version = kVersion;
  set->count = static_cast<std::int32_t>(count);
  set->items = reinterpret_cast<of_file_info *>(set + 1);
  return set;
}

}  // namespace talvera::files

using namespace talvera::files;

extern "C" int of_init_files_info(struct of_files_info **set, of_filter filter, const char *dir) {
  *set = nullptr;
  if (filter == nullptr) return talvera::fail(EINVAL);
  const FileList list(dir);
  if (!list.valid()) return -1;
  const int accepted = list.accepted_by(filter);
  of_files_info *built = allocate_set(static_cast<std::size_t>(accepted));
  if (built == nullptr) return -1;

  // Bounded by the allocation, in case the caller's filter accepts more names than the first time.
  std::int32_t filled = 0;
  for (const dirent *entry : list.entries()) {
    if (filled == accepted) break;
    if (filter(entry->d_name) == 0) continue;
    fill_item(built->items[filled], entry->d_name, filled + 1);
    ++filled;
  }
  built->count = filled;
  *set = built;
  return 0;
}

extern "C" void of_free_files_info(struct of_files_info **set) {
  if (set == nullptr) return;
  talvera::free_block(*set);
  *set = nullptr;
}

extern "C" struct of_file_info *of_get_file_info_from_name(struct of_files_info *set,
                                                           const char *name) {
  for (of_file_info &item : items(*set)) {
    if (std::strcmp(item.name, name) == 0) return &item;
  }
  return nullptr;
}

extern "C" struct of_file_info *of_get_file_info_from_order(struct of_files_info *set,
                                                            int32_t order) {
  for (of_file_info &item : items(*set)) {
    if (item.order == order) return &item;
  }
  return nullptr;
}

extern "C" int of_set_order_for_item(struct of_files_info *set, struct of_file_info *item,
                                     int32_t new_order) {
  if (new_order < 1 || new_order > set->count) return talvera::fail(EINVAL);
  const std::int32_t old_order = item->order;
  for (of_file_info &other : items(*set)) {
    if (new_order <= other.order && other.order < old_order) {
      ++other.order;
    } else if (old_order < other.order && other.order <= new_order) {
      --other.order;
    }
  }
  item->order = new_order;
  return 0;
}

extern "C" int of_set_enable_for_item(struct of_file_info *item, int enable) {
  item->enable = enable != 0 ? 1 : 0;
  return 0;
}

extern "C" int of_set_flags_for_item(struct of_file_info *item, uint32_t flags) {
  item->flags = flags;
  return 0;
}
