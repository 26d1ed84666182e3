// The double's socket calls; netlink sockets use the netlink double.
#include <sys/socket.h>

#include <linux/netlink.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "support/netlink_double.h"
#include "support/system_calls.h"

namespace talvera::test {
namespace {

NetlinkDouble *active = nullptr;
int netlink_fd = -1;

bool is_netlink(int fd) {
  return active != nullptr && fd >= 0 && fd == netlink_fd;
}

// The kernel's acknowledgement of a request.
std::string acknowledgement(const std::string &request) {
  struct {
    nlmsghdr header;
    nlmsgerr error;
  } answer = {{sizeof answer, NLMSG_ERROR, 0, 0, 0}, {}};
  std::memcpy(&answer.header.nlmsg_seq, request.data() + offsetof(nlmsghdr, nlmsg_seq), 4);
  return {reinterpret_cast<const char *>(&answer), sizeof answer};
}

int netlink_bind(const sockaddr *address) {
  std::memcpy(&active->bound, address, sizeof active->bound);
  return 0;
}

int netlink_name(sockaddr *address, socklen_t *size) {
  sockaddr_nl local = active->bound;
  local.nl_pid = NetlinkDouble::kPortId;
  std::memcpy(address, &local, sizeof local);
  *size = active->address_size;
  return 0;
}

ssize_t netlink_send(const void *buffer, std::size_t size) {
  const Bypass guard;
  active->sent.emplace_back(static_cast<const char *>(buffer), size);
  if (active->acknowledge) active->queue.push_back({acknowledgement(active->sent.back()), 0});
  return static_cast<ssize_t>(size);
}

ssize_t netlink_receive(void *buffer, std::size_t size, sockaddr *sender, socklen_t *sender_size) {
  const Bypass guard;
  if (active->queue.empty()) {
    errno = EAGAIN;
    return -1;
  }
  const NetlinkDouble::Datagram datagram = active->queue.front();
  active->queue.pop_front();
  const std::size_t length = std::min(size, datagram.bytes.size());
  std::memcpy(buffer, datagram.bytes.data(), length);
  const sockaddr_nl address = {AF_NETLINK, 0, datagram.port_id, 0};
  std::memcpy(sender, &address, std::min<std::size_t>(*sender_size, sizeof address));
  *sender_size = sizeof address;
  return static_cast<ssize_t>(length);
}

}  // namespace

NetlinkDouble::NetlinkDouble() {
  if (active != nullptr) std::abort();
  active = this;
}

NetlinkDouble::~NetlinkDouble() {
  active = nullptr;
  netlink_fd = -1;
}

}  // namespace talvera::test

using namespace talvera::test;

RECORDED_AS(int, socket, (int domain, int type, int protocol), (domain, type, protocol), -1,
            record("socket %d %d %d", domain, type, protocol), [=] {
              if (active == nullptr || domain != AF_NETLINK) return next(domain, type, protocol);
              return netlink_fd = next(AF_UNIX, SOCK_DGRAM, 0);
            });
CALL_AS(int, bind, (int fd, const sockaddr *name, socklen_t size), (fd, name, size), -1,
        [=] { return is_netlink(fd) ? netlink_bind(name) : next(fd, name, size); });
CALL_AS(int, getsockname, (int fd, sockaddr *name, socklen_t *size), (fd, name, size), -1,
        [=] { return is_netlink(fd) ? netlink_name(name, size) : next(fd, name, size); });
CALL_AS(ssize_t, sendto,
        (int fd, const void *bytes, std::size_t size, int flags, const sockaddr *to,
         socklen_t length),
        (fd, bytes, size, flags, to, length), -1, [=] {
          return is_netlink(fd) ? netlink_send(bytes, size)
                                : next(fd, bytes, size, flags, to, length);
        });
CALL_AS(ssize_t, recvfrom,
        (int fd, void *bytes, std::size_t size, int flags, sockaddr *from, socklen_t *length),
        (fd, bytes, size, flags, from, length), -1, [=] {
          return is_netlink(fd) ? netlink_receive(bytes, size, from, length)
                                : next(fd, bytes, size, flags, from, length);
        });
