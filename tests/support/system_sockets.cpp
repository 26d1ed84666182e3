// Sockets of the system double, with the netlink double behind those of its family.
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "support/netlink_double.h"

namespace talvera::test {
namespace {

NetlinkDouble *active_netlink = nullptr;
int netlink_fd = -1;

template <typename Value>
Bytes raw(Value value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

std::uint32_t sequence_of(const Bytes &request) {
  nlmsghdr header;
  std::memcpy(&header, request.data(), sizeof header);
  return header.nlmsg_seq;
}

bool is_netlink(int fd) {
  return active_netlink != nullptr && fd >= 0 && fd == netlink_fd;
}

ssize_t netlink_send(const void *buffer, std::size_t size, const sockaddr *peer) {
  const Quiet quiet;
  NetlinkDouble &netlink = *active_netlink;
  netlink.sent.emplace_back(static_cast<const char *>(buffer), size);
  std::memcpy(&netlink.sent_to, peer, sizeof netlink.sent_to);
  if (netlink.acknowledge) netlink.deliver(error_message(0, sequence_of(netlink.sent.back())));
  return static_cast<ssize_t>(size);
}

ssize_t netlink_receive(void *buffer, std::size_t size, sockaddr *sender, socklen_t *sender_size) {
  const Quiet quiet;
  NetlinkDouble &netlink = *active_netlink;
  if (netlink.queue.empty()) {
    errno = EAGAIN;
    return -1;
  }
  const NetlinkDouble::Datagram datagram = netlink.queue.front();
  netlink.queue.pop_front();
  const std::size_t length = std::min(size, datagram.bytes.size());
  std::memcpy(buffer, datagram.bytes.data(), length);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_pid = datagram.port_id;
  std::memcpy(sender, &address, std::min<std::size_t>(*sender_size, sizeof address));
  *sender_size = sizeof address;
  return static_cast<ssize_t>(length);
}

}  // namespace

Bytes u16(std::uint16_t value) {
  return raw(value);
}

Bytes u32(std::uint32_t value) {
  return raw(value);
}

Bytes be16(std::uint16_t value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

Bytes be32(std::uint32_t value) {
  return be16(static_cast<std::uint16_t>(value >> 16)) + be16(static_cast<std::uint16_t>(value));
}

Bytes attribute(std::uint16_t type, const Bytes &payload) {
  const std::size_t length = 4 + payload.size();
  return u16(static_cast<std::uint16_t>(length)) + u16(type) + payload + Bytes(-length & 3, '\0');
}

Bytes message(std::uint16_t type, const Bytes &payload, std::uint32_t sequence,
              std::uint16_t flags) {
  return u32(static_cast<std::uint32_t>(16 + payload.size())) + u16(type) + u16(flags) +
         u32(sequence) + u32(0) + payload;
}

Bytes error_message(std::int32_t error, std::uint32_t sequence) {
  return message(NLMSG_ERROR, u32(static_cast<std::uint32_t>(error)) + Bytes(16, '\0'), sequence);
}

NetlinkDouble::NetlinkDouble() {
  if (active_netlink != nullptr) std::abort();
  active_netlink = this;
}

NetlinkDouble::~NetlinkDouble() {
  active_netlink = nullptr;
  netlink_fd = -1;
}

}  // namespace talvera::test

using namespace talvera::test;

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
  static auto *const next = real<int(int, int, int)>("socket");
  record("socket %d %d %d", domain, type, protocol);
  return intercept<int>("socket", [=] {
    if (active_netlink == nullptr || domain != AF_NETLINK) return next(domain, type, protocol);
    return netlink_fd = next(AF_UNIX, SOCK_DGRAM, 0);
  });
}

int bind(int fd, const sockaddr *address, socklen_t size) noexcept {
  static auto *const next = real<int(int, const sockaddr *, socklen_t)>("bind");
  return intercept<int>("bind", [=] {
    if (!is_netlink(fd)) return next(fd, address, size);
    const Quiet quiet;
    sockaddr_nl local;
    std::memcpy(&local, address, sizeof local);
    active_netlink->bound.push_back(local);
    return 0;
  });
}

int getsockname(int fd, sockaddr *address, socklen_t *size) noexcept {
  static auto *const next = real<int(int, sockaddr *, socklen_t *)>("getsockname");
  return intercept<int>("getsockname", [=] {
    if (!is_netlink(fd)) return next(fd, address, size);
    const Quiet quiet;
    sockaddr_nl local = active_netlink->bound.back();
    local.nl_pid = NetlinkDouble::kPortId;
    std::memcpy(address, &local, sizeof local);
    *size = active_netlink->address_size;
    return 0;
  });
}

ssize_t sendto(int fd, const void *buffer, std::size_t size, int flags, const sockaddr *peer,
               socklen_t peer_size) {
  static auto *const next =
      real<ssize_t(int, const void *, std::size_t, int, const sockaddr *, socklen_t)>("sendto");
  return intercept<ssize_t>("sendto", [=] {
    if (is_netlink(fd)) return netlink_send(buffer, size, peer);
    return next(fd, buffer, size, flags, peer, peer_size);
  });
}

ssize_t recvfrom(int fd, void *buffer, std::size_t size, int flags, sockaddr *sender,
                 socklen_t *sender_size) {
  static auto *const next =
      real<ssize_t(int, void *, std::size_t, int, sockaddr *, socklen_t *)>("recvfrom");
  return intercept<ssize_t>("recvfrom", [=] {
    if (is_netlink(fd)) return netlink_receive(buffer, size, sender, sender_size);
    return next(fd, buffer, size, flags, sender, sender_size);
  });
}

}  // extern "C"
