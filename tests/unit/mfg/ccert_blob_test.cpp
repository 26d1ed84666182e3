// Which certificate blobs are accepted, installed or loaded, and which are refused.
#include <memory>

#include "support/errors.h"
#include "talvera/mfg.h"
#include "unit/mfg/ccert_fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CcertBlob : public CcertTest {
 protected:
  // Installs from a block of exactly the blob's size, so that a read past it is noticed.
  int install(const std::string &blob, unsigned slot) {
    const std::unique_ptr<unsigned char[]> exact(new unsigned char[blob.size()]);
    blob.copy(reinterpret_cast<char *>(exact.get()), blob.size());
    system.clear_records();
    return ccert_install_cert_blob(exact.get(), slot);
  }
};

const Item kCertificate = {std::string(880, 'c'), CCERT_CERTIFICATE};
const Item kKey = {std::string(100, 'k'), CCERT_KEY_PLAIN};

std::string with_version(const char *version) {
  return make_blob({kCertificate}).replace(4, 4, version, 4);
}

TEST_F(CcertBlob, InstallsWhatKeepsTheRules) {
  ASSERT_EQ(make_blob({kCertificate}).size(), 916U);
  for (const auto &[blob, slot] : {std::pair{make_blob({kCertificate, kKey}), 2U},
                                   {make_blob({}), 1},
                                   {make_blob({Item{}, Item{}, kKey}), 1},  // items without bytes
                                   {make_blob({Item{std::string(14300, 'x')}}), 2},
                                   {with_version("\2\4\6\6"), 1},
                                   {with_version("\1\4\6\7"), 1}}) {
    SCOPED_TRACE(blob.size());
    write_content(std::string(kMfgFileSize, '\xFF'));
    EXPECT_EQ(install(blob, slot), 0);
    EXPECT_TRUE(content().substr(kSlotOffset[slot], blob.size()) == blob);
    EXPECT_THAT(system.log(), IsEmpty());
  }
}

TEST_F(CcertBlob, RefusesWhatBreaksARule) {
  const std::string two = make_blob({kCertificate, kKey});
  const auto total = static_cast<std::uint32_t>(two.size());
  // Lengths whose sum, or end, is right modulo 2^32 only.
  std::string wrapping_sum = with_field(make_blob({Item{}, Item{}, kKey}), 24, 0xFFFFFFF0);
  wrapping_sum = with_field(with_field(wrapping_sum, 36, 0xFFFFFFF0), 40, 0x10);
  std::string wrapping_end = with_field(make_blob({Item{}, kKey}), 24, 0xFFFFFFF0);
  wrapping_end = with_field(with_field(wrapping_end, 36, 0xFFFFFFF0), 40, 100 + 0x10);
  for (const auto &[what, blob] :
       {std::pair{"magic, first byte", with_field(two, 0, 0x0F0C0A08)},
        {"magic, last byte", with_field(two, 0, 0x0E0C0A09)},
        {"version, byte 0", with_version("\3\0\0\0")},
        {"version, byte 3", with_version("\2\4\6\x8")},
        {"version above 0x7F", with_version("\x80\4\6\7")},
        {"first offset", with_field(two, 20, 1)},
        {"gap", with_field(two, 36, 881)},
        {"overlap", with_field(two, 36, 879)},
        {"total short", with_field(two, 8, total - 1)},
        {"total long", with_field(two + 'x', 8, total + 1)},
        {"last length", with_field(two, 40, 101)},
        {"count low", with_field(two, 12, 1)},
        {"count high", with_field(two, 12, 3)},
        {"count past the blob", with_field(make_blob({kKey}), 12, 1000)},
        {"count that wraps", with_field(make_blob({}), 12, 0x10000000)},
        {"no item, but more bytes", with_field(make_blob({}) + 'x', 8, 21)},
        {"total below the header", with_field(make_blob({}), 8, 19)},
        {"sum that wraps", wrapping_sum},
        {"end that wraps", wrapping_end}}) {
    SCOPED_TRACE(what);
    EXPECT_EQ(error_of(install(blob, 1)), EINVAL);
    EXPECT_EQ(system.count("open"), 0);
    EXPECT_THAT(system.log(), IsEmpty());
  }
}

TEST_F(CcertBlob, TheSlotsLimitsApply) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  EXPECT_EQ(error_of(install(make_blob({Item{std::string(14301, 'x')}}), 1)), EIO);
  EXPECT_EQ(error_of(install(make_blob({kKey}), 3)), EIO);
  EXPECT_THAT(logged(3), ElementsAre("mfg_ccert_set: invalid cert info structure passed (1)"));
  EXPECT_EQ(error_of(install(make_blob({kKey}), 0)), EINVAL);
  system.fail("write", ENOSPC);
  EXPECT_EQ(error_of(install(make_blob({kKey}), 1)), ENOSPC);
}

TEST_F(CcertBlob, TotalLengthIsTheBigEndianFieldAt8) {
  const unsigned char blob[12] = {9, 9, 9, 9, 9, 9, 9, 9, 0x89, 0xAB, 0xCD, 0xEF};
  EXPECT_EQ(ccert_extract_certblob_total_length(blob), 0x89ABCDEFU);
}

// What init refuses it drops: success with nothing loaded. It does not look at magic and version.
TEST_F(CcertBlob, InitDropsAnInconsistentTable) {
  const std::string two = make_blob({kCertificate, kKey});
  for (const auto &[what, blob, count] :
       {std::tuple{"magic and version", with_field(with_field(two, 0, 0), 4, 0xFFFFFFFF), 2U},
        {"no items", make_blob({}), 0U},
        {"first offset", with_field(two, 20, 1), 0U},
        {"gap", with_field(two, 36, 881), 0U},
        {"total", with_field(two, 8, 5000), 0U},
        {"total below the header", with_field(two, 8, 19), 0U},
        {"total below the copy's header", with_field(two, 8, 1), 0U}}) {
    SCOPED_TRACE(what);
    EXPECT_EQ(load(blob), 0);
    EXPECT_EQ(ccert_get_location(), 1);
    EXPECT_EQ(ccert_get_data_count(), count);
    EXPECT_EQ(ccert_deinit(), 0);
  }
}

}  // namespace
}  // namespace talvera::test
