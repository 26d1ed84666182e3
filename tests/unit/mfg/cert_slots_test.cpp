// The certificate slots: where they lie, what is refused and with which words, the size query.
#include <cerrno>
#include <vector>

#include "talvera/mfg.h"
#include "unit/mfg/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kSlot1 = 0x1C000;
constexpr std::size_t kSlot2 = 0x18000;

class CertSlots : public MfgTest {
 protected:
  int get(unsigned char **data, std::uint32_t *length, std::uint32_t slot) {
    mfg_ccert_get_info info = {data, length, slot};
    system.clear_records();
    errno = 0;
    return mfg_ccert_get(&info);
  }
  int set(const unsigned char *data, std::uint32_t length, std::uint32_t slot) {
    const mfg_ccert_set_info info = {data, length, slot};
    system.clear_records();
    errno = 0;
    return mfg_ccert_set(&info);
  }
};

TEST_F(CertSlots, ReadsFromTheStartOfTheSlot) {
  std::string all(kMfgFileSize, '\0');
  for (std::size_t i = 0; i < all.size(); ++i)
    all[i] = static_cast<char>(i * 13 + i / 256);
  write_content(all);
  // Whatever is asked for inside the file is read, also past the slot's end.
  struct Case {
    std::uint32_t slot, length;
    std::size_t offset;
  };
  for (const Case &c : {Case{1, 1, kSlot1},
                        {2, 1, kSlot2},
                        {1, 16384, kSlot1},
                        {2, 32768, kSlot2},
                        {0, 1, kMfgFileSize - 1}}) {
    SCOPED_TRACE(testing::Message() << c.slot << ", " << c.length);
    std::vector<unsigned char> buffer(c.length + 1, 0xEE);
    unsigned char *data = buffer.data();
    std::uint32_t length = c.length;
    EXPECT_EQ(get(&data, &length, c.slot), 0);
    EXPECT_EQ(std::string(buffer.begin(), buffer.end() - 1), all.substr(c.offset, c.length));
    EXPECT_EQ(buffer.back(), 0xEE);
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(data, buffer.data());
  }
  unsigned char buffer[1] = {};
  unsigned char *data = buffer;
  for (const Case &c : {Case{0, 2, 0}, {1, 16385, 0}, {2, 32769, 0}, {1, 0xFFFFFFFF, 0}}) {
    SCOPED_TRACE(testing::Message() << c.slot << ", " << c.length);
    std::uint32_t length = c.length;
    EXPECT_EQ(get(&data, &length, c.slot), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_THAT(system.log(), IsEmpty());
  }
}

TEST_F(CertSlots, MalformedReadsAreRefused) {
  write_content(std::string(kMfgFileSize, '\0'));
  unsigned char buffer[4] = {};
  unsigned char *there = buffer;
  unsigned char *nowhere = nullptr;
  struct Case {
    unsigned char **data;
    std::uint32_t length, slot;
    char reason;
  };
  for (const Case &c : {Case{&there, 0, 1, '1'},
                        {&there, 4, 3, '1'},
                        {&there, 4, 0xFFFFFFFF, '1'},
                        {&nowhere, 0, 1, '1'},
                        {&nowhere, 4, 3, '1'},
                        {&nowhere, 4, 2, '2'},
                        {&nowhere, 4, 0, '2'},
                        {nullptr, 4, 3, '1'},
                        {nullptr, 4, 2, '2'},
                        {nullptr, 4, 0, '2'}}) {
    SCOPED_TRACE(testing::Message() << c.data << ", " << c.length << ", " << c.slot);
    std::uint32_t length = c.length;
    EXPECT_EQ(get(c.data, &length, c.slot), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_THAT(logged(3),
                ElementsAre(std::string("mfg_ccert_get: invalid cert info structure passed (") +
                            c.reason + ")"));
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(system.count("open"), 0);
  }
  EXPECT_EQ(get(&there, nullptr, 1), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(mfg_ccert_get(nullptr), -1);
  EXPECT_EQ(errno, EIO);
}

TEST_F(CertSlots, SizeQuery) {
  struct Case {
    std::uint32_t slot;
    const char *field;
    int result;
    std::uint32_t length;
  };
  for (const Case &c : {Case{1, "\x00\x00\x03\x70", 0, 880},
                        {2, "\x00\x00\x00\x01", 0, 1},
                        {1, "\x00\x00\x1F\x40", 0, 8000},
                        {1, "\x00\x00\x1F\x41", -1, 8001},
                        {2, "\x00\x00\x00\x00", -1, 0},
                        {1, "\xFF\xFF\xFF\xFF", -1, 0xFFFFFFFF},
                        {1, "\x80\x00\x00\x01", -1, 0x80000001}}) {
    SCOPED_TRACE(c.length);
    write_file_with((c.slot == 1 ? kSlot1 : kSlot2) + 8, std::string(c.field, 4));
    std::uint32_t length = 0;
    EXPECT_EQ(get(nullptr, &length, c.slot), c.result);
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(errno, c.result == 0 ? 0 : EIO);
    EXPECT_EQ(logged(3), c.result == 0 ? Texts()
                                       : Texts({"mfg_ccert_get: cert blob size is "
                                                "invalid"}));
  }
  // No such slot: the file is not even opened.
  for (const std::uint32_t slot : {0U, 3U, 0xFFFFFFFFU}) {
    std::uint32_t length = 0;
    EXPECT_EQ(get(nullptr, &length, slot), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(length, 0U);
    EXPECT_THAT(logged(3), ElementsAre("mfg_ccert_get: cert blob size is invalid"));
    EXPECT_EQ(system.count("open"), 0);
  }
  // A read that fails after some bytes of the field.
  system.shorten("read", 3);
  system.fail("read", EPERM);
  write_file_with(kSlot1 + 8, std::string("\0\0\1\1", 4));
  std::uint32_t length = 0;
  EXPECT_EQ(get(nullptr, &length, 1), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(length, 0U);
  EXPECT_THAT(logged(3), ElementsAre("MFG: read failed: Operation not permitted",
                                     "mfg_ccert_get: cert blob size is invalid"));
}

TEST_F(CertSlots, WritesAtTheStartOfTheSlot) {
  const std::vector<unsigned char> blob(14336, 0x5A);
  struct Case {
    std::uint32_t slot, length;
    std::size_t offset;
  };
  for (const Case &c :
       {Case{1, 20, kSlot1}, {1, 14336, kSlot1}, {2, 20, kSlot2}, {2, 14336, kSlot2}}) {
    SCOPED_TRACE(testing::Message() << c.slot << ", " << c.length);
    write_content(std::string(kMfgFileSize, '\0'));
    EXPECT_EQ(set(blob.data(), c.length, c.slot), 0);
    std::string expected(kMfgFileSize, '\0');
    expected.replace(c.offset, c.length, c.length, '\x5A');
    EXPECT_TRUE(content() == expected);
    EXPECT_THAT(system.log(), IsEmpty());
  }
  static_assert(kSlot1 + MFG_CCERT_MAX_SIZE == 0x1F800);  // up to the calibration, exactly
}

TEST_F(CertSlots, MalformedWritesAreRefused) {
  const std::string before(kMfgFileSize, '\0');
  write_content(before);
  const std::vector<unsigned char> blob(14337, 0x5A);
  struct Case {
    const unsigned char *data;
    std::uint32_t length, slot;
  };
  for (const Case &c : {Case{blob.data(), 0, 1},
                        {blob.data(), 19, 1},
                        {blob.data(), 14337, 2},
                        {blob.data(), 0xFFFFFFFF, 2},
                        {blob.data(), 20, 3},
                        {nullptr, 20, 1}}) {
    SCOPED_TRACE(testing::Message() << c.length << ", " << c.slot);
    EXPECT_EQ(set(c.data, c.length, c.slot), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_THAT(logged(3), ElementsAre("mfg_ccert_set: invalid cert info structure passed (1)"));
    EXPECT_EQ(system.count("open"), 0);
  }
  EXPECT_EQ(mfg_ccert_set(nullptr), -1);
  EXPECT_EQ(errno, EIO);

  EXPECT_EQ(set(blob.data(), 20, 0), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_THAT(system.log(), IsEmpty());
  EXPECT_TRUE(content() == before);
}

}  // namespace
}  // namespace talvera::test
