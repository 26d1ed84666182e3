// The info record: validity, default, derived serial number, stamps.
#include <cstring>

#include "talvera/mfg.h"
#include "unit/mfg/fixture.h"

namespace talvera::test {
namespace {

class InfoRecord : public MfgTest {
 protected:
  static unsigned word_sum(const std::string &record) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < record.size(); i += 2)
      sum +=
          static_cast<unsigned char>(record[i]) * 256U + static_cast<unsigned char>(record[i + 1]);
    return sum & 0xFFFF;
  }
  // A record that begins with these bytes, with its checksum.
  static std::string with_checksum(std::string record) {
    record.resize(254, '\0');
    const unsigned sum = 0x10000 - word_sum(record);
    return record + static_cast<char>(sum >> 8) + static_cast<char>(sum);
  }
  std::string read() {
    std::string bytes(256 + 1, '\xEE');
    EXPECT_EQ(mfg_info_read(reinterpret_cast<unsigned char *>(bytes.data())), 0);
    EXPECT_EQ(bytes.back(), '\xEE');
    return bytes.substr(0, 256);
  }
  static std::string serial(const std::string &record) { return record.c_str() + 67; }
};

TEST_F(InfoRecord, InvalidRecordsAreReplacedByTheDefault) {
  std::string expected(254, '\0');
  expected.replace(0, 6, "\x02\x5A\x30\x96\x02\xD0");
  expected[20] = 40;
  expected[46] = 16;
  expected.replace(67, 10, "1234567890");
  expected = with_checksum(expected);
  EXPECT_EQ(read(), expected);  // no file at all
  for (const std::string &file :
       {std::string(kMfgFileSize, '\xFF'), std::string(kMfgFileSize, '\0'), std::string()}) {
    write_content(file);
    EXPECT_EQ(read(), expected);
  }

  std::string stored(254, '\0');
  stored[200] = 1;
  stored[67] = '7';
  stored = with_checksum(stored);
  write_file_with(kMfgFileSize - 256, stored);
  EXPECT_EQ(serial(read()), "7");
  stored[201] ^= 1;  // one bit of the low byte
  write_file_with(kMfgFileSize - 256, stored);
  EXPECT_EQ(read(), expected);
  EXPECT_TRUE(content().substr(kMfgFileSize - 256) == stored);  // and nothing is written back
}

TEST_F(InfoRecord, DerivesAnEmptySerialNumber) {
  using namespace std::string_literals;
  for (const auto &[mac, number] : {std::pair{"\x02\x5A\x31\xFF\xFF\xFF"s, "16777215"},
                                    {"\x02\x5A\x32\x00\x00\x05"s, "16777221"},
                                    {"\x02\x5A\x33\x80\x00\x01"s, "41943041"},
                                    {"\x02\x5A\x34\x00\x00\x05"s, "2586442727429"},
                                    {"\xFF\xFF\xFF\xFF\xFF\xFF"s, "281474976710655"}}) {
    write_file_with(kMfgFileSize - 256, with_checksum(mac));
    const std::string file = content();
    const std::string record = read();
    EXPECT_EQ(serial(record), number);
    EXPECT_EQ(word_sum(record), 0U);
    EXPECT_EQ(record.substr(0, 67), file.substr(kMfgFileSize - 256, 67));
    EXPECT_TRUE(content() == file);
  }
}

TEST_F(InfoRecord, WritingStampsTheRecord) {
  std::string bytes(256, '\x5A');
  bytes.replace(16, 2, "\xFF\xFE");
  write_content(std::string(kMfgFileSize, '\0'));
  auto *record = reinterpret_cast<unsigned char *>(bytes.data());

  system.set_time(1'700'000'000);
  EXPECT_EQ(mfg_info_write(record), 0);
  EXPECT_EQ(bytes.substr(12, 4), "\xE1\x79\xA1\x80");  // 1700000000 + 2082844800
  EXPECT_EQ(bytes.substr(16, 2), "\xFF\xFF");
  EXPECT_EQ(word_sum(bytes), 0U);
  EXPECT_EQ(read(), bytes);

  system.set_time(2'000'000'000);
  EXPECT_EQ(mfg_info_write(record), 0);
  EXPECT_EQ(bytes.substr(12, 4), "\xF3\x5B\x44\x80");
  EXPECT_EQ(bytes.substr(16, 2), std::string(2, '\0'));  // the counter wraps
  EXPECT_EQ(read(), bytes);
  EXPECT_EQ(bytes.substr(18, 200), std::string(200, '\x5A'));
}

TEST_F(InfoRecord, MacAddresses) {
  unsigned char record[256] = {1, 2, 3, 4, 5, 6, 7};
  record[46] = 200;
  unsigned char mac[7] = {};
  mac[6] = 0xEE;
  mfg_get_macaddr(record, mac);
  EXPECT_EQ(std::memcmp(mac, "\x01\x02\x03\x04\x05\x06\xEE", 7), 0);
  EXPECT_EQ(mfg_num_macaddr(record), 200);
}

}  // namespace
}  // namespace talvera::test
