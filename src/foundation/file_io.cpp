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

// Transfers exactly `length` bytes. `transfer` calls read() or write() given the bytes done so far.
template <typename Transfer>
int transfer_fully(unsigned int length, Transfer transfer) {
  unsigned int done = 0;
  while (done < length) {
    const ssize_t moved = transfer(done);
    if (moved == 0) break;
    if (moved > 0) {
      done += static_cast<unsigned int>(moved);
    } else if (errno != EINTR) {
      return -1;
    }
  }
  return static_cast<int>(done);
}

// Reads exactly `size` bytes. Retries at an early end of file: the file may be being rewritten.
bool read_whole(int fd, unsigned char *buffer, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t got = ::read(fd, buffer + done, size - done);
    if (got >= 0) {
      done += static_cast<std::size_t>(got);
    } else if (errno != EINTR) {
      return false;
    }
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
  const auto bytes = static_cast<std::size_t>(status.st_size);
  talvera::MallocPtr<unsigned char> content = talvera::allocate<unsigned char>(bytes);
  if (content == nullptr || !read_whole(file.get(), content.get(), bytes)) return -1;
  *data = content.release();
  *length = static_cast<unsigned int>(bytes);
  return 0;
}

extern "C" int uf_full_read(int fd, void *buf, unsigned int size) {
  auto *bytes = static_cast<unsigned char *>(buf);
  return transfer_fully(size,
                        [=](unsigned int done) { return ::read(fd, bytes + done, size - done); });
}

extern "C" int uf_full_write(int fd, const void *data, unsigned int length) {
  const auto *bytes = static_cast<const unsigned char *>(data);
  return transfer_fully(
      length, [=](unsigned int done) { return ::write(fd, bytes + done, length - done); });
}
