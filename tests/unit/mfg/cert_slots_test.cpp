// The certificate slots: where they lie, what is refused and with which words, the size query.
#include <vector>

#include "support/errors.h"
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
  CertSlots() { write_content(before); }

  // The error of a call; what it logs is all that is in the log.
  int get(unsigned char **data, std::uint32_t *length, std::uint32_t slot) {
    mfg_ccert_get_info info = {data, length, slot};
    system.clear_records();
    return error_of(mfg_ccert_get(&info));
  }
  int set(const unsigned char *data, std::uint32_t length, std::uint32_t slot) {
    const mfg_ccert_set_info info = {data, length, slot};
    system.clear_records();
    return error_of(mfg_ccert_set(&info));
  }

  const std::string before = std::string(kMfgFileSize, '\0');
};

TEST_F(CertSlots, ReadsFromTheStartOfTheSlot) {
  std::string all = before;
  for (std::size_t i = 0; i < all.size(); ++i)
    all[i] = static_cast<char>(i * 13 + i / 256);
  write_content(all);
  // Whatever is asked for inside the file is read, also past the slot's end.
  for (const auto &[slot, size, offset] :
       std::vector<std::tuple<std::uint32_t, std::uint32_t, std::size_t>>{
           {1, 16384, kSlot1}, {2, 32768, kSlot2}, {0, 1, kMfgFileSize - 1}}) {
    SCOPED_TRACE(slot);
    std::vector<unsigned char> buffer(size + 1, 0xEE);
    unsigned char *data = buffer.data();
    std::uint32_t length = size;
    EXPECT_EQ(get(&data, &length, slot), 0);
    EXPECT_TRUE(std::string(buffer.begin(), buffer.end() - 1) == all.substr(offset, size));
    EXPECT_EQ(buffer.back(), 0xEE);
    EXPECT_EQ(length, size);
    EXPECT_EQ(data, buffer.data());
    length = slot == 1 ? 0xFFFFFFFF : size + 1;
    EXPECT_EQ(get(&data, &length, slot), EINVAL);
    EXPECT_THAT(system.log(), IsEmpty());
  }
}

TEST_F(CertSlots, MalformedReadsAreRefused) {
  unsigned char buffer[4] = {};
  unsigned char *there = buffer;
  unsigned char *nowhere = nullptr;
  unsigned char **const none = nullptr;
  for (const auto &[data, size, slot, reason] : {std::tuple{&there, 0U, 1U, "(1)"},
                                                 {&there, 4U, 3U, "(1)"},
                                                 {&nowhere, 0U, 1U, "(1)"},
                                                 {&nowhere, 4U, 3U, "(1)"},
                                                 {&nowhere, 4U, 0U, "(2)"},
                                                 {none, 4U, 3U, "(1)"},
                                                 {none, 4U, 2U, "(2)"}}) {
    SCOPED_TRACE(testing::Message() << data << ", " << size << ", " << slot);
    std::uint32_t length = size;
    EXPECT_EQ(get(data, &length, slot), EIO);
    EXPECT_EQ(logged(3),
              Texts({std::string("mfg_ccert_get: invalid cert info structure passed ") + reason}));
    EXPECT_EQ(length, size);
    EXPECT_EQ(system.count("open"), 0);
  }
  EXPECT_EQ(get(&there, nullptr, 1), EIO);
  EXPECT_EQ(error_of(mfg_ccert_get(nullptr)), EIO);
}

TEST_F(CertSlots, SizeQuery) {
  const Texts invalid = {"mfg_ccert_get: cert blob size is invalid"};
  for (const auto &[slot, field, size, valid] :
       std::vector<std::tuple<std::uint32_t, const char *, std::uint32_t, bool>>{
           {2, "\x00\x00\x00\x01", 1, true},
           {1, "\x00\x00\x1F\x40", 8000, true},
           {1, "\x00\x00\x1F\x41", 8001, false},
           {2, "\x00\x00\x00\x00", 0, false},
           {1, "\x80\x00\x00\x01", 0x80000001, false}}) {
    SCOPED_TRACE(size);
    write_file_with((slot == 1 ? kSlot1 : kSlot2) + 8, std::string(field, 4));
    std::uint32_t length = 0;
    EXPECT_EQ(get(nullptr, &length, slot), valid ? 0 : EIO);
    EXPECT_EQ(length, size);
    EXPECT_EQ(logged(3), valid ? Texts() : invalid);
  }
  // No such slot: the file is not even opened.
  std::uint32_t length = 0;
  for (const std::uint32_t slot : {0U, 3U}) {
    EXPECT_EQ(get(nullptr, &length, slot), EIO);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(logged(3), invalid);
    EXPECT_EQ(system.count("open"), 0);
  }
  // A read that fails after some bytes of the field.
  write_file_with(kSlot1 + 8, std::string("\0\0\1\1", 4));
  system.shorten("read", 3);
  system.fail("read", EPERM);
  EXPECT_EQ(get(nullptr, &length, 1), EIO);
  EXPECT_EQ(length, 0U);
  EXPECT_THAT(logged(3), ElementsAre("MFG: read failed: Operation not permitted", invalid[0]));
}

TEST_F(CertSlots, WritesAtTheStartOfTheSlot) {
  const std::vector<unsigned char> blob(14336, 0x5A);
  for (const auto &[slot, length, offset] :
       {std::tuple{1U, 20U, kSlot1}, {1U, 14336U, kSlot1}, {2U, 14336U, kSlot2}}) {
    write_content(before);
    EXPECT_EQ(set(blob.data(), length, slot), 0);
    std::string expected = before;
    expected.replace(offset, length, length, '\x5A');
    EXPECT_TRUE(content() == expected) << slot << ", " << length;
    EXPECT_THAT(system.log(), IsEmpty());
  }
  static_assert(kSlot1 + MFG_CCERT_MAX_SIZE == 0x1F800);  // up to the calibration, exactly
}

TEST_F(CertSlots, MalformedWritesAreRefused) {
  const std::vector<unsigned char> blob(14337, 0x5A);
  const unsigned char *const none = nullptr;
  for (const auto &[data, length, slot] : {std::tuple{blob.data(), 19U, 1U},
                                           {blob.data(), 14337U, 2U},
                                           {blob.data(), 20U, 3U},
                                           {none, 20U, 1U}}) {
    EXPECT_EQ(set(data, length, slot), EIO);
    EXPECT_THAT(logged(3), ElementsAre("mfg_ccert_set: invalid cert info structure passed (1)"));
    EXPECT_EQ(system.count("open"), 0);
  }
  EXPECT_EQ(error_of(mfg_ccert_set(nullptr)), EIO);
  EXPECT_EQ(set(blob.data(), 20, 0), EINVAL);
  EXPECT_THAT(system.log(), IsEmpty());
  EXPECT_TRUE(content() == before);
}

}  // namespace
}  // namespace talvera::test
