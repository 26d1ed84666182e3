// The manufacturing file: mounted and opened for each access, read by range, written as a whole.
#include "mfg/mfg_file.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "internal/fail.h"
#include "internal/owners.h"
#include "internal/wipe.h"
#include "mfg/log.h"
#include "talvera/utils.h"

namespace talvera::mfg {
namespace {

constexpr char kPartition[] = "mtd:mfg";
constexpr char kMountPoint[] = "/mfg";
constexpr char kFileSystem[] = "jffs2";
constexpr char kFilePath[] = "/mfg/mfg.dat";
constexpr mode_t kFileMode = 0600;

// Closes the manufacturing file at the end of its scope.
class FileCloser {
 public:
  explicit FileCloser(int fd) : fd_(fd) {}
  [[gnu::always_inline]] ~FileCloser() { file_close(fd_); }
  FileCloser(const FileCloser &) = delete;
  FileCloser &operator=(const FileCloser &) = delete;

 private:
  int fd_;
};

// Opens the file for access to a range, whose offset must be inside the file, and seeks to
// `position`. Returns the descriptor, or -1 with errno set; errno is EINVAL if the range ends past
// the end of the file.
int open_at(int flags, std::uint32_t position, std::uint32_t offset, std::uint32_t length) {
  const int fd = file_open(flags);
  if (fd < 0) return -1;
  const bool inside = length <= kFileSize - offset;
  const off_t reached = inside ? lseek(fd, static_cast<off_t>(position), SEEK_SET) : fail(EINVAL);
  if (reached >= 0) return fd;
  file_close(fd);
  return -1;
}

bool read_all(int fd, void *buffer, std::uint32_t length) {
  return transferred(uf_full_read(fd, buffer, length), length, "read");
}

}  // namespace

// Not inlined, for size.
[[gnu::noinline]] bool transferred(int done, std::uint32_t length, const char *operation) {
  if (static_cast<std::uint32_t>(done) == length) return true;
  if (done >= 0) errno = EIO;
  log_failure(operation);
  return false;
}

int file_open(int flags) {
  const bool read_only = (flags & O_ACCMODE) == O_RDONLY;
  const unsigned long mount_flags = MS_NOATIME | (read_only ? MS_RDONLY : 0);
  const bool mounted = mount(kPartition, kMountPoint, kFileSystem, mount_flags, nullptr) == 0;
  if (!mounted) log_failure("mount");
  // Tried even after a failed mount: the partition may already be mounted.
  const int fd = open(kFilePath, flags, kFileMode);
  if (fd >= 0) return fd;
  log_failure("open");
  if (mounted) file_close(fd);
  return fd;
}

// Intentionally unmounts even a partition mounted by someone else: once the file has been open,
// "/mfg" is always unmounted.
void file_close(int fd) {
  const ErrnoSaver saver;
  if (fd >= 0) close(fd);
  umount2(kMountPoint, MNT_DETACH);
}

int range_read(void *buffer, std::uint32_t offset, std::uint32_t length) {
  const int fd = open_at(O_RDONLY, offset, offset, length);
  if (fd < 0) return -1;
  const FileCloser closer(fd);
  return read_all(fd, buffer, length) ? 0 : -1;
}

// Rewrites the whole file even for a one-byte change.
int range_write(const void *data, std::uint32_t offset, std::uint32_t length) {
  const int fd = open_at(O_RDWR, 0, offset, length);
  if (fd < 0) return -1;
  const FileCloser closer(fd);
  const MallocPtr<std::uint8_t> content = allocate<std::uint8_t>(kFileSize);
  if (content == nullptr) return -1;
  const ScopedWipe wipe_keys(content.get(), kFileSize);
  if (!read_all(fd, content.get(), kFileSize)) return -1;
  std::memcpy(content.get() + offset, data, length);
  if (lseek(fd, 0, SEEK_SET) < 0) return -1;
  return transferred(uf_full_write(fd, content.get(), kFileSize), kFileSize, "write") ? 0 : -1;
}

}  // namespace talvera::mfg
