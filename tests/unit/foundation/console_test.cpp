// Messages on the console, whose descriptor lasts as long as the process: one test tells its story.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

TEST(Console, OpensOnceAndAddsCarriageReturns) {
  const TempDir dir;
  const std::string console = dir / "console";
  SystemDouble system;
  system.redirect("/dev/console", console);
  EXPECT_LT(cons_printk("lost"), 0);
  EXPECT_EQ(errno, ENOENT);

  dir.write("console", "");
  const int before = open_descriptors();
  cons_printk("up %d\n", 7);
  cons_printk("no line feed");
  EXPECT_EQ(cons_printk("%s", ""), 0);
  cons_printk("\n");
  EXPECT_EQ(read_file(console), "up 7\n\rno line feed\n\r");
  EXPECT_EQ(open_descriptors(), before + 1);
  bool closed_on_exec = false;
  for (int fd = 3; fd < 64; ++fd)
    closed_on_exec = closed_on_exec || (fcntl(fd, F_GETFD) == FD_CLOEXEC &&
                                        (fcntl(fd, F_GETFL) & O_ACCMODE) == O_WRONLY);
  EXPECT_TRUE(closed_on_exec);

  // 255 characters fit; what is longer is cut and gets no carriage return.
  const std::string fits = std::string(254, 'f') + "\n";
  const std::string over = std::string(254, 'o') + "\n";
  const std::string expected = read_file(console) + fits + "\r" + over;
  cons_printk("%s", fits.c_str());
  cons_printk("%s", (over + "\n").c_str());
  system.fail("write", EINTR);
  cons_printk("not tried again");
  EXPECT_EQ(read_file(console), expected);
}

}  // namespace
}  // namespace talvera::test
