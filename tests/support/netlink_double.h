// A double of the kernel's netlink sockets. While one lives, netlink sockets lead to it: it keeps
// what is sent and gives out the datagrams that a test has lined up. A receive with none left fails
// with EAGAIN. All the calls can be made to fail through the SystemDouble as well.
#pragma once

#include <sys/socket.h>

#include <linux/netlink.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "support/system_double.h"

namespace talvera::test {

using Bytes = std::string;

// Values as they lie in a message, in the byte order of this machine.
Bytes u16(std::uint16_t value);
Bytes u32(std::uint32_t value);
// The same, big-endian.
Bytes be16(std::uint16_t value);
Bytes be32(std::uint32_t value);
// An attribute, with the bytes that align its end.
Bytes attribute(std::uint16_t type, const Bytes &payload);
// A message whose length field is right for `payload`, without aligning bytes.
Bytes message(std::uint16_t type, const Bytes &payload, std::uint32_t sequence = 0,
              std::uint16_t flags = 0);
// The kernel's answer to a request; 0 acknowledges it.
Bytes error_message(std::int32_t error, std::uint32_t sequence);

class NetlinkDouble {
 public:
  NetlinkDouble();
  ~NetlinkDouble();
  NetlinkDouble(const NetlinkDouble &) = delete;
  NetlinkDouble &operator=(const NetlinkDouble &) = delete;

  static constexpr std::uint32_t kPortId = 4711;  // what the kernel gives to a socket

  struct Datagram {
    Bytes bytes;
    std::uint32_t port_id;
  };

  // Lines up a datagram to receive.
  void deliver(const Bytes &bytes, std::uint32_t port_id = 0) { queue.push_back({bytes, port_id}); }

  std::deque<Datagram> queue;
  std::vector<Bytes> sent;
  std::vector<sockaddr_nl> bound;  // the address of each bind that was made
  sockaddr_nl sent_to{};
  bool acknowledge = false;  // every request is answered at once, behind what is lined up
  socklen_t address_size = sizeof(sockaddr_nl);  // as getsockname() reports it
};

}  // namespace talvera::test
