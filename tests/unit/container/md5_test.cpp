// MD5: the digests that RFC 1321 lists, pieces of every size, lengths around the block size.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "talvera/md5.h"

namespace talvera::test {
namespace {

std::string hex(const unsigned char *digest) {
  std::string text;
  for (int i = 0; i < MD5_DIGEST_SIZE; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", digest[i]);
    text += digits;
  }
  return text;
}

const unsigned char *bytes(const std::string &text) {
  return reinterpret_cast<const unsigned char *>(text.data());
}

std::string digest_of(const std::string &message) {
  unsigned char digest[MD5_DIGEST_SIZE + 1];
  digest[MD5_DIGEST_SIZE] = 0xEE;
  MD5_digest(bytes(message), static_cast<unsigned>(message.size()), digest);
  EXPECT_EQ(digest[MD5_DIGEST_SIZE], 0xEE);
  return hex(digest);
}

constexpr std::pair<const char *, const char *> kListed[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
     "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
};

TEST(Md5, ListedDigests) {
  unsigned char digest[MD5_DIGEST_SIZE];
  for (const auto &[message, expected] : kListed) {
    EXPECT_EQ(digest_of(message), expected);
    UTIL_MD5(message, digest);
    EXPECT_EQ(hex(digest), expected);
  }
  MD5_digest(nullptr, 0, digest);
  EXPECT_EQ(hex(digest), kListed[0].second);
  // Zero bytes count, where a string would end.
  EXPECT_EQ(digest_of(std::string(64, '\0')), "3b5d3c7d207e37dceeedd301e35e2e58");
}

// Around the places where padding needs a block more.
TEST(Md5, LengthsAroundTheBlockSize) {
  const std::pair<std::size_t, const char *> cases[] = {
      // of that many letters "a"
      {55, "ef1772b6dff9a122358552954ad0df65"},  {56, "3b0c8ac703f828b04c6c197006d17218"},
      {63, "b06521f39153d618550606be297466d5"},  {64, "014842d480b571495a4a0363793f7367"},
      {119, "8a7bd0732ed6a28ce75f6dabc90e1613"}, {120, "5f61c0ccad4cac44c75ff505e1f1e537"},
  };
  for (const auto &[length, digest] : cases)
    EXPECT_EQ(digest_of(std::string(length, 'a')), digest) << length;
}

TEST(Md5, PiecesOfEverySizeGiveTheSameDigest) {
  std::string message;
  for (int i = 0; i < 300; ++i) {
    message += static_cast<char>(i * 7);
  }
  const std::string whole = digest_of(message);
  for (std::size_t piece = 1; piece <= message.size(); ++piece) {
    md5_context context;
    std::memset(&context, 0xA5, sizeof context);
    MD5CInit(&context);
    for (std::size_t at = 0; at < message.size(); at += piece) {
      MD5CUpdate(&context, nullptr, 0);
      MD5CUpdate(&context, bytes(message) + at,
                 static_cast<unsigned>(std::min(piece, message.size() - at)));
    }
    EXPECT_EQ(context.count[0], 2400U);
    unsigned char digest[MD5_DIGEST_SIZE];
    MD5CFinal(digest, &context);
    ASSERT_EQ(hex(digest), whole) << piece;
    const md5_context cleared{};
    ASSERT_EQ(std::memcmp(&context, &cleared, sizeof context), 0);
  }
}

// The number of bits goes on into its upper word.
TEST(Md5, CountsBitsBeyond32) {
  md5_context context;
  MD5CInit(&context);
  context.count[0] = 0xFFFFFE00;
  const std::string block(64, 'x');
  MD5CUpdate(&context, bytes(block), 64);
  EXPECT_EQ(context.count[0], 0U);
  EXPECT_EQ(context.count[1], 1U);
  MD5CUpdate(&context, bytes(block), 1);
  EXPECT_EQ(context.count[0], 8U);
  EXPECT_EQ(context.count[1], 1U);

  // Both words end the last block: here 2^32 bits and nothing pending.
  MD5CInit(&context);
  context.count[1] = 1;
  unsigned char digest[MD5_DIGEST_SIZE];
  MD5CFinal(digest, &context);
  std::string last(64, '\0');
  last[0] = '\x80';
  last[60] = 1;
  MD5CInit(&context);
  MD5CUpdate(&context, bytes(last), 64);
  unsigned char expected[MD5_DIGEST_SIZE];
  for (unsigned i = 0; i < MD5_DIGEST_SIZE; ++i) {
    expected[i] = static_cast<unsigned char>(context.state[i / 4] >> 8 * (i % 4));
  }
  EXPECT_EQ(hex(digest), hex(expected));
}

}  // namespace
}  // namespace talvera::test
