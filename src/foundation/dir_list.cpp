// Directory lookups and the sorted list of a directory's regular files.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

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
    std::free(found);
    found = nullptr;
  }
  *list = found;
  return count;
}

extern "C" void uf_free_dirent_list(struct dirent ***list, int count) {
  if (list == nullptr || *list == nullptr) return;
  for (int i = 0; i < count; ++i)
    std::free((*list)[i]);
  std::free(*list);
  *list = nullptr;
}

extern "C" int uf_contains_file_by_name(struct dirent *const *list, int count, const char *name) {
  for (int i = 0; i < count; ++i) {
    if (std::strcmp(list[i]->d_name, name) == 0) return 1;
  }
  return 0;
}

extern "C" int uf_filtered_file_count(struct dirent *const *list, int count,
                                      int (*predicate)(const char *name)) {
  int matches = 0;
  for (int i = 0; i < count; ++i)
    matches += predicate(list[i]->d_name) != 0 ? 1 : 0;
  return matches;
}
