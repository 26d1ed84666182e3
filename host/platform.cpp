// The flash partition and the platform driver of a development machine.
#include "host/platform.h"

#include <fcntl.h>
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace talvera::host {
namespace {

constexpr std::string_view kMountPoint = "/mfg";
constexpr std::string_view kDevice = "/dev/talvera";

int failure(int error) {
  errno = error;
  return -1;
}

std::string hex(const void *data, std::size_t size) {
  std::string text;
  char digits[4];
  for (const auto *byte = static_cast<const unsigned char *>(data); size > 0; ++byte, --size) {
    std::snprintf(digits, sizeof digits, " %02x", *byte);
    text += digits;
  }
  return text;
}

}  // namespace

int Platform::mount(const char *source, const char *target, const char *type, unsigned long flags) {
  if (std::string_view(source) != "mtd:mfg" || target != kMountPoint ||
      std::string_view(type) != "jffs2") {
    return failure(ENODEV);
  }
  if (mounted_) return failure(EBUSY);
  mounted_ = true;
  read_only_ = (flags & MS_RDONLY) != 0;
  journal.push_back(std::string("mount mtd:mfg on /mfg type jffs2 (") + (read_only_ ? "ro" : "rw") +
                    ((flags & MS_NOATIME) ? ",noatime)" : ")"));
  return 0;
}

int Platform::unmount(const char *target) {
  if (target != kMountPoint || !mounted_) return failure(EINVAL);
  mounted_ = false;
  journal.emplace_back("umount /mfg");
  return 0;
}

std::optional<std::string> Platform::resolve(const char *path, int open_flags) {
  if (path == kDevice) return "/dev/null";
  const std::string_view name(path);
  if (flash_.empty() || !name.starts_with(kMountPoint) ||
      name.substr(kMountPoint.size(), 1) != "/") {
    return std::nullopt;
  }
  if (!mounted_) {
    errno = ENOENT;
    return "";
  }
  if (read_only_ && ((open_flags & O_ACCMODE) != O_RDONLY || (open_flags & O_CREAT) != 0)) {
    errno = EROFS;
    return "";
  }
  return flash_ + std::string(name.substr(kMountPoint.size()));
}

int Platform::command(std::uint32_t request, void *argument) {
  auto *transfer = static_cast<tvra_wlcal *>(argument);
  switch (request) {
    case TVRA_INFO_SET:
      identity = *static_cast<const tvra_info *>(argument);
      journal.push_back("driver: identity" + hex(&*identity, sizeof *identity));
      return 0;
    case TVRA_WLCAL_SET:
      if (transfer->buffer == nullptr) {
        calibration.reset();
        journal.emplace_back("driver: calibration dropped");
        return 0;
      }
      if (transfer->length != TVRA_WLCAL_SIZE) return failure(EINVAL);
      calibration.emplace(static_cast<std::uint8_t *>(transfer->buffer),
                          static_cast<std::uint8_t *>(transfer->buffer) + transfer->length);
      journal.push_back("driver: calibration of " + std::to_string(transfer->length) + " bytes");
      return 0;
    case TVRA_WLCAL_GET:
      if (!calibration) return failure(ENODATA);
      transfer->length =
          static_cast<std::uint32_t>(std::min<std::size_t>(calibration->size(), transfer->length));
      std::copy_n(calibration->begin(), transfer->length,
                  static_cast<std::uint8_t *>(transfer->buffer));
      return 0;
    default:
      return failure(ENOTTY);
  }
}

}  // namespace talvera::host
