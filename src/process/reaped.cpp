// Exit statuses that the reaper of process_start() has collected.
#include "process/reaped.h"

#include <sys/wait.h>

#include <array>
#include <atomic>
#include <cstdint>

namespace talvera::process {
namespace {

// The most recent exits, indexed by process ID modulo the size. Each is one atomic word, so no lock
// is needed: the process ID (at most 22 bits) above the exit status.
constexpr unsigned kExitBits = 9;
std::array<std::atomic<std::uint32_t>, 16> exits;

std::atomic<std::uint32_t> &exit_slot(pid_t child) {
  return exits[static_cast<std::uint32_t>(child) % exits.size()];
}

}  // namespace

void record_exit(pid_t child, int wait_status) {
  const int code = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : kKilled;
  exit_slot(child).store(
      static_cast<std::uint32_t>(child) << kExitBits | static_cast<std::uint32_t>(code),
      std::memory_order_relaxed);
}

int recorded_exit(pid_t child) {
  const std::uint32_t recorded = exit_slot(child).load(std::memory_order_relaxed);
  if (recorded >> kExitBits != static_cast<std::uint32_t>(child)) return kUnknownExit;
  return static_cast<int>(recorded & ((1U << kExitBits) - 1));
}

}  // namespace talvera::process
