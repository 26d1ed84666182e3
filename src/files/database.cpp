// Reading and writing the database file of a set of files.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

#include "files/scanner.h"
#include "files/set.h"
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

// ---- Writing --------------------------------------------------------------------------------

// Maps each order, from 1 to one past the set's count, to the first item that has it, so that
// writing does not search the set for each order.
class OrderIndex {
 public:
  explicit OrderIndex(std::span<const of_file_info> items)
      : size_(items.size() + 2), first_(allocate<const of_file_info *>(size_)) {
    if (first_ == nullptr) return;
    std::fill_n(first_.get(), size_, nullptr);
    for (const of_file_info &item : items) {
      if (item.order < 1 || static_cast<std::size_t>(item.order) >= size_) continue;
      const of_file_info *&first = first_.get()[item.order];
      if (first == nullptr) first = &item;
    }
  }

  [[nodiscard]] bool valid() const { return first_ != nullptr; }
  [[nodiscard]] std::span<const of_file_info *const> entries() const {
    return {first_.get(), size_};
  }

 private:
  std::size_t size_;
  MallocPtr<const of_file_info *> first_;
};

// ---- Reading --------------------------------------------------------------------------------

// A malformed header means an empty set.
void read_header(Scanner &scanner, std::int32_t &version, std::int32_t &count) {
  if (scanner.character('#') && scanner.decimal(version) && scanner.character(':') &&
      scanner.decimal(count)) {
    return;
  }
  version = kVersion;
  count = 0;
}

// Whether the file is long enough for `count` items: protects the allocation from a bogus header.
bool can_hold(std::FILE *file, std::int32_t count) {
  constexpr off_t kShortestItem = sizeof "1:1:0:a\n" - 1;
  struct stat status;
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return true;
  return count <= status.st_size / kShortestItem;
}

bool read_item(Scanner &scanner, of_file_info &item) {
  item = {};
  return scanner.decimal(item.order) && scanner.character(':') && scanner.decimal(item.enable) &&
         scanner.character(':') && scanner.hexadecimal(item.flags) && scanner.character(':') &&
         scanner.word(item.name, sizeof item.name);
}

of_files_info *read_set(std::FILE *file) {
  Scanner scanner(file);
  std::int32_t version = kVersion;
  std::int32_t count = 0;
  read_header(scanner, version, count);
  if (count < 0 || (count > 0 && version != kVersion) || !can_hold(file, count)) {
    errno = EINVAL;
    return nullptr;
  }
  SetPtr set(allocate_set(static_cast<std::size_t>(count)));
  if (set == nullptr) return nullptr;
  set->version = version;
  for (of_file_info &item : items(*set)) {
    if (read_item(scanner, item)) continue;
    if (std::ferror(file) == 0) errno = EINVAL;
    return nullptr;
  }
  return set.release();
}

}  // namespace
}  // namespace talvera::files

using namespace talvera::files;

extern "C" int of_serialize(const struct of_files_info *set, const char *dir, const char *dbname) {
  // Built before the file is truncated, so that running out of memory loses no settings.
  const OrderIndex index(items(*set));
  if (!index.valid()) return -1;
  talvera::FilePtr file(open_database(dir, dbname, "w+"));
  if (file == nullptr) return -1;

  std::fprintf(file.get(), "#%d:%d\n", kVersion, set->count);
  for (const of_file_info *item : index.entries()) {
    if (item == nullptr) continue;
    std::fprintf(file.get(), "%d:%d:%x:%s\n", item->order, item->enable, item->flags, item->name);
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
  of_files_info *saved = read_set(file.get());
  if (saved == nullptr) return -1;
  *set = saved;
  return 0;
}
