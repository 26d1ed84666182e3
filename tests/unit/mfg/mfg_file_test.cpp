// Opening, mounting and range access of the manufacturing file, seen through the info record and
// mfg_init(), with every step made to fail.
#include <fcntl.h>
#include <sys/mount.h>

#include <algorithm>
#include <cstring>

#include "support/descriptors.h"
#include "support/errors.h"
#include "talvera/mfg.h"
#include "unit/mfg/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MfgFile : public MfgTest {
 protected:
  unsigned char record[MFG_INFO_SIZE] = {};
};

std::string open_call(int flags) {
  char text[64];
  std::snprintf(text, sizeof text, "open /mfg/mfg.dat %#o 0600", static_cast<unsigned>(flags));
  return text;
}

std::string failed(const char *operation, int error) {
  return std::string("MFG: ") + operation + " failed: " + std::strerror(error);
}

TEST_F(MfgFile, EachAccessMountsAndUnmounts) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  mfg_info_read(record);
  EXPECT_THAT(system.calls(),
              ElementsAre("mount mtd:mfg /mfg jffs2 0x401", open_call(O_RDONLY), "umount2 /mfg 2"));
  system.clear_records();
  EXPECT_EQ(mfg_info_write(record), 0);
  EXPECT_THAT(system.calls(),
              ElementsAre("mount mtd:mfg /mfg jffs2 0x400", open_call(O_RDWR), "umount2 /mfg 2"));
  EXPECT_THAT(system.log(), IsEmpty());
  static_assert(MS_RDONLY == 1 && MS_NOATIME == 0x400 && MNT_DETACH == 2);
}

TEST_F(MfgFile, WritesTheWholeFileAndChangesOnlyTheRange) {
  std::string before;
  for (std::size_t i = 0; i < kMfgFileSize; ++i)
    before += static_cast<char>(i * 7 + i / 256);
  write_content(before);
  for (const char *call : {"read", "write"}) {  // transfers that are interrupted go on
    system.shorten(call, 1000);
    system.fail(call, EINTR);
  }
  EXPECT_EQ(mfg_info_write(record), 0);
  const std::string after = content();
  ASSERT_EQ(after.size(), kMfgFileSize);
  EXPECT_TRUE(after.substr(0, kMfgFileSize - 256) == before.substr(0, kMfgFileSize - 256));
  EXPECT_EQ(std::memcmp(after.data() + kMfgFileSize - 256, record, 256), 0);

  // A file of another size is managed by its first 131072 bytes.
  write_content(before + "tail");
  EXPECT_EQ(mfg_info_write(record), 0);
  EXPECT_EQ(content().substr(kMfgFileSize), "tail");
}

// A mount that fails, since somebody has mounted the partition already, is no obstacle; by design
// the partition is unmounted all the same, unless the file cannot be opened.
TEST_F(MfgFile, WorksOnAMountedPartition) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  ASSERT_EQ(mount("mtd:mfg", "/mfg", "jffs2", 0, nullptr), 0);
  system.fail("open", EPERM);
  EXPECT_EQ(mfg_info_write(record), -1);
  EXPECT_TRUE(system.platform().mounted());
  EXPECT_EQ(mfg_info_write(record), 0);
  EXPECT_FALSE(system.platform().mounted());
  EXPECT_THAT(logged(3),
              ElementsAre(failed("mount", EBUSY), failed("open", EPERM), failed("mount", EBUSY)));
}

TEST_F(MfgFile, EveryFailingStepOfAWriteIsReported) {
  const std::string before(kMfgFileSize, 'x');
  // Seeks to the start of the file, before reading and before writing.
  for (const auto &[call, skip, logs] : {std::tuple{"open", 0, true},
                                         {"lseek", 0, false},
                                         {"malloc", 0, false},
                                         {"read", 0, true},
                                         {"lseek", 1, false},
                                         {"write", 0, true}}) {
    SCOPED_TRACE(std::string(call) + ' ' + std::to_string(skip));
    write_content(before);
    system.clear_records();
    system.fail(call, ENOSPC, skip);
    EXPECT_EQ(error_of(mfg_info_write(record)), ENOSPC);
    EXPECT_EQ(logged(3), logs ? Texts({failed(call, ENOSPC)}) : Texts());
    EXPECT_FALSE(system.platform().mounted());
    EXPECT_TRUE(content() == before);
  }
}

TEST_F(MfgFile, ShortFilesAreRefused) {
  for (const std::size_t size : {std::size_t{0}, kMfgFileSize - 1}) {
    write_content(std::string(size, '\0'));
    system.clear_records();
    EXPECT_EQ(error_of(mfg_info_write(record)), EIO);
    EXPECT_EQ(content().size(), size);
    mfg_info_read(record);  // the default, with the same message
    EXPECT_EQ(record[1], 0x5A);
    EXPECT_THAT(logged(3), ElementsAre(failed("read", EIO), failed("read", EIO)));
  }
  write_content(std::string(kMfgFileSize, '\0'));
  system.clear_records();
  system.shorten("write", 1000);
  system.answer("write", 0);
  EXPECT_EQ(mfg_info_write(record), -1);
  EXPECT_THAT(logged(3), ElementsAre(failed("write", EIO)));
}

// ---- mfg_init -------------------------------------------------------------------------------

