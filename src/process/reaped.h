// How children ended that the reaper of process_start() has collected of late: in another thread it
// may be faster than the function that waits for one of them.
#pragma once

#include <sys/types.h>

namespace talvera::process {

inline constexpr int kUnknownExit = -1;
inline constexpr int kKilled = 256;

// Notes a child's wait status. Safe in a signal handler, and in several threads at once.
void note_exit(pid_t child, int wait_status);

// The exit status that was noted last for a child, or one of the constants.
int noted_exit(pid_t child);

}  // namespace talvera::process
