// IPv4 address arithmetic, and conversion of IP and MAC addresses and interface indexes.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>

#include <cstring>
#include <string>

#include "support/system_double.h"
#include "talvera/netu.h"

namespace talvera::test {
namespace {

constexpr std::uint32_t kUntouched = 0xA5A5A5A5;

TEST(Address, PartsUnderAMask) {
  struct Case {
    const char *address, *mask;
    std::uint32_t network, broadcast, host;  // numeric order
  };
  for (const auto &[address, mask, network, broadcast, host] : {
           Case{"192.168.1.77", "255.255.255.0", 0xC0A80100, 0xC0A801FF, 0x0000004D},
           Case{"10.1.2.3", "255.0.255.0", 0x0A000200, 0x0AFF02FF, 0x00010003},
           Case{"10.1.2.3", "0.0.0.0", 0, 0xFFFFFFFF, 0x0A010203},
           Case{"10.1.2.3", "255.255.255.255", 0x0A010203, 0x0A010203, 0},
       }) {
    std::uint32_t result = kUntouched;
    EXPECT_EQ(netu_calc_network(address, mask, &result), 0);
    EXPECT_EQ(ntohl(result), network) << address << '/' << mask;
    EXPECT_EQ(netu_calc_broadcast(address, mask, &result), 0);
    EXPECT_EQ(ntohl(result), broadcast) << address << '/' << mask;
    EXPECT_EQ(netu_calc_host(address, mask, &result), 0);
    EXPECT_EQ(ntohl(result), host) << address << '/' << mask;
  }
}

TEST(Address, PartsOfWhatIsNoAddress) {
  const char *const good = "255.255.255.0";
  for (const char *bad :
       {"255.255.255.256", "1.2.3", "", "1.2.3.4 ", "::1", (const char *)nullptr}) {
    for (auto *calculate : {netu_calc_network, netu_calc_broadcast, netu_calc_host}) {
      std::uint32_t result = kUntouched;
      EXPECT_EQ(calculate(bad, good, &result), 2103);
      EXPECT_EQ(calculate(good, bad, &result), 2103);
      EXPECT_EQ(result, kUntouched);
    }
  }
}

TEST(Address, PrefixLengths) {
  struct Case {
    const char *mask;
    unsigned prefix;
  };
  for (const auto &[mask, prefix] :
       {Case{"255.255.255.0", 24}, Case{"255.0.255.0", 16}, Case{"255.255.255.255", 32},
        Case{"0.0.0.0", 0}, Case{"0.0.0.1", 1}, Case{"128.0.0.1", 2}, Case{"nonsense", 0},
        Case{"255.255.255", 0}, Case{nullptr, 0}}) {
    EXPECT_EQ(netu_calc_subnet_prefix(mask), prefix) << (mask != nullptr ? mask : "null");
  }
  EXPECT_EQ(netu_subnet_mask_from_prefix(0), 0U);
  EXPECT_EQ(netu_subnet_mask_from_prefix(1), 0x80000000U);
  EXPECT_EQ(netu_subnet_mask_from_prefix(24), 0xFFFFFF00U);
  EXPECT_EQ(netu_subnet_mask_from_prefix(31), 0xFFFFFFFEU);
  EXPECT_EQ(netu_subnet_mask_from_prefix(32), 0U);
  EXPECT_EQ(netu_subnet_mask_from_prefix(33), 0x80000000U);
  EXPECT_EQ(netu_subnet_mask_from_prefix(0xFFFFFFFF), 0xFFFFFFFEU);
}

TEST(Address, EmptyOnes) {
  EXPECT_EQ(netu_is_empty_ip4addr(nullptr), 1);
  EXPECT_EQ(netu_is_empty_ip4addr(""), 1);
  EXPECT_EQ(netu_is_empty_ip4addr("0.0.0.0"), 1);
  EXPECT_EQ(netu_is_empty_ip4addr("not-an-address"), 0);
  EXPECT_EQ(netu_is_empty_ip4addr("0.0.0"), 0);
  EXPECT_EQ(netu_is_empty_ip4addr("10.0.0.1"), 0);
  EXPECT_EQ(netu_is_empty_ip4addr("0.0.0.1"), 0);
}

TEST(Address, Texts) {
  unsigned char bytes[18];
  std::memset(bytes, 0xA5, sizeof bytes);
  EXPECT_EQ(netu_atoipv4("1.2.3.4", bytes + 1), 1);
  EXPECT_EQ(std::memcmp(bytes, "\xA5\x01\x02\x03\x04\xA5", 6), 0);
  EXPECT_EQ(netu_atoipv6("2001:db8::9", bytes + 1), 1);
  EXPECT_EQ(std::memcmp(bytes, "\xA5\x20\x01\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\x09\xA5", 18), 0);

  EXPECT_EQ(netu_atoipv4("1.2.3.4", nullptr), 1);
  EXPECT_EQ(netu_atoipv6("::1", nullptr), 1);
  for (const char *bad :
       {"1.2.3.4.5", "gw", "", "0.512", "01.2.3.4", "1.2.3.00", (const char *)nullptr}) {
    EXPECT_EQ(netu_atoipv4(bad, bytes), 0);
    EXPECT_EQ(netu_atoipv6(bad, nullptr), 0);
  }
  EXPECT_EQ(netu_atoipv4("::1", nullptr), 0);
  EXPECT_EQ(netu_atoipv6("1.2.3.4", nullptr), 0);
  EXPECT_EQ(netu_atoipv6("::ffff:1.2.3.4", nullptr), 1);
  EXPECT_EQ(netu_atoipv6("::ffff:1.02.3.4", nullptr), 0);
}

TEST(MacAddress, ToText) {
  const unsigned char mac[] = {0x00, 0x01, 0x0A, 0xBC, 0xDE, 0xFF};
  char text[19];
  std::memset(text, '#', sizeof text);
  EXPECT_EQ(netu_etoa(mac, text), text);
  EXPECT_EQ(std::string(text, sizeof text), std::string("00:01:0a:bc:de:ff\0#", 19));
}

TEST(MacAddress, FromText) {
  struct Case {
    const char *text;
    const char *bytes;
  };
  for (const auto &[text, bytes] : {
           Case{"0:1:2:a:b:c", "\x00\x01\x02\x0a\x0b\x0c"},
           Case{"00-11-22-33-44-55", "\x00\x11\x22\x33\x44\x55"},
           Case{"00:11:22:33:44:55", "\x00\x11\x22\x33\x44\x55"},
           Case{"0x10.A:fF+1ab: -1,2", "\x10\x0a\xff\xab\xff\x02"},
           Case{"1:2:3:4:5:6:7:8", "\x01\x02\x03\x04\x05\x06"},
           Case{"1:2", "\x01\x02\xEE\xEE\xEE\xEE"},
           Case{"1:", "\x01\x00\xEE\xEE\xEE\xEE"},
           Case{"", "\x00\xEE\xEE\xEE\xEE\xEE"},
           Case{"xyz", "\x00\x00\x00\x00\xEE\xEE"},
           // Beyond 32 bits, and beyond 64: the greatest number.
           Case{"100000001:fffffffe:-fffffffe:-100000001", "\xFF\xFE\x02\xFF\xEE\xEE"},
           Case{"10000000000000001:-10000000000000001", "\xFF\xFF\xEE\xEE\xEE\xEE"},
       }) {
    unsigned char mac[7];
    std::memset(mac, 0xEE, sizeof mac);
    EXPECT_EQ(netu_atoe(text, mac), mac);
    EXPECT_EQ(std::memcmp(mac, bytes, 6), 0) << text;
    EXPECT_EQ(mac[6], 0xEE) << text;
  }
}

TEST(InterfaceName, OfAnIndex) {
  const unsigned index = if_nametoindex("lo");
  const int before = open_descriptors();
  char name[17];
  std::memset(name, '#', sizeof name);
  SystemDouble system;
  EXPECT_EQ(netu_ifindex2name(index, name), 0);
  EXPECT_STREQ(name, "lo");
  EXPECT_EQ(name[16], '#');
  EXPECT_EQ(system.calls(), Texts({"socket 2 " + std::to_string(SOCK_DGRAM) + " 0"}));

  std::strcpy(name, "kept");
  EXPECT_EQ(netu_ifindex2name(0x7FFFFFF0, name), -1);
  system.fail("socket", EMFILE);
  EXPECT_EQ(netu_ifindex2name(index, name), -1);
  EXPECT_STREQ(name, "kept");
  EXPECT_EQ(netu_ifindex2name(index, nullptr), -1);
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace talvera::test
