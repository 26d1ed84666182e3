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

int open_fd = -1;  // the open file, or negative; the partition is mounted while the file is open

// Closes the manufacturing file at the end of its scope.
struct FileCloser {
  FileCloser() = default;
  ~FileCloser() { file_close(); }
  FileCloser(const FileCloser &) = delete;
  FileCloser &operator=(const FileCloser &) = delete;
};

bool mount_partition(int flags) {
  const bool read_only = (flags & O_ACCMODE) == O_RDONLY;
  const unsigned long mount_flags = MS_NOATIME | (read_only ? MS_RDONLY : 0);
  if (mount(kPartition, kMountPoint, kFileSystem, mount_flags, nullptr) == 0) return true;
  log_failure("mount");
  return false;
}

// Start of the range; -1 with errno set unless the whole range is inside the file.
std::int32_t range_start(std::int32_t offset, std::uint32_t length) {
  const std::int32_t start = offset < 0 ? kFileSize + offset : offset;
  const bool inside =
      start >= 0 && start <= kFileSize && length <= static_cast<std::uint32_t>(kFileSize - start);
  return inside ? start : fail(EINVAL);
}

bool seek_to(int fd, std::int32_t offset) {
  return lseek(fd, offset, SEEK_SET) >= 0;
}

bool read_all(int fd, void *buffer, std::uint32_t length) {
  return transferred(uf_full_read(fd, buffer, length), length, "read");
}

}  // namespace

bool transferred(int done, std::uint32_t length, const char *operation) {
  if (done >= 0 && static_cast<std::uint32_t>(done) == length) return true;
  if (done >= 0) errno = EIO;
  log_failure(operation);
  return false;
}

int file_open(int flags) {
  if (open_fd >= 0) return open_fd;
  const bool mounted = mount_partition(flags);
  // Tried even after a failed mount: the partition may already be mounted.
  open_fd = open(kFilePath, flags, kFileMode);
  if (open_fd >= 0) return open_fd;
  const int failure = open_fd;
  log_failure("open");
  if (mounted) {
    const ErrnoSaver saver;
    umount2(kMountPoint, MNT_DETACH);
  }
  return failure;
}

// Intentionally unmounts even a partition mounted by someone else: after an access, "/mfg" is
// always unmounted.
void file_close() {
  if (open_fd < 0) return;
  const ErrnoSaver saver;
  close(open_fd);
  umount2(kMountPoint, MNT_DETACH);
  open_fd = -1;
}

int range_read(void *buffer, std::int32_t offset, std::uint32_t length) {
  const int fd = file_open(O_RDONLY);
  if (fd < 0) return -1;
  const FileCloser closer;
  const std::int32_t start = range_start(offset, length);
  const bool there = start == 0 || (start > 0 && seek_to(fd, start));
  return there && read_all(fd, buffer, length) ? 0 : -1;
}

// Rewrites the whole file even for a one-byte change.
int range_write(const void *data, std::int32_t offset, std::uint32_t length) {
  const int fd = file_open(O_RDWR);
  if (fd < 0) return -1;
  const FileCloser closer;
  const std::int32_t start = range_start(offset, length);
  if (start < 0 || !seek_to(fd, 0)) return -1;
  const MallocPtr<std::uint8_t> content = allocate<std::uint8_t>(kFileSize);
  if (content == nullptr) return -1;
  const ScopedWipe wipe_keys(content.get(), kFileSize);
  if (!read_all(fd, content.get(), kFileSize)) return -1;
  std::memcpy(content.get() + start, data, length);
  if (!seek_to(fd, 0)) return -1;
  return transferred(uf_full_write(fd, content.get(), kFileSize), kFileSize, "write") ? 0 : -1;
}

}  // namespace talvera::mfg
