// Addresses in tables: IPv4 as "192.0.2.1", Ethernet as x"001A2B3C4D5E".
#pragma once

#include <arpa/inet.h>
#include <netinet/ether.h>

#include "runner/bind.h"

namespace talvera::test {

template <>
struct Codec<in_addr> {
  static void read(in_addr &address, const Value &value) {
    if (inet_pton(AF_INET, value.bytes.c_str(), &address) != 1) throw TableError("no address");
  }
  static std::string show(const in_addr &address) {
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
  }
};

}  // namespace talvera::test

FIELDS(ether_addr, &R::ether_addr_octet);
