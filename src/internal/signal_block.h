// Scoped blocking of a signal.
#pragma once

#include <signal.h>

namespace talvera {

// Blocks a signal in this thread for the lifetime of the object.
class SignalBlock {
 public:
  explicit SignalBlock(int signal) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, signal);
    sigprocmask(SIG_BLOCK, &blocked, &former_);
  }
  ~SignalBlock() { restore(); }
  SignalBlock(const SignalBlock &) = delete;
  SignalBlock &operator=(const SignalBlock &) = delete;

  // Restores the former mask early, for a child before exec. Cannot fail, and so leaves errno
  // unchanged.
  void restore() const { sigprocmask(SIG_SETMASK, &former_, nullptr); }

 private:
  sigset_t former_;
};

}  // namespace talvera
