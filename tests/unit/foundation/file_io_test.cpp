// Whole-file reading and exact-length transfers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "support/descriptors.h"
#include "support/errors.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

TEST(FileIo, OpensByDirectoryAndName) {
  const TempDir dir;
  dir.write("file", "content");
  const int fd = uf_open(dir.path().c_str(), "file");
  ASSERT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDONLY);
  EXPECT_EQ(uf_fsize(fd), 7);
  close(fd);
  EXPECT_EQ(uf_fsize(fd), 0);
  EXPECT_EQ(error_of(uf_open(dir.path().c_str(), "missing")), ENOENT);

  // A path of more than 4095 characters is cut there: "//////.../file" of 4095 still opens, and
  // with one character more its cut form names the file's neighbour.
  dir.write("fil", "xyz");
  const std::string slashes(4095 - dir.path().size() - 5, '/');
  const int whole = uf_open((dir.path() + slashes).c_str(), "file");
  EXPECT_EQ(uf_fsize(whole), 7);
  const int cut = uf_open((dir.path() + slashes + '/').c_str(), "file");
  EXPECT_EQ(uf_fsize(cut), 3);
  close(whole);
  close(cut);
}

TEST(FileIo, ReadsAWholeFile) {
  const TempDir dir;
  dir.write("file", "12345");
  SystemDouble system;
  system.shorten("read", 2);
  system.fail("read", EINTR);
  system.answer("read", 0);  // an early end of file is asked again
  unsigned char *buffer = nullptr;
  unsigned int length = 0;
  EXPECT_EQ(uf_readall(dir.path().c_str(), "file", &buffer, &length), 0);
  ASSERT_EQ(length, 5U);
  EXPECT_EQ(std::memcmp(buffer, "12345", 5), 0);
  EXPECT_EQ(system.count("read"), 4);
  std::free(buffer);
  dir.write("file", "1");
  EXPECT_EQ(uf_readall(dir.path().c_str(), "file", &buffer, &length), 0);
  EXPECT_EQ(length, 1U);
  std::free(buffer);
}

TEST(FileIo, ReadingAWholeFileFailsCleanly) {
  const TempDir dir;
  dir.write("file", "12345");
  dir.write("empty", "");
  for (const auto &[name, failing, error] : {std::tuple{"missing", "", ENOENT},
                                             {"empty", "", ENODATA},
                                             {"file", "fstat", EIO},
                                             {"file", "malloc", ENOMEM},
                                             {"file", "read", EIO}}) {
    SCOPED_TRACE(std::string(name) + ' ' + failing);
    const DescriptorCheck descriptors;
    SystemDouble system;
    if (*failing != '\0') system.fail(failing, error);
    auto *buffer = reinterpret_cast<unsigned char *>(0x10);
    unsigned int length = 99;
    errno = 0;
    EXPECT_EQ(uf_readall(dir.path().c_str(), name, &buffer, &length), -1);
    EXPECT_EQ(errno, error);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0U);
  }
}

TEST(FileIo, DescriptorZeroIsNoDataFile) {
  const TempDir dir;
  dir.write("file", "12345");
  const ClosedStandardInput closed;
  unsigned char *buffer = nullptr;
  unsigned int length = 0;
  EXPECT_EQ(uf_readall(dir.path().c_str(), "file", &buffer, &length), -1);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);  // closed again
}

// Both directions of a transfer follow the same rules.
TEST(FileIo, ExactTransfers) {
  const TempDir dir;
  const std::string path = dir.write("file", "0123456789");
  for (const char *call : {"read", "write"}) {
    SCOPED_TRACE(call);
    const bool reading = call[0] == 'r';
    const int fd = open(path.c_str(), O_RDWR);
    char buffer[12] = "..........";
    if (!reading) std::strcpy(buffer, "abcdefghij");
    const auto transfer = [&](unsigned length) {
      return reading ? uf_full_read(fd, buffer, length) : uf_full_write(fd, buffer, length);
    };
    SystemDouble system;
    EXPECT_EQ(transfer(0), 0);
    EXPECT_EQ(system.count(call), 0);
    system.fail(call, EINTR);
    system.shorten(call, 3);
    system.fail(call, EINTR);
    EXPECT_EQ(transfer(10), 10);
    EXPECT_EQ(system.count(call), 4);
    EXPECT_STREQ(buffer, reading ? "0123456789" : "abcdefghij");
    EXPECT_EQ(read_file(path), buffer);

    lseek(fd, 0, SEEK_SET);
    system.shorten(call, 4);
    system.answer(call, 0);
    EXPECT_EQ(transfer(10), 4);  // ended early
    system.shorten(call, 4);
    system.fail(call, EIO);
    EXPECT_EQ(error_of(transfer(6)), EIO);  // in spite of the four bytes
    close(fd);
    EXPECT_EQ(error_of(transfer(1)), EBADF);
  }
}

}  // namespace
}  // namespace talvera::test
