// Formatted paths, one-write files, and removal of link targets.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/errors.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

TEST(FileText, CreatesAppendsAndReplaces) {
  const TempDir dir;
  const char *d = dir.path().c_str();
  const std::string path = dir / "file7";
  const DescriptorCheck descriptors;
  const mode_t mask = umask(0);
  const auto mode_of = [](const std::string &file) {
    struct stat status = {};
    stat(file.c_str(), &status);
    return status.st_mode & 07777U;
  };

  EXPECT_EQ(error_of(file_append_write("%s/file%d", "x", d, 7)), ENOENT);
  EXPECT_EQ(file_create_write("%s/file%d", "one\n", d, 7), 4);
  EXPECT_EQ(file_append_write("%s/file%d", "two", d, 7), 3);
  EXPECT_EQ(read_file(path), "one\ntwo");
  EXPECT_EQ(file_create_write("%s/file%d", "", d, 7), 0);
  EXPECT_EQ(read_file(path), "");
  EXPECT_EQ(mode_of(path), 0660U);

  EXPECT_EQ(file_write_string(path.c_str(), O_WRONLY | O_TRUNC, 0, "new"), 3);
  EXPECT_EQ(file_write_string((dir / "made").c_str(), O_WRONLY | O_CREAT, 0604, "m"), 1);
  EXPECT_EQ(mode_of(dir / "made"), 0604U);
  EXPECT_EQ(error_of(file_write_string(path.c_str(), O_RDONLY, 0, "x")), EBADF);
  EXPECT_EQ(read_file(path), "new");

  EXPECT_EQ(file_access("%s/file%d", R_OK, d, 7), 0);
  EXPECT_EQ(error_of(file_access("%s/file%d", F_OK, d, 8)), ENOENT);
  EXPECT_EQ(error_of(file_access("%s/file%d", X_OK, d, 7)), EACCES);
  umask(mask);
}

TEST(FileText, OneWriteOnly) {
  const TempDir dir;
  const std::string path = dir.write("file", "");
  SystemDouble system;
  system.shorten("write", 2);
  EXPECT_EQ(file_write_string(path.c_str(), O_WRONLY, 0, "12345"), 2);
  system.fail("write", EINTR);
  EXPECT_EQ(error_of(file_write_string(path.c_str(), O_WRONLY, 0, "12345")), EINTR);
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
  ASSERT_EQ(symlink(file.c_str(), link.c_str()), 0);
  SystemDouble system;
  system.fail("readlink", EIO);
  EXPECT_EQ(file_delete(link.c_str()), -1);
  EXPECT_EQ(read_file(file), "x");

  EXPECT_EQ(file_delete(link.c_str()), 0);
  EXPECT_EQ(access(file.c_str(), F_OK), -1);
  EXPECT_EQ(error_of(file_delete(link.c_str())), ENOENT);  // it dangles now
}

// Of a target 128 characters count; from the current directory on, not from the link's.
TEST(FileDelete, TargetsThatAreRelativeOrLong) {
  const TempDir dir;
  const TempDir elsewhere;
  const std::string name(128, 'n');
  elsewhere.write(name + "nn", "");
  ASSERT_EQ(symlink(name.c_str(), (dir / "full").c_str()), 0);
  ASSERT_EQ(symlink((name + "nn").c_str(), (dir / "longer").c_str()), 0);
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  ASSERT_EQ(chdir(elsewhere.path().c_str()), 0);
  for (const char *link : {"full", "longer"}) {
    elsewhere.write(name, "");
    EXPECT_EQ(file_delete((dir / link).c_str()), 0);
    EXPECT_EQ(access(name.c_str(), F_OK), -1);
    EXPECT_EQ(access((name + "nn").c_str(), F_OK), 0);
  }
  ASSERT_EQ(chdir(cwd), 0);
}

}  // namespace
}  // namespace talvera::test
