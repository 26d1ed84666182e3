// Directory look-ups and the sorted list of a directory's regular files.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <span>

#include "internal/owners.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

int is_regular_file(const dirent *entry) {
  return entry->d_type == DT_REG;
}

// Compares bytes; alphasort() would follow the program's locale.
int compare_names(const dirent **a, const dirent **b) {
  return std::strcmp((*a)->d_name, (*b)->d_name);
}

std::span<dirent *const> entries(dirent *const *list, int count) {
  if (count < 1) return {};
  return {list, static_cast<std::size_t>(count)};
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int dir_exists(const char *path) {
  DIR *directory = opendir(path);
  if (directory == nullptr) return 0;
  closedir(directory);
  return 1;
}

extern "C" int uf_path_exists(const char *path) {
  struct stat status;
  return stat(path, &status) == 0 ? 1 : 0;
}

extern "C" int uf_get_dirent_list(const char *directory, struct dirent ***list) {
  dirent **found = nullptr;
  const int count = scandir(directory, &found, is_regular_file, compare_names);
  if (count < 1) {
    const talvera::MallocPtr<dirent *> unused(found);
    *list = nullptr;
    return count;
  }
  *list = found;
  return count;
}

extern "C" void uf_free_dirent_list(struct dirent ***list, int count) {
  if (list == nullptr || *list == nullptr) return;
  for (dirent *entry : entries(*list, count))
    std::free(entry);
  std::free(*list);
  *list = nullptr;
}

extern "C" int uf_contains_file_by_name(struct dirent *const *list, int count, const char *name) {
  const auto all = entries(list, count);
  return std::ranges::any_of(
             all, [name](const dirent *entry) { return std::strcmp(entry->d_name, name) == 0; })
             ? 1
             : 0;
}

extern "C" int uf_filtered_file_count(struct dirent *const *list, int count,
                                      int (*predicate)(const char *name)) {
  const auto all = entries(list, count);
  return static_cast<int>(std::ranges::count_if(
      all, [predicate](const dirent *entry) { return predicate(entry->d_name) != 0; }));
}
