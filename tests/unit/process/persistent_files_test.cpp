// The command lines for the persistent-file tool.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

class PersistentFiles : public ::testing::Test {
 protected:
  PersistentFiles() { system.answer("system", 5 << 8, 0, kAlways); }
  SystemDouble system;
};

TEST_F(PersistentFiles, ForgetsListedFilesThatContainAText) {
  const TempDir dir;
  // A line comes in pieces of at most 1023 characters: of the first of these the first piece ends
  // with the text, of the second no piece has it.
  const std::string whole = std::string(1018, 'x') + "/ETC/";
  const std::string divided = std::string(1019, 'x') + "/ETC/y";
  const std::string list = dir.write(
      "list", "/var/etc/a\n/Etc/b c\n/var/lib/c\n" + divided + "\n" + whole + "y\n/etc/last");
  system.redirect("/sbin/pfs -l", "cat " + list + "; exit 3");
  EXPECT_EQ(pfs_forget_files("/etc/"), 3 << 8);
  EXPECT_EQ(system.calls(), Texts({"popen /sbin/pfs -l", "system /sbin/pfs -r /var/etc/a\n",
                                   "system /sbin/pfs -r /Etc/b c\n",
                                   "system " + ("/sbin/pfs -r " + whole).substr(0, 511),
                                   "system /sbin/pfs -r /etc/last"}));

  system.clear_records();
  dir.write("list", "a\nb\n");
  EXPECT_EQ(pfs_forget_files(nullptr), 3 << 8);
  EXPECT_EQ(system.count("system"), 2);
  system.clear_records();
  system.fail("popen", EMFILE);
  EXPECT_EQ(pfs_forget_files("a"), 0);
  EXPECT_EQ(system.count("system"), 0);
}

TEST_F(PersistentFiles, NewBoxStopsTheRunningTool) {
  system.redirect("pidof pfs", "echo 4321 99");
  system.answer("kill", 0);  // and then there is no process to be found
  system.fail("kill", ESRCH);
  system.answer("waitpid", 0, 0, kAlways);
  EXPECT_EQ(pfs_newbox(), 5);
  EXPECT_EQ(system.calls(),
            Texts({"popen pidof pfs", "kill 4321 15", "kill 4321 0",
                   "waitpid 4321 " + std::to_string(WNOHANG), "system pfs -e > /dev/null 2>&1"}));
  system.clear_records();
  system.redirect("pidof pfs", "true");
  EXPECT_EQ(pfs_newbox(), 5);
  EXPECT_EQ(system.calls(), Texts({"popen pidof pfs", "system pfs -e > /dev/null 2>&1"}));
}

// The flag stays set to the end of the process, so this is one test.
TEST_F(PersistentFiles, NothingIsAddedOrCommittedDuringAClearing) {
  EXPECT_EQ(pfs_remember_file("/etc/a"), 5);
  EXPECT_EQ(pfs_commit(), 5);
  EXPECT_EQ(system.calls(), Texts({"system /sbin/pfs -a /etc/a", "system /sbin/pfs -s"}));

  pfs_clearing_set();
  system.clear_records();
  EXPECT_EQ(pfs_remember_file("/etc/a"), 1);
  EXPECT_EQ(pfs_commit(), 1);
  EXPECT_EQ(pfs_forget_file("/etc/a"), 5);
  EXPECT_EQ(system.calls(), Texts({"system /sbin/pfs -r /etc/a"}));
}

}  // namespace
}  // namespace talvera::test
