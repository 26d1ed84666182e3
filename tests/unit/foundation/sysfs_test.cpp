// Attribute files: what is read and cut, what is written, and how failures are told.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "support/descriptors.h"
#include "support/errors.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

using namespace std::string_literals;

TEST(Sysfs, ReadsAndCutsAtTheFirstLineEnd) {
  const TempDir dir;
  const DescriptorCheck descriptors;
  // The last column is all 8 bytes of the buffer, '.' for untouched ones.
  for (const auto &[content, size, result, expected] :
       std::vector<std::tuple<std::string, std::size_t, int, std::string>>{
           {"1\n", 8, 2, "1\0......"s},
           {"up\r\ndown", 8, 8, "up\0\ndown"s},
           {"a\nb\r", 8, 4, "a\0b\r...."s},
           {"", 8, 0, "........"},
           {"abc", 8, 3, "abc....."},
           {"0123456789\n", 7, 7, "0123456."},
           {"ps\0-ax\n"s, 8, 7, "ps\0-ax\0."s},
           {"1\n", 0, 0, "........"}}) {
    dir.write("attr3", content);
    std::string buffer(8, '.');
    EXPECT_EQ(sysfs_get_attr("%s/attr%d", buffer.data(), size, dir.path().c_str(), 3), result);
    EXPECT_EQ(buffer, expected) << content;
  }
}

TEST(Sysfs, ReadFailures) {
  const TempDir dir;
  const char *d = dir.path().c_str();
  SystemDouble system;
  const DescriptorCheck descriptors;
  char buffer[] = "untouched";
  EXPECT_EQ(error_of(sysfs_get_attr("%s/none", buffer, sizeof buffer, d)), ENOENT);
  EXPECT_STREQ(buffer, "untouched");
  EXPECT_EQ(error_of(sysfs_get_attr("%s", buffer, sizeof buffer, d)), EISDIR);
  EXPECT_EQ(std::string(buffer, sizeof buffer), "\0ntouched\0"s);
  const std::string note = "error reading sysfs attribute (" + dir.path() + ")";
  EXPECT_EQ(system.log(), std::vector<LogLine>({{"syslog", 4, note}}));
}

// A programming error ends the process, in a build without assertions too.
TEST(Sysfs, NullBufferAborts) {
  EXPECT_EXIT(sysfs_get_attr("%s", nullptr, 4, "/dev/null"), ::testing::KilledBySignal(SIGABRT),
              "^utils: sysfs_get_attr: Assertion `buf != \\(\\(void \\*\\)0\\)' failed\\.\n");
}

TEST(Sysfs, Writes) {
  const TempDir dir;
  const char *d = dir.path().c_str();
  const std::string path = dir.write("attr7", "old content");
  SystemDouble system;
  const DescriptorCheck descriptors;
  for (const char *text : {"on", ""}) {
    EXPECT_EQ(sysfs_set_attr("%s/attr%d", text, d, 7), 0);
    EXPECT_EQ(read_file(path), text);
  }
  EXPECT_TRUE(system.log().empty());

  EXPECT_EQ(sysfs_set_attr("%s/no/attr", "1", d), 1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(sysfs_set_attr("/dev/%s", "1", "full"), 1);  // takes no byte
  EXPECT_EQ(errno, ENOSPC);
  const std::string note =
      "error opening sysfs attribute file (" + dir.path() + "/no/attr) for writing";
  EXPECT_EQ(system.log(),
            std::vector<LogLine>(
                {{"syslog", 6, note}, {"syslog", 4, "error writing sysfs attribute (/dev/full)"}}));
}

// Paths hold 255 characters; what is longer is cut.
TEST(Sysfs, LongPathsAreCut) {
  const TempDir dir;
  const std::string padding(255 - dir.path().size() - 3, '/');
  const std::string over = dir.path() + padding + "name";
  EXPECT_EQ(sysfs_set_attr("%s", "cut", over.c_str()), 0);
  EXPECT_EQ(read_file(dir / "nam"), "cut");
  char buffer[8] = {};
  EXPECT_EQ(sysfs_get_attr("%s", buffer, 7, over.c_str()), 3);
  EXPECT_STREQ(buffer, "cut");
}

}  // namespace
}  // namespace talvera::test
