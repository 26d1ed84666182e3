// Scoped suppression of SIGPIPE from writes to a connection that the peer has closed.
#pragma once

#include <signal.h>
#include <time.h>

#include "internal/owners.h"
#include "internal/signal_block.h"

namespace talvera::ssl {

// Blocks SIGPIPE in this thread for the lifetime of the object, then discards one that became
// pending meanwhile.
class PipeSignalBlock {
 public:
  PipeSignalBlock() {
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
  }
  ~PipeSignalBlock() {
    if (was_pending_) return;
    const ErrnoSaver saver;
    constexpr timespec kNoWait = {0, 0};
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigtimedwait(&pipe, nullptr, &kNoWait);
  }
  PipeSignalBlock(const PipeSignalBlock &) = delete;
  PipeSignalBlock &operator=(const PipeSignalBlock &) = delete;

 private:
  SignalBlock block_{SIGPIPE};  // destroyed after the body of the destructor
  bool was_pending_;
};

}  // namespace talvera::ssl
