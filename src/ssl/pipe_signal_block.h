// Keeps a write to a connection that the peer has closed from ending the program.
#pragma once

#include <signal.h>
#include <time.h>

#include "internal/owners.h"

namespace talvera::ssl {

// While one lives, SIGPIPE is blocked in this thread; one that came meanwhile is taken back.
class PipeSignalBlock {
 public:
  PipeSignalBlock() {
    sigset_t pending;
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGPIPE);
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    sigprocmask(SIG_BLOCK, &signal_, &former_);
  }
  ~PipeSignalBlock() {
    const ErrnoKeeper keep;
    constexpr timespec kAtOnce = {0, 0};
    if (!was_pending_) sigtimedwait(&signal_, nullptr, &kAtOnce);
    sigprocmask(SIG_SETMASK, &former_, nullptr);
  }
  PipeSignalBlock(const PipeSignalBlock &) = delete;
  PipeSignalBlock &operator=(const PipeSignalBlock &) = delete;

 private:
  sigset_t signal_;
  sigset_t former_;
  bool was_pending_;
};

}  // namespace talvera::ssl
