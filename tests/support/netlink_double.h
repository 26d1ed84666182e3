// A double of the kernel's netlink sockets. While one exists, netlink sockets use it: it records
// sent messages and delivers the datagrams that a test has queued. A receive from an empty queue
// fails with EAGAIN. Calls can also fail through the SystemDouble.
#pragma once

#include <sys/socket.h>

#include <linux/netlink.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace talvera::test {

struct NetlinkDouble : NonCopyable {
  NetlinkDouble();
  ~NetlinkDouble();

  static constexpr std::uint32_t kPortId = 4711;  // assigned to every socket

  struct Datagram {
    std::string bytes;
    std::uint32_t port_id;
  };
  std::deque<Datagram> queue;  // datagrams to receive
  std::vector<std::string> sent;
  sockaddr_nl bound{};       // the address of the last bind
  bool acknowledge = false;  // acknowledge each request at once, after the queued datagrams
  socklen_t address_size = sizeof(sockaddr_nl);  // as getsockname() reports it
};

}  // namespace talvera::test
