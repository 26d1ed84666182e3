// Which certificate blobs are accepted, installed or loaded, and which are refused.
#include <cerrno>
#include <memory>

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
    errno = 0;
    return ccert_install_cert_blob(exact.get(), slot);
  }
};

const Item kCertificate = {std::string(880, 'c'), CCERT_CERTIFICATE};
const Item kKey = {std::string(100, 'k'), CCERT_KEY_PLAIN};

std::string with_version(const char *version) {
  return make_blob({kCertificate}).replace(4, 4, version, 4);
}

TEST_F(CcertBlob, InstallsWhatKeepsTheRules) {
  struct Case {
    std::string blob;
    unsigned slot;
  };
  ASSERT_EQ(make_blob({kCertificate}).size(), 916U);
  for (const Case &c : {Case{make_blob({kCertificate}), 1},
                        {make_blob({kCertificate, kKey}), 2},
                        {make_blob({}), 1},
                        {make_blob({Item{}, Item{}, kKey}), 1},  // items without bytes
                        {make_blob({Item{std::string(14300, 'x')}}), 2},
                        {with_version("\0\0\0\0"), 1},
                        {with_version("\2\4\6\6"), 1},
                        {with_version("\1\4\6\7"), 1},
                        {with_field(make_blob({kKey}), 28, 0xFFFFFFFF), 1}}) {
    SCOPED_TRACE(c.blob.size());
    write_content(std::string(kMfgFileSize, '\xFF'));
    EXPECT_EQ(install(c.blob, c.slot), 0);
    EXPECT_TRUE(content().substr(kSlotOffset[c.slot], c.blob.size()) == c.blob);
    EXPECT_THAT(system.log(), IsEmpty());
  }
}

