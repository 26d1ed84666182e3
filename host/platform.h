// The gateway's platform on a development machine: the flash partition "mtd:mfg", kept in an
// ordinary directory, and the driver of "/dev/talvera".
//
// An interposer (the preloadable module, or the unit tests' system double) catches the system calls
// and asks this model first. Nothing is really mounted: paths below a mounted "/mfg" are redirected
// to the directory, so that no privilege is needed and emulation works.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "talvera/mfg.h"

namespace talvera::host {

class Platform {
 public:
  // `flash_directory` holds the partition's files; when it is empty there is only the driver.
  explicit Platform(std::string flash_directory) : flash_(std::move(flash_directory)) {}

  // Each call below returns the result of a system call, with errno set on failure.

  // Mounts the partition; rejects any other source and a second mount, like the kernel.
  int mount(const char *source, const char *target, const char *type, unsigned long flags);
  int unmount(const char *target);
  // Runs a command of the driver on a descriptor of its device.
  int command(std::uint32_t request, void *argument);

  // Redirects a path of the platform: below the mount point, or the device. The optional is empty
  // for any other path; for an open that must fail, errno is set and the text is empty.
  std::optional<std::string> resolve(const char *path, int open_flags);

  [[nodiscard]] bool mounted() const { return mounted_; }
  [[nodiscard]] const std::string &flash_directory() const { return flash_; }

  // What the driver has received.
  std::optional<tvra_info> identity;
  std::optional<std::vector<std::uint8_t>> calibration;

  // Journal of mounts and driver commands, one line each.
  std::vector<std::string> journal;

 private:
  std::string flash_;
  bool mounted_ = false;
  bool read_only_ = false;
};

}  // namespace talvera::host
