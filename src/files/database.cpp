// Reading and writing the database file of a set of files.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "files/scanner.h"
#include "files/set.h"
#include "internal/fail.h"
#include "internal/format.h"
#include "internal/owners.h"
#include "internal/streams.h"

namespace talvera::files {
namespace {

std::FILE *open_database(const char *dir, const char *dbname, const char *mode) {
  char path[kJoinedPathSize];
  std::snprintf(path, sizeof path, "%s/%s", dir, dbname);
  return std::fopen(path, mode);
}

// Whether the file is long enough for `count` items: protects the allocation from a bogus header.
bool can_hold(std::FILE *file, std::int32_t count) {
  constexpr std::size_t kShortestItem = sizeof "1:1:0:a\n" - 1;
  struct stat status;
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return true;
  return static_cast<std::size_t>(count) <=
         static_cast<std::size_t>(status.st_size) / kShortestItem;
}

bool read_item(Scanner &scanner, of_file_info &item) {
  std::int32_t numbers[3];
  if (!scanner.scan("d:d:x:s", numbers, item.name)) return false;
  item.order = numbers[0];
  item.enable = numbers[1];
  item.flags = static_cast<std::uint32_t>(numbers[2]);
  return true;
}

int read_set(std::FILE *file, of_files_info **result) {
  Scanner scanner(file);
  std::int32_t header[2];
  if (!scanner.scan("#d:d", header)) {  // a malformed header means an empty set
    header[0] = kVersion;
    header[1] = 0;
  }
  const auto [version, count] = header;
  if (count < 0 || (count > 0 && version != kVersion) || !can_hold(file, count)) {
    return fail(EINVAL);
  }
  SetPtr set(allocate_set(count));
  if (set == nullptr) return -1;
  set->version = version;
  of_file_info *item = set->items;
  for (std::int32_t left = count; left > 0; --left, ++item) {
    if (!read_item(scanner, *item)) return std::ferror(file) != 0 ? -1 : fail(EINVAL);
  }
  *result = set.release();
  return 0;
}

}  // namespace
}  // namespace talvera::files

using namespace talvera::files;

extern "C" int of_serialize(const struct of_files_info *set, const char *dir, const char *dbname) {
  // Maps each order from 1 to one past the count to the first item that has it, so that writing
  // need not search the set. Built before the file is truncated, so that running out of memory
  // loses no settings.
  const std::int32_t count = std::max(set->count, 0);
  const std::int32_t orders = count + 1;
  const talvera::MallocPtr<const of_file_info *> index(static_cast<const of_file_info **>(
      std::calloc(static_cast<std::size_t>(orders) + 1, sizeof(void *))));
  if (index == nullptr) return -1;
  for (std::int32_t i = count; i-- > 0;) {
    const of_file_info &item = set->items[i];
    if (item.order >= 1 && item.order <= orders) index.get()[item.order] = &item;
  }
  talvera::FilePtr file(open_database(dir, dbname, "w+"));
  if (file == nullptr) return -1;

  std::fprintf(file.get(), "#%d:%d\n", kVersion, set->count);
  for (std::int32_t order = 1; order <= orders; ++order) {
    const of_file_info *item = index.get()[order];
    if (item == nullptr) continue;
    std::fprintf(file.get(), "%d:%d:%x:%s\n", order, item->enable, item->flags, item->name);
  }
  // Flushed and checked with ferror(): fclose() and fflush() of some C libraries do not report all
  // write errors.
  if (std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0) return -1;
  return std::fclose(file.release()) == 0 ? 0 : -1;
}

extern "C" int of_deserialize(struct of_files_info **set, of_filter filter, const char *dir,
                              const char *dbname, uint8_t create) {
  const talvera::FilePtr file(open_database(dir, dbname, "r"));
  if (file == nullptr) return create != 0 ? of_init_files_info(set, filter, dir) : -1;
  return read_set(file.get(), set);
}
