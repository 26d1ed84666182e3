// Netfilter netlink: handles, subsystems, sending and receiving messages.
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "internal/fail.h"
#include "internal/owners.h"
#include "net/exchange.h"
#include "talvera/nfnetlink.h"

namespace talvera::net {
namespace {

constexpr unsigned kWordBits = 8 * sizeof(void *);

static_assert(sizeof(nfnetlink_callback) == (kWordBits == 32 ? 12 : 24));
static_assert(sizeof(nfnetlink_subsys) == (kWordBits == 32 ? 16 : 24));
static_assert(sizeof(sockaddr_nl) == 12);
static_assert(offsetof(nfnetlink_handle, local) == 4);
static_assert(offsetof(nfnetlink_handle, peer) == 16);
static_assert(offsetof(nfnetlink_handle, sequence) == 28);
static_assert(offsetof(nfnetlink_handle, subsystems) == 32);

int bind_local(const nfnetlink_handle &handle) {
  return bind(handle.fd, reinterpret_cast<const sockaddr *>(&handle.local), sizeof handle.local);
}

// Reads the port ID that the kernel assigned. Returns 0, or -1 with errno set.
int read_local(nfnetlink_handle &handle) {
  socklen_t length = sizeof handle.local;
  if (getsockname(handle.fd, reinterpret_cast<sockaddr *>(&handle.local), &length) != 0) return -1;
  return length == sizeof handle.local ? 0 : fail(EINVAL);
}

}  // namespace

int receive(nfnetlink_handle &handle, void *buffer, unsigned int length, int flags) {
  sockaddr_nl sender;
  sender.nl_pid = 0;
  socklen_t sender_size = sizeof sender;
  const ssize_t received = recvfrom(handle.fd, buffer, length, flags,
                                    reinterpret_cast<sockaddr *>(&sender), &sender_size);
  if (received >= 0 && sender.nl_pid != 0) return fail(ENOMSG);
  return static_cast<int>(received);
}

}  // namespace talvera::net

using namespace talvera::net;

extern "C" nfnetlink_handle *nfnetlink_open() {
  auto *handle = static_cast<nfnetlink_handle *>(std::calloc(1, sizeof(nfnetlink_handle)));
  if (handle == nullptr) return nullptr;
  handle->local.nl_family = AF_NETLINK;
  handle->peer.nl_family = AF_NETLINK;
  handle->fd = socket(AF_NETLINK, SOCK_RAW, NETLINK_NETFILTER);
  if (handle->fd < 0 || bind_local(*handle) != 0 || read_local(*handle) != 0) {
    nfnetlink_close(handle);
    return nullptr;
  }
  handle->sequence = static_cast<std::uint32_t>(time(nullptr));
  return handle;
}

extern "C" int nfnetlink_rebind(nfnetlink_handle *handle) {
  if (handle == nullptr) return talvera::fail(EINVAL);
  const std::uint32_t former = handle->local.nl_groups;
  std::uint32_t groups = former;
  for (const nfnetlink_subsys &subsys : handle->subsystems)
    groups |= subsys.subscriptions;
  handle->local.nl_groups = groups;
  if (bind_local(*handle) == 0) return 0;
  handle->local.nl_groups = former;
  return -1;
}

extern "C" nfnetlink_subsys *nfnetlink_subsys_open(nfnetlink_handle *handle, unsigned int id,
                                                   unsigned int callback_count,
                                                   std::uint32_t subscriptions) {
  const auto index = static_cast<std::uint8_t>(id);
  const auto count = static_cast<std::uint8_t>(callback_count);
  if (handle == nullptr || index >= NFNETLINK_SUBSYSTEMS) {
    talvera::fail(EINVAL);
    return nullptr;
  }
  nfnetlink_subsys *subsys = &handle->subsystems[index];
  if (subsys->callbacks != nullptr) {
    talvera::fail(EBUSY);
    return nullptr;
  }
  subsys->handle = handle;
  subsys->subscriptions = subscriptions;
  subsys->id = index;
  subsys->callback_count = count;
  // One extra entry: calloc() of 0 entries may return null, which marks a free slot.
  subsys->callbacks =
      static_cast<nfnetlink_callback *>(std::calloc(count + 1U, sizeof(nfnetlink_callback)));
  if (subsys->callbacks == nullptr || nfnetlink_rebind(handle) != 0) {
    nfnetlink_subsys_close(subsys);
    return nullptr;
  }
  return subsys;
}

extern "C" int nfnetlink_subsys_close(nfnetlink_subsys *subsys) {
  if (subsys == nullptr) return talvera::fail(EINVAL);
  talvera::free_block(subsys->callbacks);
  *subsys = {};
  return 0;
}

// Preserves errno, except for a null handle. Intentionally leaves descriptor 0 open: it counts as
// "no socket".
extern "C" int nfnetlink_close(nfnetlink_handle *handle) {
  if (handle == nullptr) return talvera::fail(EINVAL);
  for (nfnetlink_subsys &subsys : handle->subsystems)
    nfnetlink_subsys_close(&subsys);
  if (handle->fd != 0) talvera::close_descriptor(handle->fd);
  talvera::free_block(handle);
  return 0;
}

extern "C" int nfnetlink_msg_pack(nlmsghdr *message, const void *data, unsigned int length) {
  if (message == nullptr || data == nullptr) return talvera::fail(EINVAL);
  unsigned char *end = reinterpret_cast<unsigned char *>(message) + message->nlmsg_len;
  // The first piece is the header itself, which sets nlmsg_len.
  if (message->nlmsg_len != 0) message->nlmsg_len += NLMSG_ALIGN(length);
  std::memcpy(end, data, length);
  return 0;
}

extern "C" int nfnetlink_send(nfnetlink_handle *handle, const nlmsghdr *message) {
  if (handle == nullptr || message == nullptr) return talvera::fail(EINVAL);
  return static_cast<int>(sendto(handle->fd, message, message->nlmsg_len, 0,
                                 reinterpret_cast<const sockaddr *>(&handle->peer),
                                 sizeof handle->peer));
}

extern "C" int nfnetlink_receive(nfnetlink_handle *handle, void *buf, unsigned int size) {
  if (handle == nullptr || buf == nullptr) return talvera::fail(EINVAL);
  return receive(*handle, buf, size, 0);
}