TEST_F(MfgFile, InitMakesAnErasedFileOnAnEmptyPartition) {
  mfg_init();
  EXPECT_EQ(system.calls()[0], "mount mtd:mfg /mfg jffs2 0x400");
  EXPECT_EQ(system.calls()[1], open_call(O_WRONLY | O_CREAT));
  EXPECT_EQ(system.count("write"), 128);
  EXPECT_TRUE(content() == std::string(kMfgFileSize, '\xFF'));
  struct stat status;
  ASSERT_EQ(stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);

  const auto &identity = system.platform().identity;
  ASSERT_TRUE(identity);
  EXPECT_EQ(identity->device_type, 40U);
  EXPECT_STREQ(identity->serial, "1234567890");
  EXPECT_EQ(std::memcmp(identity->mac, "\x02\x5A\x30\x96\x02\xD0", 6), 0);
  EXPECT_EQ(identity->mac_count, 16U);
  // No calibration: the driver is not even told to drop it.
  EXPECT_EQ(system.count("ioctl"), 1);
  EXPECT_THAT(system.log(), IsEmpty());
}

TEST_F(MfgFile, InitNeverOverwritesContent) {
  write_content("x");
  mfg_init();
  EXPECT_EQ(content(), "x");
  ASSERT_TRUE(system.platform().identity);
  EXPECT_STREQ(system.platform().identity->serial, "1234567890");

  system.fail("fstat", EIO);  // a size that cannot be told is not an empty file
  mfg_init();
  EXPECT_EQ(content(), "x");
}

TEST_F(MfgFile, InitHandsOverStoredIdentityAndCalibration) {
  mfg_info_read(record);
  std::memcpy(record, "\x02\x5A\x32\x00\x00\x05", 6);
  record[MFG_INFO_DEVICE_TYPE] = 200;
  record[MFG_INFO_MAC_COUNT] = 255;
  record[MFG_INFO_WLCAL_PRESENT] = 1;  // any bit of the flag counts
  std::memset(record + MFG_INFO_SERIAL, 0, 16);
  std::string all(kMfgFileSize, '\xFF');
  for (std::size_t i = 0; i < TVRA_WLCAL_SIZE; ++i)
    all[0x1F800 + i] = static_cast<char>(i);
  write_content(all);
  ASSERT_EQ(mfg_info_write(record), 0);

  mfg_init();
  const auto &identity = system.platform().identity;
  ASSERT_TRUE(identity);
  EXPECT_EQ(identity->device_type, 200U);
  EXPECT_STREQ(identity->serial, "16777221");
  EXPECT_EQ(identity->mac[5], 5);
  EXPECT_EQ(identity->mac_count, 255U);
  const auto &calibration = system.platform().calibration;
  ASSERT_TRUE(calibration);
  EXPECT_EQ(std::string(calibration->begin(), calibration->end()),
            all.substr(0x1F800, TVRA_WLCAL_SIZE));
  EXPECT_TRUE(content().substr(0, kMfgFileSize - 256) == all.substr(0, kMfgFileSize - 256));

  // An unreadable calibration area is sent all the same; refused commands are logged.
  system.fail("read", EIO, 1);
  mfg_init();
  ASSERT_TRUE(calibration);
  EXPECT_EQ(*calibration, std::vector<std::uint8_t>(TVRA_WLCAL_SIZE, 0));
  system.clear_records();
  system.fail("ioctl", EPERM, 0, 2);
  mfg_init();
  EXPECT_THAT(logged(3), ElementsAre(failed("TVRA_INFO_SET ioctl", EPERM),
                                     failed("TVRA_WLCAL_SET ioctl", EPERM)));
}

// What the driver gets is the serial number's text and zeros, whatever lies behind it in the field
// and behind the field.
TEST_F(MfgFile, InitSendsTheTextOfTheSerialNumberAlone) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  for (const std::string serial : {"7", "1234567890123456"}) {
    mfg_info_read(record);
    std::memset(record + MFG_INFO_SERIAL, 'Z', 36);
    std::memcpy(record + MFG_INFO_SERIAL, serial.c_str(),
                std::min<std::size_t>(serial.size() + 1, 16));
    ASSERT_EQ(mfg_info_write(record), 0);
    mfg_init();
    EXPECT_EQ(std::string(system.platform().identity->serial, 24),
              serial + std::string(24 - serial.size(), '\0'));
  }
}

// A program that has closed its standard input gets descriptor 0 for the file and the device.
TEST_F(MfgFile, DescriptorZeroIsAsGoodAsAny) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  const ClosedStandardInput closed;
  record[MFG_INFO_DEVICE_TYPE] = 7;
  EXPECT_EQ(mfg_info_write(record), 0);
  EXPECT_FALSE(system.platform().mounted());
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
  mfg_init();
  ASSERT_TRUE(system.platform().identity);
  EXPECT_EQ(system.platform().identity->device_type, 7U);
  EXPECT_EQ(tvra_open(), 0);
  tvra_close();
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

TEST_F(MfgFile, InitGoesOnAfterEveryFailure) {
  system.fail("mount", EPERM);
  system.fail("open", EPERM);
  mfg_init();
  EXPECT_THAT(logged(3),
              ElementsAre(failed("mount", EPERM), failed("open", EPERM), failed("open", ENOENT)));
  EXPECT_TRUE(system.platform().identity);

  // A flash that fills up while the file is made, or takes no more.
  for (const int error : {ENOSPC, EIO}) {
    write_content("");
    system.clear_records();
    if (error == ENOSPC) {
      system.fail("write", ENOSPC, 5);
    } else {
      system.answer("write", 0, 5);
    }
    mfg_init();
    EXPECT_EQ(content().size(), 5U * 1024);
    EXPECT_EQ(logged(3).front(), failed("write", error));
  }
}

}  // namespace
}  // namespace talvera::test
