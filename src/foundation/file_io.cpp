// Whole-file reading and exact-length transfers.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>

#include "internal/fail.h"
#include "internal/format.h"
#include "internal/owners.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

// Reads or writes `length` bytes, or fewer if a call returns 0, as read() does at end of file.
// Retries after EINTR.
[[gnu::noinline]] int transfer_fully(int fd, unsigned char *bytes, unsigned int length,
                                     bool writing) {
  unsigned int left = length;
  while (left > 0) {
    const ssize_t moved = writing ? ::write(fd, bytes, left) : ::read(fd, bytes, left);
    if (moved == 0) break;
    if (moved > 0) {
      bytes += moved;
      left -= static_cast<unsigned int>(moved);
    } else if (errno != EINTR) {
      return -1;
    }
  }
  return static_cast<int>(length - left);
}

// Reads exactly `size` bytes. Retries at an early end of file, because another process may be
// rewriting the file.
bool read_whole(int fd, unsigned char *buffer, unsigned int size) {
  for (unsigned int done = 0; done < size;) {
    const int got = uf_full_read(fd, buffer + done, size - done);
    if (got < 0) return false;
    done += static_cast<unsigned int>(got);
  }
  return true;
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int uf_open(const char *directory, const char *name) {
  char path[talvera::kJoinedPathSize];
  std::snprintf(path, sizeof path, "%s/%s", directory, name);
  return open(path, O_RDONLY);
}

extern "C" long uf_fsize(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 ? static_cast<long>(status.st_size) : 0;
}

extern "C" int uf_readall(const char *directory, const char *name, unsigned char **data,
                          unsigned int *length) {
  *data = nullptr;
  *length = 0;
  const talvera::UniqueFd file(uf_open(directory, name));
  if (file.get() < 1) return file.valid() ? talvera::fail(EBADF) : -1;
  struct stat status;
  if (fstat(file.get(), &status) != 0) return -1;
  if (status.st_size < 1) return talvera::fail(ENODATA);
  if (status.st_size > INT_MAX)
    return talvera::fail(EFBIG);  // more than the 32-bit target can hold
  const auto bytes = static_cast<unsigned int>(status.st_size);
  talvera::MallocPtr<unsigned char> content = talvera::allocate<unsigned char>(bytes);
  if (content == nullptr || !read_whole(file.get(), content.get(), bytes)) return -1;
  *data = content.release();
  *length = bytes;
  return 0;
}

extern "C" int uf_full_read(int fd, void *buf, unsigned int size) {
  return transfer_fully(fd, static_cast<unsigned char *>(buf), size, false);
}

extern "C" int uf_full_write(int fd, const void *data, unsigned int length) {
  auto *bytes = static_cast<unsigned char *>(const_cast<void *>(data));
  return transfer_fully(fd, bytes, length, true);
}
