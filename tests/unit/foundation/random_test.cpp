// Random bytes from devices that the test knows, and look-ups of host names.
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <cerrno>
#include <string>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

struct Device {
  const char *path;
  int (*read)(void *, std::size_t);
  std::uint32_t (*number)();
};
const Device kDevices[] = {{"/dev/random", rand_read, rand_generate_uint32},
                           {"/dev/urandom", urand_read, urand_generate_uint32}};

TEST(Random, ReadsItsDevice) {
  const TempDir dir;
  for (const Device &device : kDevices) {
    SystemDouble system;
    const int before = open_descriptors();
    system.redirect(device.path, dir.write("device", "\x81\x02\x03\x04\x05\x06"));
    std::string bytes = "########";
    EXPECT_EQ(device.read(bytes.data(), 4), 0);
    EXPECT_EQ(bytes, "\x81\x02\x03\x04####");
    EXPECT_EQ(device.read(bytes.data(), 0), 0);
    EXPECT_EQ(device.read(nullptr, 0), 0);
    EXPECT_EQ(bytes, "\x81\x02\x03\x04####");
    EXPECT_EQ(device.number(), 0x81020304U);

    // At the end of the device the bytes are 0xFF.
    dir.write("device", "ab");
    EXPECT_EQ(device.read(bytes.data(), 4), 0);
    EXPECT_EQ(bytes, "ab\xFF\xFF####");
    EXPECT_EQ(device.number(), 0x6162FFFFU);

    system.redirect(device.path, dir / "none");
    EXPECT_EQ(device.read(bytes.data(), 4), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(device.read(bytes.data(), 0), -1);
    EXPECT_EQ(bytes, "ab\xFF\xFF####");
    EXPECT_EQ(device.number(), 0xFFFFFFFFU);
    EXPECT_EQ(open_descriptors(), before);
  }
}

TEST(HostLookup, GivesTheFirstAddress) {
  char buffer[INET_ADDRSTRLEN + 1] = "################";
  EXPECT_EQ(hostname_to_addr("192.168.100.254", buffer, INET_ADDRSTRLEN), 0);
  EXPECT_STREQ(buffer, "192.168.100.254");
  EXPECT_EQ(hostname_to_addr("localhost", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "127.0.0.1");
}

TEST(HostLookup, FailuresLeaveTheBufferEmpty) {
  char buffer[] = "untouched";
  EXPECT_NE(hostname_to_addr("no such name", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  // An address that does not fit is not cut.
  buffer[0] = '#';
  EXPECT_EQ(hostname_to_addr("192.168.1.1", buffer, 4), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_STREQ(buffer + 4, "uched");
  buffer[0] = '#';
  EXPECT_EQ(hostname_to_addr("192.168.1.1", buffer, 0), 0);
  EXPECT_EQ(buffer[0], '#');
}

}  // namespace
}  // namespace talvera::test
