// Named message queues: local datagram sockets bound to a path.
#include "talvera/ipc_msgq.h"

#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "internal/fail.h"
#include "internal/owners.h"

namespace talvera::process {
namespace {

// The full address structure is always passed. For a path the kernel ignores the trailing zero
// bytes; an empty name becomes an abstract one of 108 zero bytes.
constexpr socklen_t kAddressLength = 110;
static_assert(sizeof(sockaddr_un) == kAddressLength && sizeof(sockaddr_un::sun_path) == 108);
static_assert(offsetof(ipc_msgq, address) == 4);

const sockaddr *address_of(const ipc_msgq &queue) {
  return reinterpret_cast<const sockaddr *>(&queue.address);
}

// Prints a message about a failed call; `format` may show errno and its text. Returns -1 with errno
// unchanged.
int report(const char *format) {
  const int error = errno;
  std::printf(format, error, std::strerror(error));
  return fail(error);
}

// A non-blocking local datagram socket; negative on failure.
int open_socket() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  if (fd < 0) return report("socket create failed \n");
  int on = 1;
  ioctl(fd, FIONBIO, &on);
  return fd;
}

// Opens a queue and, if `bound`, binds its socket to the name; null on failure.
ipc_msgq *open_queue(const char *name, bool bound) {
  if (name == nullptr) {
    fail(EINVAL);
    return nullptr;
  }
  auto *queue = static_cast<ipc_msgq *>(std::calloc(1, sizeof(ipc_msgq)));
  if (queue == nullptr) return nullptr;
  queue->address.sun_family = AF_UNIX;
  const void *copied = memccpy(queue->address.sun_path, name, '\0', sizeof(sockaddr_un::sun_path));
  queue->fd = copied != nullptr ? open_socket() : fail(ENAMETOOLONG);
  if (queue->fd >= 0) {
    if (!bound || bind(queue->fd, address_of(*queue), kAddressLength) == 0) return queue;
    report("bind failed:%d:%s\n");
  }
  close_descriptor(queue->fd);
  free_block(queue);
  return nullptr;
}

// Waits until the socket is readable. Returns a positive number if it is, 0 if not, and -1 with
// errno set on failure.
int wait_readable(int fd) {
  if (fd < 0 || fd >= FD_SETSIZE) return fail(EBADF);  // does not fit into an fd_set
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  return select(fd + 1, &readable, nullptr, nullptr, nullptr);
}

}  // namespace
}  // namespace talvera::process

using namespace talvera::process;

extern "C" int ipc_msgq_create(void) {
  return 0;
}

extern "C" struct ipc_msgq *ipc_msgq_createByName(const char *name) {
  return open_queue(name, true);
}

extern "C" struct ipc_msgq *ipc_msgq_GetByName(const char *name) {
  return open_queue(name, false);
}

extern "C" int ipc_msgq_send(const struct ipc_msgq *queue, const void *data, size_t length) {
  if (queue == nullptr) {
    std::printf("ipc_msgq_send:Invalid server details\n");
    return talvera::fail(EINVAL);
  }
  if (sendto(queue->fd, data, length, 0, address_of(*queue), kAddressLength) >= 0) return 0;
  return report("sendto failed.Error:%d:%s\n");
}

extern "C" int ipc_msgq_receive(const struct ipc_msgq *queue, void *buf, size_t size) {
  if (queue == nullptr) return talvera::fail(EINVAL);
  const int ready = wait_readable(queue->fd);
  if (ready < 0) {
    const int error = errno;
    std::printf("EBADF:%d, EFAULT:%d, EINTR:%d, EINVAL:%d\n", EBADF, EFAULT, EINTR, EINVAL);
    errno = error;
    return report("  select() failed. error:%d:%s\n");
  }
  if (ready == 0) return talvera::fail(EAGAIN);
  sockaddr_un sender;
  socklen_t sender_length = sizeof sender;
  return static_cast<int>(
      recvfrom(queue->fd, buf, size, 0, reinterpret_cast<sockaddr *>(&sender), &sender_length));
}

extern "C" int ipc_msgq_msg_count(const struct ipc_msgq * /*queue*/) {
  return 0;
}

extern "C" int ipc_msgq_delete(struct ipc_msgq * /*queue*/) {
  return 0;
}

extern "C" int ipc_msgq_close(struct ipc_msgq * /*queue*/) {
  return 0;
}
