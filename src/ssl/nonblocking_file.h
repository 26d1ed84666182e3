// Reading files without waiting for another process.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

namespace talvera::ssl {

// Opens for reading without waiting for a writer of a FIFO.
inline int open_nonblocking(const char *path) {
  return open(path, O_RDONLY | O_NONBLOCK);
}

// Whether a descriptor refers to a regular file, unlike a FIFO or a terminal.
inline bool is_regular_file(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

inline bool is_fifo(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

// SSL_cert_hash() of a PEM file; 0 for anything but a regular file.
unsigned long hash_of_pem_file(const char *path);

}  // namespace talvera::ssl
