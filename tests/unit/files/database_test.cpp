// The database file: what is written, and what is read from good and bad files.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "unit/files/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

TEST(Database, WritesItemsInAscendingOrder) {
  const Folder folder;
  folder.write(kDatabase, std::string(1000, 'x'));
  of_file_info list[] = {
      {"last", 1, 3, 255},       {"first", 0, 1, 0},  {"one-past", 1, 6, 0x80000000},
      {"shares-first", 1, 1, 0}, {"beyond", 1, 7, 0},
  };
  const of_files_info set{77, 5, list};
  EXPECT_EQ(of_serialize(&set, folder.c_str(), kDatabase), 0);
  EXPECT_EQ(folder.database(), "#1:5\n1:0:0:first\n3:1:ff:last\n6:1:80000000:one-past\n");

  const of_files_info empty{1, 0, nullptr};
  EXPECT_EQ(of_serialize(&empty, folder.c_str(), kDatabase), 0);
  EXPECT_EQ(folder.database(), "#1:0\n");

  of_file_info outside[] = {{"zero", 1, 0, 0}, {"negative", 1, -1, 0}, {"past", 1, 4, 0}};
  const of_files_info none{1, 3, outside};
  EXPECT_EQ(of_serialize(&none, folder.c_str(), kDatabase), 0);
  EXPECT_EQ(folder.database(), "#1:3\n4:1:0:past\n");
}

TEST(Database, CannotBeWritten) {
  const Folder folder;
  of_file_info item{"x", 1, 1, 0};
  const of_files_info set{1, 1, &item};
  const int before = open_descriptors();
  EXPECT_EQ(of_serialize(&set, (folder / "missing").c_str(), kDatabase), -1);
  EXPECT_EQ(errno, ENOENT);

  // Whichever write fails: that of the last item may leave nothing to be written at the close.
  of_file_info many[300];
  for (int i = 0; i < 300; ++i)
    many[i] = {"0123456789012345678901234567", 1, i + 1, 0};
  for (std::int32_t count = 1; count <= 300; ++count) {
    const of_files_info some{1, count, many};
    EXPECT_EQ(of_serialize(&some, "/dev", "full"), -1) << count;
    EXPECT_EQ(errno, ENOSPC);
  }
  EXPECT_EQ(open_descriptors(), before);
}

TEST(Database, ReadsWhatWasSaved) {
  const std::string longest(31, 'l');
  const std::pair<std::string, Texts> cases[] = {
      // the version first
      {"#1:2\n1:1:0:b.jpg\n2:0:4:a.jpg\n", {"1", "1:1:0:b.jpg", "2:0:4:a.jpg"}},
      {"#1:1\n1:1:ff:a", {"1", "1:1:ff:a"}},
      {"#1:1\n9:7:fFfFfFfF:a\nwhat follows is not read", {"1", "9:7:ffffffff:a"}},
      {"#1:0\n1:1:0:a\n", {"1"}},
      // Any version will do for nothing.
      {"#2:0\n", {"2"}},
      {"#-3:0", {"-3"}},
      // No header: nothing saved.
      {"", {"1"}},
      {" #5:1\n1:1:0:a\n", {"1"}},
      {"#5\n1:1:0:a\n", {"1"}},
      {"#5 :1\n", {"1"}},
      {"#5:x\n", {"1"}},
      {"#-:1\n1:1:0:a\n", {"1"}},
      // White space before a field does not count, nor do signs and prefixes of numbers.
      {"# 1: 1 +1:\t-1:\n0x1F: a\n", {"1", "1:-1:1f:a"}},
      {"#1:2\n1:1:0:a 2:1:0X1f:b", {"1", "1:1:0:a", "2:1:1f:b"}},
      {"#1:1\r\n\r\n1:1:-1:a\r\n", {"1", "1:1:ffffffff:a"}},
      {"#1:1\n1:1:00:a:b%c#\n", {"1", "1:1:0:a:b%c#"}},
      {"#1:1\n1:1:0:\xff\xe4\n", {"1", "1:1:0:\xff\xe4"}},
      {"#1:2\n1:1:0:a\v2:1:0:b\f", {"1", "1:1:0:a", "2:1:0:b"}},
      {"#1:1\n1234567890:-987654321:abcdef:a\n", {"1", "1234567890:-987654321:abcdef:a"}},
      // Numbers keep to 32 bits, names to their field.
      {"#1:2\n99999999999999999999:-99999999999999999999:1ffffffff:a\n2147483648:-2147483648:"
       "ABCDEF:b",
       {"1", "2147483647:-2147483648:ffffffff:a", "2147483647:-2147483648:abcdef:b"}},
      {"#1:3\n1:1:-ffffffff:a\n2:1:-1ffffffff:b\n3:1:-100000000:c\n",
       {"1", "1:1:1:a", "2:1:ffffffff:b", "3:1:ffffffff:c"}},
      {"#1:2\n1:1:0:" + longest + "\n2:1:0:" + longest + std::string(10000, 'X'),
       {"1", "1:1:0:" + longest, "2:1:0:" + longest}},
  };
  for (const auto &[content, expected] : cases) {
    SCOPED_TRACE(content.substr(0, 80));
    const Folder folder({"other"});
    folder.write(kDatabase, content);
    of_files_info *set = nullptr;
    ASSERT_EQ(of_deserialize(&set, nullptr, folder.c_str(), kDatabase, 1), 0);
    Texts read = {std::to_string(set->version)};
    for (const std::string &item : taken(set))
      read.push_back(item);
    EXPECT_EQ(read, expected);
  }
}

