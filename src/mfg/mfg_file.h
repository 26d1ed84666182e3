// Range access to the manufacturing file. The partition is mounted only while the file is open, and
// every range access closes the file before it returns.
#pragma once

#include <cstdint>

namespace talvera::mfg {

inline constexpr std::uint32_t kFileSize = 0x20000;  // fixed, independent of the actual file size

// Areas of the file, by offset from its start.
inline constexpr std::uint32_t kCertSlotSize = 16384;  // slot n starts n slot sizes before the end
inline constexpr std::uint32_t kWlcalOffset = kFileSize - 2048;
inline constexpr std::uint32_t kInfoOffset = kFileSize - 256;

// Mounts the partition (read-only for O_RDONLY) and opens the file; O_CREAT creates it with mode
// 0600. Returns the descriptor, or a negative value after undoing its own mount.
int file_open(int flags);

// Closes the file, unless the descriptor is negative, and unmounts the partition; preserves errno.
void file_close(int fd);

// Both return 0, or -1 with errno set: EINVAL if the range ends past the end of the file. The
// offset must be inside the file. A write rewrites the whole file.
int range_read(void *buffer, std::uint32_t offset, std::uint32_t length);
int range_write(const void *data, std::uint32_t offset, std::uint32_t length);

// Returns whether all bytes were transferred, and logs a failure otherwise. An early end of file,
// which sets no errno, is reported as EIO.
bool transferred(int done, std::uint32_t length, const char *operation);

}  // namespace talvera::mfg
