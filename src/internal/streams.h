// Owners of standard streams: closed on every path out, errno kept. Reading that signals do not
// end.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>

#include "internal/owners.h"

namespace talvera {

[[gnu::noinline]] inline void close_stream(std::FILE *stream) {
  if (stream == nullptr) return;
  const ErrnoKeeper keep;
  std::fclose(stream);
}

[[gnu::noinline]] inline void close_pipe(std::FILE *stream) {
  if (stream == nullptr) return;
  const ErrnoKeeper keep;
  ::pclose(stream);
}

// A stream of fopen().
using FilePtr = Owner<std::FILE, close_stream>;

// The output of a command, from popen(); its end waits for the command.
using PipePtr = Owner<std::FILE, close_pipe>;

// What follows when a stream's buffer has no more: the next character, or EOF at the end and after
// an error. A signal that interrupts the read, its handler installed without SA_RESTART, is no
// error.
[[gnu::noinline]] inline int character_after(int character, std::FILE *stream) {
  while (character == EOF && std::ferror(stream) != 0 && errno == EINTR) {
    std::clearerr(stream);
    character = getc_unlocked(stream);
  }
  return character;
}

// The next character, as character_after() tells.
inline int next_character(std::FILE *stream) {
  const int character = getc_unlocked(stream);
  return character != EOF ? character : character_after(character, stream);
}

// Reads a line, or as much of it as fits, as fgets() does, but keeps what came before a signal.
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
