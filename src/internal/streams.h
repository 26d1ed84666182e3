// Owners of standard streams: closed on every path out, errno kept.
#pragma once

#include <cstdio>
#include <memory>

#include "internal/owners.h"

namespace talvera {

struct FileCloser {
  void operator()(std::FILE *stream) const {
    const ErrnoKeeper keep;
    std::fclose(stream);
  }
};

struct PipeCloser {
  void operator()(std::FILE *stream) const {
    const ErrnoKeeper keep;
    ::pclose(stream);
  }
};

// A stream of fopen().
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// The output of a command, from popen(); its end waits for the command.
using PipePtr = std::unique_ptr<std::FILE, PipeCloser>;

}  // namespace talvera
