// Scoped suppression of SIGPIPE from writes to a connection that the peer has closed.
#pragma once

#include <signal.h>
#include <time.h>

#include "internal/owners.h"

namespace talvera::ssl {

// Blocks SIGPIPE in this thread for its lifetime and discards one that became pending meanwhile.
class PipeSignalBlock {
 public:
  PipeSignalBlock() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigprocmask(SIG_BLOCK, &pipe_, &former_);
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
  }
  ~PipeSignalBlock() {
    const ErrnoSaver saver;
    constexpr timespec kNoWait = {0, 0};
    if (!was_pending_) sigtimedwait(&pipe_, nullptr, &kNoWait);
    sigprocmask(SIG_SETMASK, &former_, nullptr);
  }
  PipeSignalBlock(const PipeSignalBlock &) = delete;
  PipeSignalBlock &operator=(const PipeSignalBlock &) = delete;

 private:
  sigset_t pipe_;
  sigset_t former_;
  bool was_pending_;
};

}  // namespace talvera::ssl
