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

#include "support/temp_dir.h"

namespace talvera::test {

struct NetlinkDouble : Pinned {
  NetlinkDouble();
  ~NetlinkDouble();

  static constexpr std::uint32_t kPortId = 4711;  // what the kernel gives to a socket

  struct Datagram {
    std::string bytes;
    std::uint32_t port_id;
  };
  std::deque<Datagram> queue;  // to receive
  std::vector<std::string> sent;
  sockaddr_nl bound{};       // the address of the last bind
  bool acknowledge = false;  // every request is answered at once, after what is lined up
  socklen_t address_size = sizeof(sockaddr_nl);  // as getsockname() reports it
};

}  // namespace talvera::test
