// The wireless calibration: ranges, the flag in the info record, the driver's copy.
#include <cstring>
#include <vector>

#include "support/errors.h"
#include "talvera/mfg.h"
#include "unit/mfg/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kArea = 0x1F800;
constexpr std::uint8_t kGuard = 0xEE;

class Calibration : public MfgTest {
 protected:
  Calibration() {
    for (unsigned i = 0; i < TVRA_WLCAL_SIZE; ++i)
      pattern_ += static_cast<char>(i * 31 + i / 256);
  }

  // A file whose record carries the flag, with the pattern in its area.
  void store(std::uint32_t flag) {
    write_file_with(kArea, pattern_);
    unsigned char record[MFG_INFO_SIZE];
    mfg_info_read(record);
    for (int i = 0; i < 4; ++i)
      record[MFG_INFO_WLCAL_PRESENT + i] = static_cast<unsigned char>(flag >> (24 - 8 * i));
    ASSERT_EQ(mfg_info_write(record), 0);
    system.clear_records();
  }
  std::string stored_flag() { return content().substr(kMfgFileSize - 256 + 40, 4); }
  unsigned write_count() { return static_cast<unsigned char>(content()[kMfgFileSize - 256 + 17]); }
  std::string area() { return content().substr(kArea, TVRA_WLCAL_SIZE); }
  void give_driver(const std::string &bytes) {
    system.platform().calibration.emplace(bytes.begin(), bytes.end());
  }
  std::string driver() {
    const auto &held = system.platform().calibration;
    return held ? std::string(held->begin(), held->end()) : "none";
  }
  // Reads a range between guards; on failure, gives the error's text.
  static std::string get(unsigned offset, unsigned length) {
    std::vector<unsigned char> buffer(length + 2, kGuard);
    if (const int error = error_of(mfg_wlcal_get(buffer.data() + 1, offset, length)))
      return std::strerror(error);
    EXPECT_EQ(buffer.front(), kGuard);
    EXPECT_EQ(buffer.back(), kGuard);
    return {buffer.begin() + 1, buffer.end() - 1};
  }
  static int set(const std::string &bytes, unsigned offset) {
    return mfg_wlcal_set(reinterpret_cast<const unsigned char *>(bytes.data()), offset,
                         static_cast<unsigned>(bytes.size()));
  }

  std::string pattern_;
};

TEST_F(Calibration, RangesThatEndPastTheAreaAreRefused) {
  store(1);
  unsigned char buffer[TVRA_WLCAL_SIZE + 1] = {};
  for (const auto &[offset, length] :
       std::vector<std::pair<unsigned, unsigned>>{{1000, 793}, {1793, 0}, {16, 0xFFFFFFF8}}) {
    EXPECT_EQ(error_of(mfg_wlcal_get(buffer, offset, length)), EINVAL) << offset;
    EXPECT_EQ(error_of(mfg_wlcal_set(buffer, offset, length)), EINVAL) << offset;
  }
  EXPECT_THAT(system.calls(), IsEmpty());  // nothing was even mounted
  EXPECT_EQ(system.count("ioctl"), 0);
}

TEST_F(Calibration, ReadsTheFileWhenTheRecordSaysSo) {
  give_driver(std::string(TVRA_WLCAL_SIZE, 'd'));
  for (const std::uint32_t flag : {1U, 0x01000000U, 0x00010000U}) {
    store(flag);
    EXPECT_EQ(get(1000, 792), pattern_.substr(1000));
    EXPECT_EQ(get(5, 1), pattern_.substr(5, 1));
  }
  EXPECT_EQ(system.count("ioctl"), 0);
  system.fail("read", EIO, 1);  // the record's read goes through
  EXPECT_EQ(get(0, 10), std::strerror(EIO));
}

TEST_F(Calibration, AsksTheDriverOtherwise) {
  store(0);
  const std::string held = std::string(pattern_.rbegin(), pattern_.rend());
  give_driver(held);
  EXPECT_EQ(get(0, 1792), held);
  EXPECT_EQ(get(1000, 792), held.substr(1000));

  // Only the length is compared with what the driver has; what it did not fill reads as zeros.
  give_driver(held.substr(0, 100));
  EXPECT_EQ(get(60, 100), held.substr(60, 40) + std::string(60, '\0'));
  EXPECT_EQ(get(0, 101), std::strerror(EINVAL));
  system.fail("ioctl", ENODATA);
  EXPECT_EQ(get(0, 1), std::strerror(ENODATA));
  system.fail("open", EPERM, 1);  // the device; the file comes first
  EXPECT_EQ(get(0, 1), std::strerror(EPERM));
}

TEST_F(Calibration, SettingMarksItPresentOnceAndSendsAll) {
  store(0);
  const unsigned before = write_count();
  EXPECT_EQ(set("ABC", 1789), 0);
  const std::string first = pattern_.substr(0, 1789) + "ABC";
  EXPECT_EQ(area(), first);
  EXPECT_EQ(stored_flag(), std::string("\0\0\0\1", 4));
  EXPECT_EQ(driver(), first);
  EXPECT_EQ(set("xy", 0), 0);
  EXPECT_EQ(write_count(), before + 1);
  EXPECT_EQ(driver(), "xy" + first.substr(2));

  store(0x80000000);  // any value that is not 0 is left alone
  EXPECT_EQ(set("ABC", 0), 0);
  EXPECT_EQ(stored_flag(), std::string("\x80\0\0\0", 4));
  EXPECT_EQ(content().substr(0, kArea), std::string(kArea, '\xFF'));
}

TEST_F(Calibration, AFailedWriteStopsNeitherFlagNorDriver) {
  store(1);
  system.fail("write", ENOSPC);
  system.fail("ioctl", EPERM);
  EXPECT_EQ(error_of(set("ABC", 0)), ENOSPC);  // and not the driver's
  EXPECT_THAT(logged(3), ElementsAre("MFG: write failed: No space left on device",
                                     "MFG: TVRA_WLCAL_SET ioctl failed: Operation not permitted"));

  // The record's write replaces the outcome, for better and for worse.
  store(0);
  system.fail("write", ENOSPC);
  EXPECT_EQ(set("ABC", 0), 0);
  EXPECT_EQ(stored_flag(), std::string("\0\0\0\1", 4));
  EXPECT_EQ(driver(), pattern_);
  store(0);
  system.fail("write", EROFS, 1);
  EXPECT_EQ(error_of(set("ABC", 0)), EROFS);
  EXPECT_EQ(stored_flag(), std::string(4, '\0'));
  EXPECT_EQ(driver(), "ABC" + pattern_.substr(3));
}

TEST_F(Calibration, ClearingKeepsTheBytesAndAlwaysTellsTheDriver) {
  store(0x01000000);
  const unsigned before = write_count();
  give_driver(pattern_);
  mfg_wlcal_clear();
  EXPECT_EQ(stored_flag(), std::string(4, '\0'));
  EXPECT_EQ(area(), pattern_);
  EXPECT_EQ(driver(), "none");

  mfg_wlcal_clear();
  EXPECT_EQ(write_count(), before + 1);
  EXPECT_EQ(system.platform().journal.back(), "driver: calibration dropped");

  // The driver is told even when the file cannot be written.
  set(pattern_, 0);
  system.fail("write", EIO);
  mfg_wlcal_clear();
  EXPECT_EQ(driver(), "none");
}

}  // namespace
}  // namespace talvera::test
