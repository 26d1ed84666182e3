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

// The full address structure is always passed, so that trailing zero bytes are part of the bound
// name.
constexpr socklen_t kAddressLength = 110;
static_assert(sizeof(sockaddr_un) == kAddressLength && sizeof(sockaddr_un::sun_path) == 108);
static_assert(offsetof(ipc_msgq, address) == 4);

const sockaddr *address_of(const ipc_msgq &queue) {
  return reinterpret_cast<const sockaddr *>(&queue.address);
}

// A record with the queue's address but no socket; null if the path cannot hold the name.
ipc_msgq *make_record(const char *name) {
  const std::size_t length = name != nullptr ? std::strlen(name) : 0;
  if (name == nullptr || length >= sizeof(sockaddr_un::sun_path)) {
    errno = name == nullptr ? EINVAL : ENAMETOOLONG;
    return nullptr;
  }
  auto *queue = static_cast<ipc_msgq *>(std::calloc(1, sizeof(ipc_msgq)));
  if (queue == nullptr) return nullptr;
  queue->address.sun_family = AF_UNIX;
  std::memcpy(queue->address.sun_path, name, length + 1);
  return queue;
}

// A non-blocking local datagram socket; negative on failure.
int open_socket() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  if (fd < 0) {
    const ErrnoSaver saver;
    std::printf("socket create failed \n");
    return fd;
  }
  int on = 1;
  ioctl(fd, FIONBIO, &on);
  return fd;
}

// Waits until the socket is readable. 1 if it is; otherwise 0, or -1 with errno set.
int wait_readable(int fd) {
  if (fd < 0 || fd >= FD_SETSIZE) return fail(EBADF);  // does not fit into an fd_set
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  const int ready = select(fd + 1, &readable, nullptr, nullptr, nullptr);
  if (ready < 0) return ready;
  return FD_ISSET(fd, &readable) ? 1 : 0;
}

}  // namespace
}  // namespace talvera::process

using namespace talvera::process;

extern "C" int ipc_msgq_create(void) {
  return 0;
}

extern "C" struct ipc_msgq *ipc_msgq_createByName(const char *name) {
  talvera::MallocPtr<ipc_msgq> queue(make_record(name));
  if (queue == nullptr) return nullptr;
  talvera::UniqueFd fd(open_socket());
  if (!fd.valid()) return nullptr;
  if (bind(fd.get(), address_of(*queue), kAddressLength) != 0) {
    const talvera::ErrnoSaver saver;
    std::printf("bind failed:%d:%s\n", errno, std::strerror(errno));
    return nullptr;
  }
  queue->fd = fd.release();
  return queue.release();
}

extern "C" struct ipc_msgq *ipc_msgq_GetByName(const char *name) {
  talvera::MallocPtr<ipc_msgq> queue(make_record(name));
  if (queue == nullptr) return nullptr;
  talvera::UniqueFd fd(open_socket());
  if (!fd.valid()) return nullptr;
  queue->fd = fd.release();
  return queue.release();
}

extern "C" int ipc_msgq_send(const struct ipc_msgq *queue, const void *data, size_t length) {
  if (queue == nullptr) {
    std::printf("%s:Invalid server details\n", __func__);
    return talvera::fail(EINVAL);
  }
  if (sendto(queue->fd, data, length, 0, address_of(*queue), kAddressLength) < 0) {
    const talvera::ErrnoSaver saver;
    std::printf("sendto failed.Error:%d:%s\n", errno, std::strerror(errno));
    return -1;
  }
  return 0;
}

extern "C" int ipc_msgq_receive(const struct ipc_msgq *queue, void *buf, size_t size) {
  if (queue == nullptr) return talvera::fail(EINVAL);
  const int ready = wait_readable(queue->fd);
  if (ready < 0) {
    const talvera::ErrnoSaver saver;
    std::printf("EBADF:%d, EFAULT:%d, EINTR:%d, EINVAL:%d\n  select() failed. error:%d:%s\n", EBADF,
                EFAULT, EINTR, EINVAL, errno, std::strerror(errno));
    return -1;
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
