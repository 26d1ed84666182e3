// IPv4 address arithmetic, and conversion of IP and MAC addresses and interface indexes.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <net/if.h>

#include <cstring>
#include <string>

#include "support/descriptors.h"
#include "talvera/netu.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

constexpr std::uint32_t kUntouched = 0xA5A5A5A5;

TEST(Address, PartsUnderAMask) {
  // Network, broadcast and host part are in numeric order.
  for (const auto &[address, mask, network, broadcast, host] :
       {std::tuple{"10.1.2.3", "255.0.255.0", 0x0A000200U, 0x0AFF02FFU, 0x00010003U},
        {"10.1.2.3", "0.0.0.0", 0U, 0xFFFFFFFFU, 0x0A010203U},
        {"10.1.2.3", "255.255.255.255", 0x0A010203U, 0x0A010203U, 0U}}) {
    std::uint32_t results[3];
    EXPECT_EQ(netu_calc_network(address, mask, &results[0]), 0);
    EXPECT_EQ(netu_calc_broadcast(address, mask, &results[1]), 0);
    EXPECT_EQ(netu_calc_host(address, mask, &results[2]), 0);
    EXPECT_THAT(results, ElementsAre(htonl(network), htonl(broadcast), htonl(host))) << mask;
  }
}

TEST(Address, PartsOfWhatIsNoAddress) {
  const char *const good = "255.255.255.0";
  for (const char *bad : {"255.255.255.256", "1.2.3", "", "::1", (const char *)nullptr}) {
    for (auto *calculate : {netu_calc_network, netu_calc_broadcast, netu_calc_host}) {
      std::uint32_t result = kUntouched;
      EXPECT_EQ(calculate(bad, good, &result), 2103);
      EXPECT_EQ(calculate(good, bad, &result), 2103);
      EXPECT_EQ(result, kUntouched);
    }
  }
}

TEST(Address, PrefixLengths) {
  for (const auto &[mask, prefix] : {std::pair{"255.255.255.0", 24U},
                                     {"255.0.255.0", 16},
                                     {"255.255.255.255", 32},
                                     {"128.0.0.1", 2},
                                     {"255.255.255", 0},
                                     {nullptr, 0}}) {
    EXPECT_EQ(netu_calc_subnet_prefix(mask), prefix) << (mask != nullptr ? mask : "null");
  }
  for (const auto &[prefix, mask] : {std::pair{0U, 0U},
                                     {1, 0x80000000},
                                     {31, 0xFFFFFFFE},
                                     {32, 0},
                                     {33, 0x80000000},
                                     {0xFFFFFFFF, 0xFFFFFFFE}}) {
    EXPECT_EQ(netu_subnet_mask_from_prefix(prefix), mask) << prefix;
  }
}

TEST(Address, EmptyOnes) {
  for (const char *empty : {"", "0.0.0.0", (const char *)nullptr})
    EXPECT_EQ(netu_is_empty_ip4addr(empty), 1);
  for (const char *other : {"not-an-address", "0.0.0", "0.0.0.1"})
    EXPECT_EQ(netu_is_empty_ip4addr(other), 0) << other;
}

TEST(Address, Texts) {
  unsigned char bytes[18];
  std::memset(bytes, 0xA5, sizeof bytes);
  EXPECT_EQ(netu_atoipv4("1.2.3.4", bytes + 1), 1);
  EXPECT_EQ(std::memcmp(bytes, "\xA5\x01\x02\x03\x04\xA5", 6), 0);
  EXPECT_EQ(netu_atoipv6("2001:db8::9", bytes + 1), 1);
  EXPECT_EQ(std::memcmp(bytes, "\xA5\x20\x01\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\x09\xA5", 18), 0);

  for (const char *bad : {"1.2.3.4.5", "gw", "", "0.512", (const char *)nullptr}) {
    EXPECT_EQ(netu_atoipv4(bad, bytes), 0);
    EXPECT_EQ(netu_atoipv6(bad, bytes), 0);
  }
  EXPECT_EQ(netu_atoipv4("1.2.3.4", nullptr), 1);
  EXPECT_EQ(netu_atoipv4("::1", nullptr), 0);
  EXPECT_EQ(netu_atoipv6("1.2.3.4", nullptr), 0);
  EXPECT_EQ(netu_atoipv6("::ffff:1.2.3.4", nullptr), 1);
}

TEST(MacAddress, ToText) {
  const unsigned char mac[] = {0x00, 0x01, 0x0A, 0xBC, 0xDE, 0xFF};
  char text[19];
  std::memset(text, '#', sizeof text);
  EXPECT_EQ(netu_etoa(mac, text), text);
  EXPECT_EQ(std::string(text, sizeof text), std::string("00:01:0a:bc:de:ff\0#", 19));
}

TEST(MacAddress, FromText) {
  for (const auto &[text, bytes] : {
           std::pair{"0:1:2:a:b:c", "\x00\x01\x02\x0a\x0b\x0c"},
           {"00-11-22-33-44-55", "\x00\x11\x22\x33\x44\x55"},
           {"0x10.A:fF+1ab: -1,2", "\x10\x0a\xff\xab\xff\x02"},
           {"1:2:3:4:5:6:7:8", "\x01\x02\x03\x04\x05\x06"},
           {"1:", "\x01\x00\xEE\xEE\xEE\xEE"},
           {"", "\x00\xEE\xEE\xEE\xEE\xEE"},
           {"xyz", "\x00\x00\x00\x00\xEE\xEE"},
           // Beyond 32 bits, and beyond 64: the greatest number.
           {"100000001:fffffffe:-fffffffe:-100000001", "\xFF\xFE\x02\xFF\xEE\xEE"},
           {"10000000000000001:-10000000000000001", "\xFF\xFF\xEE\xEE\xEE\xEE"},
       }) {
    unsigned char mac[7];
    std::memset(mac, 0xEE, sizeof mac);
    EXPECT_EQ(netu_atoe(text, mac), mac);
    EXPECT_EQ(std::string(mac, mac + 7), std::string(bytes, 6) + '\xEE') << text;
  }
}

TEST(InterfaceName, OfAnIndex) {
  const unsigned index = if_nametoindex("lo");
  const DescriptorCheck descriptors;
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
}

}  // namespace
}  // namespace talvera::test
