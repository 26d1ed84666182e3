// Owners of standard I/O streams, and reads that continue after signals.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>

#include "internal/owners.h"

namespace talvera {

[[gnu::noinline]] inline void close_stream(std::FILE *stream) {
  if (stream == nullptr) return;
  const ErrnoSaver saver;
  std::fclose(stream);
}

[[gnu::noinline]] inline void close_pipe(std::FILE *stream) {
  if (stream == nullptr) return;
  const ErrnoSaver saver;
  ::pclose(stream);
}

// A stream from fopen().
using FilePtr = Owner<std::FILE, close_stream>;

// A stream from popen(), which reads a command's output; the destructor waits for the command.
using PipePtr = Owner<std::FILE, close_pipe>;

// For use after a read that returned EOF: reads again if a signal handler installed without
// SA_RESTART interrupted the read. Returns the next character; EOF at end of file or after an
// error.
[[gnu::noinline]] inline int retry_interrupted(std::FILE *stream) {
  int character = EOF;
  while (character == EOF && std::ferror(stream) != 0 && errno == EINTR) {
    std::clearerr(stream);
    character = std::getc(stream);
  }
  return character;
}

// Like getc(), but continues after signals.
inline int next_character(std::FILE *stream) {
  const int character = getc_unlocked(stream);
  return character != EOF ? character : retry_interrupted(stream);
}

// Like fgets(), but continues after signals without losing what was read before.
[[gnu::noinline]] inline bool read_line(std::FILE *stream, char *line, std::size_t size) {
  char *end = line;
  char *const last = line + size - 1;
  while (end < last) {
    const int character = next_character(stream);
    if (character == EOF) break;
    *end++ = static_cast<char>(character);
    if (character == '\n') break;
  }
  *end = '\0';
  return end != line;
}

}  // namespace talvera