TEST_F(CcertBlob, RefusesWhatBreaksARule) {
  const std::string two = make_blob({kCertificate, kKey});
  const auto total = static_cast<std::uint32_t>(two.size());
  struct Case {
    const char *what;
    std::string blob;
  };
  const std::string before(kMfgFileSize, '\xFF');
  write_content(before);
  for (const Case &c : {Case{"magic, first byte", with_field(two, 0, 0x0F0C0A08)},
                        {"magic, last byte", with_field(two, 0, 0x0E0C0A09)},
                        {"version, byte 0", with_version("\3\0\0\0")},
                        {"version, byte 1", with_version("\0\5\0\0")},
                        {"version, byte 2", with_version("\0\0\7\0")},
                        {"version, byte 3", with_version("\2\4\6\x8")},
                        {"version above 0x7F", with_version("\x80\4\6\7")},
                        {"first offset", with_field(two, 20, 1)},
                        {"gap", with_field(two, 36, 881)},
                        {"overlap", with_field(two, 36, 879)},
                        {"total short", with_field(two, 8, total - 1)},
                        {"total long", with_field(two + 'x', 8, total + 1)},
                        {"last length short", with_field(two, 40, 99)},
                        {"last length long", with_field(two, 40, 101)},
                        {"count low", with_field(two, 12, 1)},
                        {"count high", with_field(two, 12, 3)},
                        {"count past the blob", with_field(make_blob({kKey}), 12, 1000)},
                        {"count that wraps", with_field(make_blob({}), 12, 0x10000000)},
                        {"no item, but more bytes", with_field(make_blob({}) + 'x', 8, 21)},
                        {"total below the header", with_field(make_blob({}), 8, 19)},
                        {"total of 0", with_field(make_blob({}), 8, 0)}}) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(install(c.blob, 1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(system.count("open"), 0);
    EXPECT_THAT(system.log(), IsEmpty());
  }
  // Lengths whose sum, or end, is right modulo 2^32 only.
  std::string wrapping = make_blob({Item{}, Item{}, kKey});
  wrapping = with_field(wrapping, 24, 0xFFFFFFF0);
  wrapping = with_field(wrapping, 36, 0xFFFFFFF0);
  wrapping = with_field(wrapping, 40, 0x10);
  EXPECT_EQ(install(wrapping, 1), -1);
  wrapping = with_field(make_blob({Item{}, kKey}), 24, 0xFFFFFFF0);
  wrapping = with_field(wrapping, 36, 0xFFFFFFF0);
  wrapping = with_field(wrapping, 40, 100 + 0x10);
  EXPECT_EQ(install(wrapping, 1), -1);
  EXPECT_TRUE(content() == before);
}

TEST_F(CcertBlob, TheSlotsLimitsApply) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  for (const unsigned slot : {1U, 3U}) {
    EXPECT_EQ(install(make_blob({Item{std::string(slot == 1 ? 14301 : 1, 'x')}}), slot), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_THAT(logged(3), ElementsAre("mfg_ccert_set: invalid cert info structure passed (1)"));
  }
  EXPECT_EQ(install(make_blob({kKey}), 0), -1);
  EXPECT_EQ(errno, EINVAL);
  system.fail("write", ENOSPC);
  EXPECT_EQ(install(make_blob({kKey}), 1), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(CcertBlob, TotalLengthIsTheBigEndianFieldAt8) {
  const unsigned char blob[12] = {9, 9, 9, 9, 9, 9, 9, 9, 0x89, 0xAB, 0xCD, 0xEF};
  EXPECT_EQ(ccert_extract_certblob_total_length(blob), 0x89ABCDEFU);
}

// What init refuses it drops: success with nothing loaded. It does not look at magic and version.
TEST_F(CcertBlob, InitDropsAnInconsistentTable) {
  const std::string two = make_blob({kCertificate, kKey});
  struct Case {
    const char *what;
    std::string blob;
    unsigned count;
  };
  for (const Case &c : {Case{"magic", with_field(two, 0, 0), 2},
                        {"version", with_field(two, 4, 0xFFFFFFFF), 2},
                        {"no items", make_blob({}), 0},
                        {"first offset", with_field(two, 20, 1), 0},
                        {"gap", with_field(two, 36, 881), 0},
                        {"total", with_field(two, 8, 5000), 0},
                        {"total below the header", with_field(two, 8, 19), 0},
                        {"total below the copy's header", with_field(two, 8, 1), 0},
                        {"count", with_field(two, 12, 0xFFFFFFFF), 0},
                        {"length", with_field(two, 24, 0xFFFFFFFF), 0}}) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(load(c.blob), 0);
    EXPECT_EQ(ccert_get_location(), 1);
    EXPECT_EQ(ccert_get_data_count(), c.count);
    unsigned char *data;
    std::uint32_t length;
    EXPECT_EQ(ccert_get_client_cert(&data, &length), c.count == 2 ? 0 : -1);
    EXPECT_EQ(ccert_deinit(), 0);
  }
}

// Every field of a blob in flash with every hostile value: whatever is loaded lies inside the copy.
TEST_F(CcertBlob, HostileFieldsNeverLeadOutside) {
  const std::string good = make_blob({kCertificate, kKey, Item{"1234", 77, 5}});
  const auto total = static_cast<std::uint32_t>(good.size());
  for (std::size_t field = 8; field < 68; field += 4) {
    for (const std::uint32_t value : {0U, 1U, 19U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU,
                                      0xFFFFFFF0U, total, total - 68, 0x10000001U}) {
      SCOPED_TRACE(testing::Message() << field << ": " << value);
      load(with_field(good, field, value));
      std::uint64_t sum = 0;
      for (unsigned i = 0; i < ccert_get_data_count(); ++i) {
        unsigned char *data;
        std::uint32_t length;
        ASSERT_EQ(ccert_get_data_from_index(i, &data, &length, nullptr, nullptr), 0);
        sum += std::string(data, data + length).size();  // the sanitizer looks at each byte
      }
      EXPECT_LE(sum, total - 68);
      ccert_deinit();
    }
  }
}

}  // namespace
}  // namespace talvera::test
