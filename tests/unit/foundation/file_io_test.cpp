// Whole-file reading and exact-length transfers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "support/system_double.h"
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
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(uf_open(dir.path().c_str(), "missing"), -1);
  EXPECT_EQ(errno, ENOENT);

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
}

TEST(FileIo, ReadingAWholeFileFailsCleanly) {
  const TempDir dir;
  dir.write("file", "12345");
  dir.write("empty", "");
  struct Case {
    const char *name;
    const char *call;  // that fails
    int error;
  };
  for (const Case &c : {Case{"missing", "", ENOENT},
                        {"empty", "", 0},
                        {"file", "fstat", EIO},
                        {"file", "malloc", ENOMEM},
                        {"file", "read", EIO}}) {
    SCOPED_TRACE(std::string(c.name) + ' ' + c.call);
    const int before = open_descriptors();
    SystemDouble system;
    if (*c.call != '\0') system.fail(c.call, c.error);
    unsigned char *buffer = reinterpret_cast<unsigned char *>(0x10);
    unsigned int length = 99;
    errno = 0;
    EXPECT_EQ(uf_readall(dir.path().c_str(), c.name, &buffer, &length), -1);
    EXPECT_EQ(errno, c.error);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0U);
    system.forget();
    EXPECT_EQ(open_descriptors(), before);
  }
}

TEST(FileIo, DescriptorZeroIsNoDataFile) {
  const TempDir dir;
  dir.write("file", "12345");
  const int saved = dup(0);
  close(0);
  unsigned char *buffer = nullptr;
  unsigned int length = 0;
  EXPECT_EQ(uf_readall(dir.path().c_str(), "file", &buffer, &length), -1);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);  // closed again
  dup2(saved, 0);
  close(saved);
}

// Both directions of a transfer follow the same rules.
TEST(FileIo, ExactTransfers) {
  const TempDir dir;
  dir.write("file", "0123456789");
  for (const bool reading : {true, false}) {
    SCOPED_TRACE(reading ? "read" : "write");
    const char *call = reading ? "read" : "write";
    const int fd = open((dir / "file").c_str(), O_RDWR);
    char buffer[12] = "0123456789";
    const auto transfer = [&](unsigned length) {
      return reading ? uf_full_read(fd, buffer, length) : uf_full_write(fd, buffer, length);
    };
    {
      SystemDouble system;
      EXPECT_EQ(transfer(0), 0);
      EXPECT_EQ(system.count(call), 0);

      system.fail(call, EINTR);
      system.shorten(call, 3);
      system.fail(call, EINTR);
      EXPECT_EQ(transfer(10), 10);
      EXPECT_EQ(system.count(call), 4);
      EXPECT_STREQ(buffer, "0123456789");
      EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 10);
      EXPECT_EQ(read_file(dir / "file"), "0123456789");
    }
    {
      SystemDouble system;
      lseek(fd, 0, SEEK_SET);
      system.shorten(call, 4);
      system.answer(call, 0);
      EXPECT_EQ(transfer(10), 4);  // ended early
      system.shorten(call, 4);
      system.fail(call, EIO);
      EXPECT_EQ(transfer(6), -1);  // in spite of the four bytes
      EXPECT_EQ(errno, EIO);
    }
    close(fd);
    EXPECT_EQ(transfer(1), -1);
    EXPECT_EQ(errno, EBADF);
  }
}

TEST(FileIo, APipeThatEndsEarlyGivesWhatCame) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], "abc", 3), 3);
  close(ends[1]);
  char buffer[11] = "..........";
  EXPECT_EQ(uf_full_read(ends[0], buffer, 10), 3);
  EXPECT_STREQ(buffer, "abc.......");
  close(ends[0]);
}

}  // namespace
}  // namespace talvera::test
