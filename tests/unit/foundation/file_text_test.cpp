// Formatted paths, one-write files, and removal of link targets.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

TEST(FileText, CreatesAppendsAndReplaces) {
  const TempDir dir;
  const char *d = dir.path().c_str();
  const std::string path = dir / "file7";
  const int before = open_descriptors();
  const mode_t mask = umask(0);

  EXPECT_EQ(file_append_write("%s/file%d", "x", d, 7), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(file_create_write("%s/file%d", "one\n", d, 7), 4);
  EXPECT_EQ(file_append_write("%s/file%d", "two", d, 7), 3);
  EXPECT_EQ(read_file(path), "one\ntwo");
  EXPECT_EQ(file_create_write("%s/file%d", "", d, 7), 0);
  EXPECT_EQ(read_file(path), "");
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0660U);

  EXPECT_EQ(file_write_string(path.c_str(), O_WRONLY | O_TRUNC, 0, "new"), 3);
  EXPECT_EQ(file_write_string((dir / "made").c_str(), O_WRONLY | O_CREAT, 0604, "m"), 1);
  ASSERT_EQ(stat((dir / "made").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0604U);
  EXPECT_EQ(file_write_string(path.c_str(), O_RDONLY, 0, "x"), -1);
  EXPECT_EQ(errno, EBADF);

  EXPECT_EQ(file_write_string(path.c_str(), O_WRONLY | O_TRUNC, 0, nullptr), -1);
  EXPECT_EQ(file_create_write("%s/file%d", nullptr, d, 7), -1);
  EXPECT_EQ(file_append_write("%s/file%d", nullptr, d, 7), -1);
  EXPECT_EQ(read_file(path), "new");

  EXPECT_EQ(file_access("%s/file%d", R_OK, d, 7), 0);
  EXPECT_EQ(file_access("%s/file%d", F_OK, d, 8), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(file_access("%s/file%d", X_OK, d, 7), -1);
  EXPECT_EQ(errno, EACCES);
  umask(mask);
  EXPECT_EQ(open_descriptors(), before);
}

TEST(FileText, OneWriteOnly) {
  const TempDir dir;
  const std::string path = dir.write("file", "");
  SystemDouble system;
  system.shorten("write", 2);
  EXPECT_EQ(file_write_string(path.c_str(), O_WRONLY, 0, "12345"), 2);
  system.fail("write", EINTR);
  EXPECT_EQ(file_write_string(path.c_str(), O_WRONLY, 0, "12345"), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(system.count("write"), 2);
  EXPECT_EQ(read_file(path), "12");
}

// Paths from formats hold 255 characters; what is longer is cut.
TEST(FileText, FormattedPathsAreCut) {
  const TempDir dir;
  dir.write("nam", "");
  dir.write("name", "");
  const std::string padding(255 - dir.path().size() - 4, '/');
  const std::string fits = dir.path() + padding + "name";
  const std::string over = dir.path() + padding + "/name";
  EXPECT_EQ(file_append_write("%s", "fits", fits.c_str()), 4);
  EXPECT_EQ(file_append_write("%s", "cut", over.c_str()), 3);
  EXPECT_EQ(file_create_write("%s", "cut", over.c_str()), 3);
  EXPECT_EQ(read_file(dir / "name"), "fits");
  EXPECT_EQ(read_file(dir / "nam"), "cut");
  unlink((dir / "name").c_str());
  EXPECT_EQ(file_access("%s", F_OK, over.c_str()), 0);
}

TEST(FileDelete, RemovesOnlyWhatALinkPointsTo) {
  const TempDir dir;
  const std::string file = dir.write("file", "x");
  const std::string link = dir / "link";
  EXPECT_EQ(file_delete((dir / "missing").c_str()), 40960);
  EXPECT_NE(file_delete(nullptr), 0);
  EXPECT_EQ(file_delete(file.c_str()), -1);
  EXPECT_EQ(read_file(file), "x");

  ASSERT_EQ(symlink(file.c_str(), link.c_str()), 0);
  {
    SystemDouble system;
    system.fail("readlink", EIO);
    EXPECT_EQ(file_delete(link.c_str()), -1);
    EXPECT_EQ(read_file(file), "x");
  }
  EXPECT_EQ(file_delete(link.c_str()), 0);
  EXPECT_EQ(access(file.c_str(), F_OK), -1);
  struct stat status;
  EXPECT_EQ(lstat(link.c_str(), &status), 0);
  EXPECT_EQ(file_delete(link.c_str()), -1);  // dangling now
  EXPECT_EQ(errno, ENOENT);

  // A relative target counts from the current directory, not from the link's.
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  const TempDir elsewhere;
  elsewhere.write("target", "");
  ASSERT_EQ(symlink("target", (dir / "relative").c_str()), 0);
  ASSERT_EQ(chdir(elsewhere.path().c_str()), 0);
  EXPECT_EQ(file_delete((dir / "relative").c_str()), 0);
  EXPECT_EQ(access("target", F_OK), -1);

  // Of a long target 128 characters count.
  const std::string long_name(128, 'n');
  elsewhere.write(long_name, "");
  ASSERT_EQ(symlink(long_name.c_str(), (dir / "full").c_str()), 0);
  EXPECT_EQ(file_delete((dir / "full").c_str()), 0);
  EXPECT_EQ(access(long_name.c_str(), F_OK), -1);

  // What a longer one names by its first 128 characters is removed in its place.
  elsewhere.write(long_name, "");
  elsewhere.write(long_name + "nn", "");
  ASSERT_EQ(symlink((long_name + "nn").c_str(), (dir / "longer").c_str()), 0);
  EXPECT_EQ(file_delete((dir / "longer").c_str()), 0);
  EXPECT_EQ(access(long_name.c_str(), F_OK), -1);
  EXPECT_EQ(access((long_name + "nn").c_str(), F_OK), 0);
  ASSERT_EQ(chdir(cwd), 0);
}

}  // namespace
}  // namespace talvera::test
