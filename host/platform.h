// The gateway's platform on a development machine: the flash partition "mtd:mfg", kept in an
// ordinary directory, and the driver behind "/dev/talvera".
//
// A front (the preloadable module, or the unit tests' system double) catches the system calls and
// asks this model first. Nothing is mounted for real: paths below a mounted "/mfg" are led to the
// directory, so that it works without privilege and under emulation.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "talvera/mfg.h"

namespace talvera::host {

class Platform {
 public:
  // `flash_directory` holds what is on the partition; with an empty one there is the driver alone.
  explicit Platform(std::string flash_directory) : flash_(std::move(flash_directory)) {}

  // Each call below returns a system call's result, with errno set on failure.

  // Mounts the partition; any other source or a second mount is refused, as the kernel would.
  int mount(const char *source, const char *target, const char *type, unsigned long flags);
  int unmount(const char *target);
  // Runs a command of the driver on a descriptor of its device.
  int command(std::uint32_t request, void *argument);

  // Where to find a path that is the platform's: below the mount point, or the device. An empty
  // optional means that the path is none of ours; for an open that must fail, errno is set and the
  // text is empty.
  std::optional<std::string> resolve(const char *path, int open_flags);

  [[nodiscard]] bool mounted() const { return mounted_; }
  [[nodiscard]] const std::string &flash_directory() const { return flash_; }

  // What the driver has received.
  std::optional<tvra_info> identity;
  std::optional<std::vector<std::uint8_t>> calibration;

  // What happened, a line each, in the words of a log.
  std::vector<std::string> journal;

 private:
  std::string flash_;
  bool mounted_ = false;
  bool read_only_ = false;
};

}  // namespace talvera::host
