// The manufacturing file: mounted and opened for one access at a time, read by range, written as a
// whole.
#include "mfg/mfg_file.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

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

int open_fd = -1;  // the open file; the partition is mounted while it is 0 or above

// Closes the manufacturing file at the end of an access, whatever its outcome.
struct CloseAtEnd {
  CloseAtEnd() = default;
  ~CloseAtEnd() { file_close(); }
  CloseAtEnd(const CloseAtEnd &) = delete;
  CloseAtEnd &operator=(const CloseAtEnd &) = delete;
};

bool mount_partition(int flags) {
  const bool read_only = (flags & O_ACCMODE) == O_RDONLY;
  const unsigned long mount_flags = MS_NOATIME | (read_only ? MS_RDONLY : 0);
  if (mount(kPartition, kMountPoint, kFileSystem, mount_flags, nullptr) == 0) return true;
  log_failure("mount");
  return false;
}

// Start of the range, if it lies wholly inside the file.
std::optional<std::uint32_t> range_start(std::int32_t offset, std::uint32_t length) {
  const std::int64_t start = offset < 0 ? std::int64_t{kFileSize} + offset : offset;
  if (start < 0 || start + length > kFileSize) {
    errno = EINVAL;
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(start);
}

bool seek_to(int fd, std::uint32_t offset) {
  return lseek(fd, static_cast<off_t>(offset), SEEK_SET) >= 0;
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
  // Tried even when the mount failed: the partition may be mounted already.
  open_fd = open(kFilePath, flags, kFileMode);
  if (open_fd >= 0) return open_fd;
  const int failure = open_fd;
  log_failure("open");
  if (mounted) {
    const ErrnoKeeper keep;
    umount2(kMountPoint, MNT_DETACH);
  }
  return failure;
}

// Deliberately unmounts even what somebody else had mounted: after an access "/mfg" is unmounted.
void file_close() {
  if (open_fd < 0) return;
  const ErrnoKeeper keep;
  close(open_fd);
  umount2(kMountPoint, MNT_DETACH);
  open_fd = -1;
}

int range_read(void *buffer, std::int32_t offset, std::uint32_t length) {
  const int fd = file_open(O_RDONLY);
  if (fd < 0) return -1;
  const CloseAtEnd closer;
  const auto start = range_start(offset, length);
  if (!start) return -1;
  if (*start != 0 && !seek_to(fd, *start)) return -1;
  return transferred(uf_full_read(fd, buffer, length), length, "read") ? 0 : -1;
}

// The flash file system sees one rewrite of the whole file, even for a one-byte change.
int range_write(const void *data, std::int32_t offset, std::uint32_t length) {
  const int fd = file_open(O_RDWR);
  if (fd < 0) return -1;
  const CloseAtEnd closer;
  const auto start = range_start(offset, length);
  if (!start) return -1;
  if (!seek_to(fd, 0)) return -1;
  const MallocPtr<std::uint8_t> content = allocate<std::uint8_t>(kFileSize);
  if (content == nullptr) return -1;
  const WipeAtEnd no_key_left(content.get(), kFileSize);
  if (!transferred(uf_full_read(fd, content.get(), kFileSize), kFileSize, "read")) return -1;
  std::memcpy(content.get() + *start, data, length);
  if (!seek_to(fd, 0)) return -1;
  return transferred(uf_full_write(fd, content.get(), kFileSize), kFileSize, "write") ? 0 : -1;
}

}  // namespace talvera::mfg
