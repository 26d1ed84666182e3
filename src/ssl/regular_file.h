// Files that are read without waiting for anybody.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

namespace talvera::ssl {

// Opens for reading, without waiting for the writer of a FIFO.
inline int open_at_once(const char *path) {
  return open(path, O_RDONLY | O_NONBLOCK);
}

// Whether a descriptor is one of a file that has an end, unlike a FIFO or a terminal.
inline bool is_regular_file(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

inline bool is_fifo(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

// SSL_cert_hash() of a file in PEM; 0, too, of what is no file.
unsigned long hash_of_pem_file(const char *path);

}  // namespace talvera::ssl
