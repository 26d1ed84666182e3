// Mapped files and the comparison of files.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "support/descriptors.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

TEST(FileMap, MapsSharedAndClosesOnce) {
  const TempDir dir;
  const std::string path = dir.write("file", "0123456789");
  const DescriptorCheck descriptors;
  SystemDouble system;
  filemap file;
  ASSERT_EQ(filemap_open(path.c_str(), &file, O_RDWR, PROT_READ | PROT_WRITE), 0);
  EXPECT_EQ(file.size, 10);
  EXPECT_EQ(file.path, path);
  EXPECT_NE(file.path, path.c_str());
  static_cast<char *>(file.map)[9] = 'X';
  filemap_close(&file);
  EXPECT_EQ(read_file(path), "012345678X");
  EXPECT_EQ(file.fd, -1);
  EXPECT_EQ(file.map, MAP_FAILED);
  EXPECT_EQ(file.size, 0);
  EXPECT_EQ(system.count("munmap"), 1);

  // The flags double as creation mode: O_CREAT | O_RDWR is 0102, or 0402 on the target.
  const std::string made = dir / "made";
  EXPECT_EQ(filemap_open(made.c_str(), &file, O_CREAT | O_RDWR, PROT_READ), -1);
  struct stat status;
  ASSERT_EQ(stat(made.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, (O_CREAT | O_RDWR) & 0777U & ~022U);
}

TEST(FileMap, DescriptorZeroIsAsGoodAsAny) {
  const TempDir dir;
  const std::string path = dir.write("file", "0123456789");
  const ClosedStandardInput closed;
  filemap file;
  EXPECT_EQ(filemap_open(path.c_str(), &file, O_RDONLY, PROT_READ), 0);
  EXPECT_EQ(file.fd, 0);
  filemap_close(&file);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
  EXPECT_EQ(file_diff(path.c_str(), path.c_str()), 0);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

TEST(FileMap, FailureLeavesTheRecordClosed) {
  const TempDir dir;
  dir.write("file", "0123456789");
  dir.write("empty", "");
  for (const auto &[name, failing, error] : {std::tuple{"missing", "", ENOENT},
                                             {"empty", "", ENODATA},
                                             {"file", "fstat", EIO},
                                             {"file", "strdup", ENOMEM},
                                             {"file", "mmap", EACCES}}) {
    SCOPED_TRACE(std::string(name) + ' ' + failing);
    const DescriptorCheck descriptors;
    SystemDouble system;
    if (*failing != '\0') system.fail(failing, error);
    filemap file = {7, nullptr, nullptr, 7};
    errno = 0;
    EXPECT_EQ(filemap_open((dir / name).c_str(), &file, O_RDONLY, PROT_READ), -1);
    EXPECT_EQ(errno, error);
    EXPECT_EQ(file.fd, -1);
    EXPECT_EQ(file.map, MAP_FAILED);
    EXPECT_EQ(file.size, 0);
  }
}

TEST(FileDiff, ComparesSizeAndEveryByte) {
  const TempDir dir;
  const auto page = static_cast<std::size_t>(getpagesize());
  const std::string zeros(600 * page + 5, '\0');  // beyond the largest window
  const std::string base = dir.write("base", zeros);
  const std::string empty = dir.write("empty", "");
  const auto differs = [&](const std::string &content) {
    return file_diff(base.c_str(), dir.write("other", content).c_str());
  };
  EXPECT_EQ(differs(zeros), 0);
  EXPECT_EQ(differs(zeros + '\0'), 1);
  EXPECT_EQ(differs(zeros.substr(1)), 1);
  EXPECT_EQ(differs(""), 1);
  for (const std::size_t at :
       {std::size_t{0}, page - 1, page, 511 * page - 1, 511 * page, zeros.size() - 1}) {
    std::string content = zeros;
    content[at] = 1;
    EXPECT_EQ(differs(content), 1) << at;
  }
  EXPECT_EQ(file_diff(empty.c_str(), dir.write("other", "").c_str()), 0);
  EXPECT_EQ(file_diff(base.c_str(), (dir / "missing").c_str()), 1);
  EXPECT_EQ(file_diff((dir / "missing").c_str(), base.c_str()), 1);
}

TEST(FileDiff, FailuresCountAsDifferent) {
  const TempDir dir;
  const std::string content(static_cast<std::size_t>(getpagesize()) + 1, 'x');
  const std::string one = dir.write("one", content);
  const std::string two = dir.write("two", content);
  const auto difference = [&] { return file_diff(one.c_str(), two.c_str()); };
  for (const auto &[call, calls] : {std::pair{"open", 2}, {"fstat", 2}, {"mmap", 4}}) {
    for (int skip = 0; skip < calls; ++skip) {
      SCOPED_TRACE(std::string(call) + ' ' + std::to_string(skip));
      const DescriptorCheck descriptors;
      SystemDouble system;
      system.fail(call, ENOMEM, skip);
      EXPECT_EQ(difference(), 1);
      EXPECT_EQ(errno, ENOMEM);
      EXPECT_EQ(system.count("munmap"), call[0] == 'm' ? skip : 0);
    }
  }
}

// Windows of 1, 2 and 4 pages; single ones from the first mapping that fails.
TEST(FileDiff, FallsBackToPages) {
  const TempDir dir;
  const std::string content(static_cast<std::size_t>(7 * getpagesize()), 'x');
  const std::string one = dir.write("one", content);
  const std::string two = dir.write("two", content);
  for (const auto &[skip, times, result, maps] : {std::tuple{0, 0, 0, 6},
                                                  {2, 1, 0, 2 + 1 + 12},
                                                  {3, 1, 0, 2 + 2 + 12},
                                                  {4, 1, 0, 4 + 1 + 8},
                                                  {2, kAlways, 1, 2 + 1 + 1}}) {
    const DescriptorCheck descriptors;
    SystemDouble system;
    system.fail("mmap", ENOMEM, skip, times);
    EXPECT_EQ(file_diff(one.c_str(), two.c_str()), result) << skip;
    EXPECT_EQ(system.count("mmap"), maps) << skip;
  }
}

}  // namespace
}  // namespace talvera::test
