// Owners of standard streams: closed on every path out, errno kept. Reading that signals do not
// end.
#pragma once

#include <cerrno>
#include <cstddef>
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

// The next character; EOF at the end and after an error. A signal that interrupts the read, its
// handler installed without SA_RESTART, is no error.
[[gnu::noinline]] inline int next_character(std::FILE *stream) {
  for (;;) {
    const int character = getc_unlocked(stream);
    if (character != EOF || std::ferror(stream) == 0 || errno != EINTR) return character;
    std::clearerr(stream);
  }
}

// Reads a line, or as much of it as fits, as fgets() does, but keeps what came before a signal.
[[gnu::noinline]] inline bool read_line(std::FILE *stream, char *line, std::size_t size) {
  std::size_t length = 0;
  while (length + 1 < size) {
    const int character = next_character(stream);
    if (character == EOF) break;
    line[length++] = static_cast<char>(character);
    if (character == '\n') break;
  }
  line[length] = '\0';
  return length > 0;
}

}  // namespace talvera
