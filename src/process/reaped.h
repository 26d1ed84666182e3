// Exit statuses of children that the reaper of process_start() has recently collected: when it runs
// in another thread, it may win the race against a function that waits for one child.
#pragma once

#include <sys/types.h>

namespace talvera::process {

inline constexpr int kUnknownExit = -1;
inline constexpr int kKilled = 256;

// Records a child's wait status. Async-signal-safe and thread-safe.
void record_exit(pid_t child, int wait_status);

// The exit status recorded last for a child, kKilled, or kUnknownExit.
int recorded_exit(pid_t child);

}  // namespace talvera::process
