// Sets of files: creation from a directory, lookups, changes of order, enable switch and flags.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "files/set.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "talvera/utils.h"

static_assert(sizeof(of_file_info) == 44 && offsetof(of_file_info, enable) == 32);
static_assert(offsetof(of_files_info, items) == 8);

namespace talvera::files {
namespace {

// Owns the list of a directory's regular files; initially empty.
struct FileList {
  FileList() = default;
  FileList(const FileList &) = delete;
  FileList &operator=(const FileList &) = delete;
  ~FileList() {
    const ErrnoSaver saver;
    uf_free_dirent_list(&entries, count);
  }

  dirent **entries = nullptr;
  int count = 0;
};

}  // namespace

of_files_info *allocate_set(std::int32_t count) {
  // One extra item makes room for the header.
  static_assert(sizeof(of_files_info) <= sizeof(of_file_info));
  void *block = std::calloc(static_cast<std::size_t>(count) + 1, sizeof(of_file_info));
  if (block == nullptr) {
    fail(ENOMEM);  // for C libraries whose calloc() does not set errno when the size overflows
    return nullptr;
  }
  auto *set = static_cast<of_files_info *>(block);
  set->version = kVersion;
  set->count = count;
  set->items = reinterpret_cast<of_file_info *>(set + 1);
  return set;
}

}  // namespace talvera::files

using namespace talvera::files;

extern "C" int of_init_files_info(struct of_files_info **set, of_filter filter, const char *dir) {
  *set = nullptr;
  FileList list;
  list.count = filter != nullptr ? uf_get_dirent_list(dir, &list.entries) : talvera::fail(EINVAL);
  if (list.count < 0) return -1;
  const int accepted = uf_filtered_file_count(list.entries, list.count, filter);
  of_files_info *built = allocate_set(accepted);
  if (built == nullptr) return -1;

  // Bounded by the allocation, in case the caller's filter accepts more names than the first time.
  std::int32_t filled = 0;
  of_file_info *item = built->items;
  dirent *const *const end = list.entries + list.count;
  for (dirent *const *entry = list.entries; entry != end && filled != accepted; ++entry) {
    const char *name = (*entry)->d_name;
    if (filter(name) == 0) continue;
    memccpy(item->name, name, '\0', OF_NAME_SIZE - 1);  // the rest stays zero
    item->enable = 1;
    item->order = ++filled;
    ++item;
  }
  built->count = filled;
  *set = built;
  return 0;
}

extern "C" void of_free_files_info(struct of_files_info **set) {
  if (set != nullptr) talvera::free_block(std::exchange(*set, nullptr));
}

extern "C" struct of_file_info *of_get_file_info_from_name(struct of_files_info *set,
                                                           const char *name) {
  of_file_info *item = set->items;
  for (std::int32_t left = set->count; left > 0; --left, ++item) {
    if (std::strcmp(item->name, name) == 0) return item;
  }
  return nullptr;
}

extern "C" struct of_file_info *of_get_file_info_from_order(struct of_files_info *set,
                                                            int32_t order) {
  of_file_info *item = set->items;
  for (std::int32_t left = set->count; left > 0; --left, ++item) {
    if (item->order == order) return item;
  }
  return nullptr;
}

extern "C" int of_set_order_for_item(struct of_files_info *set, struct of_file_info *item,
                                     int32_t new_order) {
  if (new_order < 1 || new_order > set->count) return talvera::fail(EINVAL);
  const std::int32_t old_order = item->order;
  of_file_info *other = set->items;
  for (std::int32_t left = set->count; left > 0; --left, ++other) {
    if (new_order <= other->order && other->order < old_order) {
      ++other->order;
    } else if (old_order < other->order && other->order <= new_order) {
      --other->order;
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
