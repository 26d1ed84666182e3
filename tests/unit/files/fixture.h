// A directory with files and a database, and sets as text.
#pragma once

#include <cstring>
#include <string>

#include "support/system_double.h"
#include "talvera/of.h"

namespace talvera::test {

inline constexpr char kDatabase[] = ".order";

inline int not_the_database(const char *name) {
  return std::strcmp(name, kDatabase) != 0 ? -2 : 0;
}

// "order:enable:flags:name" of each item, in the order of the array.
inline Texts items(const of_files_info *set) {
  Texts result;
  for (int i = 0; set != nullptr && i < set->count; ++i) {
    const of_file_info &item = set->items[i];
    char text[80];
    std::snprintf(text, sizeof text, "%d:%d:%x:%s", item.order, item.enable, item.flags, item.name);
    result.emplace_back(text);
  }
  return result;
}

// The same of a set that is freed.
inline Texts taken(of_files_info *set) {
  const Texts result = items(set);
  of_free_files_info(&set);
  return result;
}

// A photo folder.
class Folder : public TempDir {
 public:
  explicit Folder(const Texts &files = {}) {
    for (const std::string &name : files)
      write(name, "");
  }
  [[nodiscard]] const char *c_str() const { return path().c_str(); }
  [[nodiscard]] std::string database() const { return read_file(*this / kDatabase); }
  int sync() const { return of_sync_dbfile(not_the_database, c_str(), kDatabase); }
  // The set of the directory's files; of a database, which is not made up. Null when there is none.
  [[nodiscard]] of_files_info *list(of_filter filter = not_the_database) const {
    of_files_info *set = nullptr;
    return of_init_files_info(&set, filter, c_str()) == 0 ? set : nullptr;
  }
  [[nodiscard]] of_files_info *load(const char *name = kDatabase) const {
    of_files_info *set = nullptr;
    return of_deserialize(&set, nullptr, c_str(), name, 0) == 0 ? set : nullptr;
  }
};

}  // namespace talvera::test
