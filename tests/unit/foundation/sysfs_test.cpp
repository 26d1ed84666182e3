// Attribute files: what is read and cut, what is written, and how failures are told.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

using namespace std::string_literals;

TEST(Sysfs, ReadsAndCutsAtTheFirstLineEnd) {
  struct Case {
    std::string content;
    std::size_t size;
    int result;
    std::string buffer;  // all 8 bytes, '.' for untouched ones
  };
  const Case cases[] = {
      {"1\n", 8, 2, "1\0......"s},         {"up\r\ndown", 8, 8, "up\0\ndown"s},
      {"a\nb\r", 8, 4, "a\0b\r...."s},     {"", 8, 0, "........"},
      {"abc", 8, 3, "abc....."},           {"0123456789\n", 7, 7, "0123456."},
      {"ps\0-ax\n"s, 8, 7, "ps\0-ax\0."s}, {"\n", 8, 1, "\0......."s},
      {"1\n", 0, 0, "........"},
  };
  const TempDir dir;
  const int before = open_descriptors();
  for (const Case &c : cases) {
    dir.write("attr3", c.content);
    std::string buffer(8, '.');
    EXPECT_EQ(sysfs_get_attr("%s/attr%d", buffer.data(), c.size, dir.path().c_str(), 3), c.result);
    EXPECT_EQ(buffer, c.buffer) << c.content;
  }
  EXPECT_EQ(open_descriptors(), before);
}

TEST(Sysfs, ReadFailures) {
  const TempDir dir;
  SystemDouble system;
  const int before = open_descriptors();
  char buffer[] = "untouched";
  EXPECT_EQ(sysfs_get_attr("%s/none", buffer, sizeof buffer, dir.path().c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_STREQ(buffer, "untouched");
  EXPECT_TRUE(system.log().empty());

  EXPECT_EQ(sysfs_get_attr("%s", buffer, sizeof buffer, dir.path().c_str()), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(std::string(buffer, sizeof buffer), "\0ntouched\0"s);
  EXPECT_EQ(
      system.log(),
      std::vector<LogLine>({{"syslog", 4, "error reading sysfs attribute (" + dir.path() + ")"}}));
  EXPECT_EQ(open_descriptors(), before);
}

// A programming error ends the process, in a build without assertions too.
TEST(Sysfs, NullBufferAborts) {
  EXPECT_EXIT(sysfs_get_attr("%s", nullptr, 4, "/dev/null"), ::testing::KilledBySignal(SIGABRT),
              "^utils: sysfs_get_attr: Assertion `buf != \\(\\(void \\*\\)0\\)' failed\\.\n");
}

TEST(Sysfs, Writes) {
  const TempDir dir;
  const std::string path = dir.write("attr7", "old content");
  SystemDouble system;
  const int before = open_descriptors();
  EXPECT_EQ(sysfs_set_attr("%s/attr%d", "on", dir.path().c_str(), 7), 0);
  EXPECT_EQ(read_file(path), "on");
  EXPECT_EQ(sysfs_set_attr("%s/attr%d", "", dir.path().c_str(), 7), 0);
  EXPECT_EQ(read_file(path), "");
  EXPECT_TRUE(system.log().empty());

  EXPECT_EQ(sysfs_set_attr("%s/no/attr", "1", dir.path().c_str()), 1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(sysfs_set_attr("/dev/%s", "1", "full"), 1);  // takes no byte
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(system.log(),
            std::vector<LogLine>(
                {{"syslog", 6,
                  "error opening sysfs attribute file (" + dir.path() + "/no/attr) for writing"},
                 {"syslog", 4, "error writing sysfs attribute (/dev/full)"}}));
  EXPECT_EQ(open_descriptors(), before);
}

// Paths hold 255 characters; what is longer is cut.
TEST(Sysfs, LongPathsAreCut) {
  const TempDir dir;
  const std::string padding(255 - dir.path().size() - 3, '/');
  const std::string over = dir.path() + padding + "nam" + "e";
  EXPECT_EQ(sysfs_set_attr("%s", "cut", over.c_str()), 0);
  EXPECT_EQ(read_file(dir / "nam"), "cut");
  char buffer[8] = {};
  EXPECT_EQ(sysfs_get_attr("%s", buffer, 7, over.c_str()), 3);
  EXPECT_STREQ(buffer, "cut");
}

}  // namespace
}  // namespace talvera::test
