// Mapped files: the file map record and comparison of two files.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "internal/owners.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

// Maps the record's open file entirely; false if it is empty, too large for the record's 32-bit
// size, or cannot be mapped.
bool map_whole(filemap &file, int protection) {
  struct stat status;
  if (fstat(file.fd, &status) != 0) return false;
  if (status.st_size <= 0 || status.st_size > INT32_MAX) {
    errno = status.st_size > 0 ? EFBIG : ENODATA;
    return false;
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  file.map = mmap(nullptr, size, protection, MAP_SHARED, file.fd, 0);
  if (file.map == MAP_FAILED) return false;
  file.size = static_cast<int32_t>(size);
  return true;
}

// Files are compared in windows that grow from one page to this size: small first windows make an
// early difference cheap, large later ones save mapping calls, and the limit bounds the use of a
// 32-bit address space.
constexpr off_t kLargestWindow = 1 << 20;

enum class Comparison { kSame, kDifferent, kNotMapped };

// Compares `size` bytes from `offset`. MAP_POPULATE is cheaper than a page fault for each page.
Comparison compare(int fd1, int fd2, off_t offset, std::size_t size) {
  constexpr int kFlags = MAP_SHARED | MAP_POPULATE;
  void *first = mmap(nullptr, size, PROT_READ, kFlags, fd1, offset);
  if (first == MAP_FAILED) return Comparison::kNotMapped;
  void *second = mmap(nullptr, size, PROT_READ, kFlags, fd2, offset);
  if (second == MAP_FAILED) {
    const ErrnoSaver saver;
    munmap(first, size);
    return Comparison::kNotMapped;
  }
  const bool same = std::memcmp(first, second, size) == 0;
  munmap(first, size);
  munmap(second, size);
  return same ? Comparison::kSame : Comparison::kDifferent;
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int filemap_open(const char *path, struct filemap *file, int flags, int protection) {
  file->fd = open(path, flags, flags);
  file->path = strdup(path);
  file->map = MAP_FAILED;
  file->size = 0;
  if (file->fd >= 0 && file->path != nullptr && map_whole(*file, protection)) return 0;
  filemap_close(file);
  return -1;
}

extern "C" void filemap_close(struct filemap *file) {
  const talvera::ErrnoSaver saver;
  if (file->map != MAP_FAILED) {
    munmap(file->map, static_cast<std::size_t>(file->size));
    file->map = MAP_FAILED;
    file->size = 0;
  }
  if (file->fd >= 0) {
    close(file->fd);
    file->fd = -1;
  }
  std::free(file->path);
}

extern "C" int file_diff(const char *path1, const char *path2) {
  const talvera::UniqueFd file1(open(path1, O_RDONLY));
  if (!file1.valid()) return 1;
  const talvera::UniqueFd file2(open(path2, O_RDONLY));
  if (!file2.valid()) return 1;

  struct stat status1;
  struct stat status2;
  if (fstat(file1.get(), &status1) != 0 || fstat(file2.get(), &status2) != 0) return 1;
  if (status1.st_size != status2.st_size) return 1;

  const off_t page = getpagesize();
  off_t largest = kLargestWindow;
  off_t window = page;
  for (off_t offset = 0; offset < status1.st_size;) {
    const off_t size = std::min(window, status1.st_size - offset);
    const Comparison result =
        compare(file1.get(), file2.get(), offset, static_cast<std::size_t>(size));
    if (result == Comparison::kNotMapped && size > page) {
      // Address space or locked memory is short: single pages may still fit.
      window = largest = page;
      continue;
    }
    if (result != Comparison::kSame) return 1;
    offset += size;
    window = std::min(2 * window, largest);
  }
  return 0;
}
