// Range access to the manufacturing file. The partition is mounted exactly while the file is open,
// and no range access returns with the file open.
#pragma once

#include <cstdint>

namespace talvera::mfg {

inline constexpr std::int32_t kFileSize = 0x20000;  // fixed, whatever the file's own size is

// Areas of the file, by offset from its start.
inline constexpr std::int32_t kCertSlot1Offset = kFileSize - 16384;
inline constexpr std::int32_t kCertSlot2Offset = kFileSize - 32768;
inline constexpr std::int32_t kWlcalOffset = kFileSize - 2048;
inline constexpr std::int32_t kInfoOffset = -256;  // counted back from the end

// Mounts the partition (read-only for O_RDONLY) and opens the file, creating it with mode 0600 if
// `flags` ask for that. Returns the descriptor, or a negative value with nothing left mounted.
int file_open(int flags);

// Closes the file and unmounts the partition, keeping errno.
void file_close();

// Both return 0, or -1 with errno set; a range that is not wholly inside the file gives EINVAL.
// Negative offsets count back from the end. A write rewrites the whole file.
int range_read(void *buffer, std::int32_t offset, std::uint32_t length);
int range_write(const void *data, std::int32_t offset, std::uint32_t length);

// Says whether all bytes were transferred, and logs the failure if not. An early end is no system
// error of its own: it is reported as EIO.
bool transferred(int done, std::uint32_t length, const char *operation);

}  // namespace talvera::mfg
