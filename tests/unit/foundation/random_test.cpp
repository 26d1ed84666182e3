// Random bytes from devices that the test knows, and look-ups of host names.
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <cstring>
#include <string>

#include "support/descriptors.h"
#include "support/errors.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

TEST(Random, ReadsItsDevice) {
  const TempDir dir;
  const DescriptorCheck descriptors;
  for (const auto &[path, read, number] :
       {std::tuple{"/dev/random", &rand_read, &rand_generate_uint32},
        {"/dev/urandom", &urand_read, &urand_generate_uint32}}) {
    SystemDouble system;
    system.redirect(path, dir.write("device", "\x81\x02\x03\x04\x05\x06"));
    std::string bytes = "########";
    EXPECT_EQ(read(bytes.data(), 4), 0);
    EXPECT_EQ(read(nullptr, 0), 0);
    EXPECT_EQ(bytes, "\x81\x02\x03\x04####");
    EXPECT_EQ(number(), 0x81020304U);

    // At the end of the device the bytes are 0xFF.
    dir.write("device", "ab");
    EXPECT_EQ(read(bytes.data(), 4), 0);
    EXPECT_EQ(bytes, "ab\xFF\xFF####");
    EXPECT_EQ(number(), 0x6162FFFFU);

    system.redirect(path, dir / "none");
    EXPECT_EQ(error_of(read(bytes.data(), 4)), ENOENT);
    EXPECT_EQ(read(bytes.data(), 0), -1);
    EXPECT_EQ(bytes, "ab\xFF\xFF####");
    EXPECT_EQ(number(), 0xFFFFFFFFU);
  }
}

TEST(HostLookup, GivesTheFirstAddress) {
  char buffer[INET_ADDRSTRLEN + 1] = "################";
  EXPECT_EQ(hostname_to_addr("192.168.100.254", buffer, INET_ADDRSTRLEN), 0);
  EXPECT_STREQ(buffer, "192.168.100.254");
  EXPECT_EQ(hostname_to_addr("localhost", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "127.0.0.1");
  EXPECT_NE(hostname_to_addr("no such name", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  // An address that does not fit is not cut, and without room nothing is written.
  std::strcpy(buffer, "untouched");
  EXPECT_EQ(hostname_to_addr("192.168.1.1", buffer, 0), 0);
  EXPECT_STREQ(buffer, "untouched");
  for (const std::size_t size : {1, 4}) {
    std::strcpy(buffer, "untouched");
    EXPECT_EQ(hostname_to_addr("192.168.1.1", buffer, size), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_STREQ(buffer + 4, "uched");
  }
}

}  // namespace
}  // namespace talvera::test
