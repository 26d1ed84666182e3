// Keeps a signal from being handled for a while.
#pragma once

#include <signal.h>

#include "internal/owners.h"

namespace talvera {

// While one lives, a signal is blocked in this thread.
class SignalBlock {
 public:
  explicit SignalBlock(int signal) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, signal);
    sigprocmask(SIG_BLOCK, &blocked, &former_);
  }
  ~SignalBlock() {
    const ErrnoKeeper keep;
    restore();
  }
  SignalBlock(const SignalBlock &) = delete;
  SignalBlock &operator=(const SignalBlock &) = delete;

  // Ends the block early, as in a child that goes on to another program.
  void restore() const { sigprocmask(SIG_SETMASK, &former_, nullptr); }

 private:
  sigset_t former_;
};

}  // namespace talvera
