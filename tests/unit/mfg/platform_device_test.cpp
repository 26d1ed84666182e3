// The platform device: open for one command at a time.
#include <fcntl.h>

#include "support/errors.h"
#include "talvera/mfg.h"
#include "unit/mfg/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

using PlatformDevice = MfgTest;

TEST_F(PlatformDevice, OneCloseEndsAnyNumberOfOpens) {
  const int fd = tvra_open();
  ASSERT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDWR | O_NONBLOCK);
  EXPECT_EQ(tvra_open(), fd);
  EXPECT_EQ(system.count("open"), 1);
  tvra_close();
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  tvra_close();  // does nothing
  EXPECT_EQ(system.count("close"), 1);
  EXPECT_EQ(tvra_open(), fd);
  tvra_close();
}

TEST_F(PlatformDevice, CommandsOpenAndClose) {
  tvra_wlcal transfer = {nullptr, 0};
  EXPECT_EQ(tvra_ioctl(TVRA_WLCAL_SET, &transfer), 0);
  EXPECT_THAT(system.platform().journal, ElementsAre("driver: calibration dropped"));
  system.answer("ioctl", 5);
  EXPECT_EQ(tvra_ioctl(TVRA_WLCAL_SET, &transfer), 5);
  EXPECT_EQ(system.count("close"), 2);
  EXPECT_TRUE(system.log().empty());

  system.fail("ioctl", ENOTTY);
  EXPECT_EQ(error_of(tvra_ioctl(TVRA_WLCAL_SET, &transfer)), ENOTTY);
  system.fail("open", ENOENT);
  EXPECT_EQ(error_of(tvra_ioctl(TVRA_WLCAL_SET, &transfer)), ENOENT);
  EXPECT_THAT(logged(4), ElementsAre("libtalvera: ioctl failed: Inappropriate ioctl for device",
                                     "libtalvera: error opening /dev/talvera: No such file or "
                                     "directory"));
}

}  // namespace
}  // namespace talvera::test