TEST(Database, RefusesBadItems) {
  const char *const cases[] = {
      "#1:1\n",           "#1:2\n1:1:0:a\n2:1:0:\n", "#1:2\n1:1:0:a b\n2:1:0:c\n",
      "#1:1\nx:1:0:a\n",  "#1:1\n1:x:0:a\n",         "#1:1\n1:1:x:a\n",
      "#1:1\n1:1:0x:a\n", "#1:1\n1:1:-:a\n",         "#1:1\n1 :1:0:a\n",
      "#2:1\n1:1:0:a\n",  "#1:-1\n1:1:0:a\n",        "#1:2147483647\n1:1:0:a\n",
  };
  auto *const stale = reinterpret_cast<of_files_info *>(0x10);
  const int before = open_descriptors();
  for (const char *content : cases) {
    const Folder folder;
    folder.write(kDatabase, content);
    of_files_info *set = stale;
    EXPECT_EQ(of_deserialize(&set, not_the_database, folder.c_str(), kDatabase, 1), -1) << content;
    EXPECT_EQ(set, stale) << content;
  }
  EXPECT_EQ(open_descriptors(), before);
}

// Memory is not asked for when the file is too short for its count.
TEST(Database, ShortFileIsRefusedAtOnce) {
  const Folder folder;
  folder.write("long", "#1:2\n1:1:0:a\n2:1:0:b");
  folder.write("short", "#1:3\n1:1:0:a\n2:1:0:b");
  SystemDouble system;
  of_files_info *set = folder.load("long");
  of_free_files_info(&set);
  const int allocations = system.count("malloc");
  EXPECT_EQ(folder.load("short"), nullptr);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(system.count("malloc"), 2 * allocations - 1);
}

// A pipe does not tell how much it holds.
TEST(Database, CountFromAPipe) {
  const Folder folder;
  ASSERT_EQ(mkfifo((folder / kDatabase).c_str(), 0600), 0);
  const int pipe = open((folder / kDatabase).c_str(), O_RDWR);
  const auto feed = [pipe](const std::string &text) {
    return write(pipe, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  };
  of_files_info *set = nullptr;
  ASSERT_TRUE(feed("#1:2\n1:1:0:a\n2:1:0:b\n"));
  EXPECT_THAT(taken(folder.load()), ElementsAre("1:1:0:a", "2:1:0:b"));

  // With 32 bits so many items take 52 bytes more than can be counted.
  const bool too_many = sizeof(std::size_t) == 4;
  std::string text = too_many ? "#1:97612894\n" : "#1:101\n";
  for (int i = 0; i < 100; ++i)
    text += "1:1:0:a\n";
  ASSERT_TRUE(feed(text + "end"));
  EXPECT_EQ(of_deserialize(&set, nullptr, folder.c_str(), kDatabase, 0), -1);
  EXPECT_EQ(errno, too_many ? ENOMEM : EINVAL);
  EXPECT_EQ(set, nullptr);
  close(pipe);
}

// Paths are cut to 4095 characters, and not before.
TEST(Database, LongPaths) {
  const Folder folder;
  std::string dir = folder.path();
  while (dir.size() + 1 < 4095 - sizeof kDatabase)
    dir += "/.";
  dir.resize(4095 - sizeof kDatabase, '/');
  const char *const name = ".order-and-what-is-cut";
  of_file_info item{"x", 1, 1, 0};
  const of_files_info set{1, 1, &item};
  EXPECT_EQ(of_serialize(&set, dir.c_str(), name), 0);
  EXPECT_EQ(folder.database(), "#1:1\n1:1:0:x\n");
  of_files_info *read = nullptr;
  ASSERT_EQ(of_deserialize(&read, nullptr, dir.c_str(), name, 0), 0);
  EXPECT_THAT(taken(read), ElementsAre("1:1:0:x"));
}

TEST(Database, MissingFileIsMadeUpOnRequest) {
  const Folder folder({"b", "a"});
  auto *const stale = reinterpret_cast<of_files_info *>(0x10);
  of_files_info *set = stale;
  EXPECT_EQ(of_deserialize(&set, not_the_database, folder.c_str(), kDatabase, 0), -1);
  EXPECT_EQ(set, stale);
  ASSERT_EQ(of_deserialize(&set, not_the_database, folder.c_str(), kDatabase, 255), 0);
  EXPECT_THAT(taken(set), ElementsAre("1:1:0:a", "2:1:0:b"));
  set = stale;
  EXPECT_EQ(of_deserialize(&set, not_the_database, (folder / "missing").c_str(), kDatabase, 1), -1);
  EXPECT_EQ(set, nullptr);
}

// A directory in the file's place opens, but gives nothing.
TEST(Database, DirectoryIsEmpty) {
  const Folder folder;
  mkdir((folder / kDatabase).c_str(), 0700);
  of_files_info *set = folder.load();
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->count, 0);
  of_free_files_info(&set);
  EXPECT_EQ(folder.sync(), -1);
}

}  // namespace
}  // namespace talvera::test
