// Directory look-ups and lists of regular files.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

Texts names(dirent **list, int count) {
  Texts result;
  for (int i = 0; i < count; ++i)
    result.emplace_back(list[i]->d_name);
  return result;
}

TEST(DirList, ListsRegularFilesInByteOrder) {
  const TempDir dir;
  for (const char *name : {"b", "a10", "B", "a2", ".hidden"})
    dir.write(name, "");
  mkdir((dir / "sub").c_str(), 0700);
  ASSERT_EQ(symlink("b", (dir / "link").c_str()), 0);
  ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);

  dirent **list = nullptr;
  const int count = uf_get_dirent_list(dir.path().c_str(), &list);
  EXPECT_THAT(names(list, count), ElementsAre(".hidden", "B", "a10", "a2", "b"));

  EXPECT_EQ(uf_contains_file_by_name(list, count, "b"), 1);
  EXPECT_EQ(uf_contains_file_by_name(list, count, "A2"), 0);
  EXPECT_EQ(uf_contains_file_by_name(list, count, "a"), 0);
  EXPECT_EQ(uf_contains_file_by_name(list, count - 1, "b"), 0);
  EXPECT_EQ(uf_contains_file_by_name(list, 0, "b"), 0);
  EXPECT_EQ(uf_contains_file_by_name(nullptr, -1, "b"), 0);

  const auto starts_with_a = [](const char *name) { return name[0] == 'a' ? -7 : 0; };
  EXPECT_EQ(uf_filtered_file_count(list, count, starts_with_a), 2);
  EXPECT_EQ(uf_filtered_file_count(list, 3, starts_with_a), 1);
  EXPECT_EQ(uf_filtered_file_count(nullptr, 0, starts_with_a), 0);
  EXPECT_EQ(uf_filtered_file_count(nullptr, -1, starts_with_a), 0);

  uf_free_dirent_list(&list, count);
  EXPECT_EQ(list, nullptr);
  uf_free_dirent_list(&list, 0);
}

TEST(DirList, NothingToListLeavesANullList) {
  const TempDir dir;
  mkdir((dir / "sub").c_str(), 0700);
  ASSERT_EQ(symlink("/etc/passwd", (dir / "link").c_str()), 0);

  auto *const stale = reinterpret_cast<dirent **>(0x10);
  dirent **list = stale;
  EXPECT_EQ(uf_get_dirent_list(dir.path().c_str(), &list), 0);
  EXPECT_EQ(list, nullptr);

  list = stale;
  EXPECT_EQ(uf_get_dirent_list((dir / "missing").c_str(), &list), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(list, nullptr);

  SystemDouble system;
  dir.write("file", "");
  for (int allocation = 0; allocation < 3; ++allocation) {
    list = stale;
    system.fail("malloc", ENOMEM, allocation);
    const int count = uf_get_dirent_list(dir.path().c_str(), &list);
    if (count == 1) {  // the list was made with fewer allocations
      uf_free_dirent_list(&list, count);
    } else {
      EXPECT_EQ(count, -1);
      EXPECT_EQ(errno, ENOMEM);
      EXPECT_EQ(list, nullptr);
    }
    system.forget();
  }
}

TEST(DirList, DirectoriesAndPaths) {
  const TempDir dir;
  const std::string file = dir.write("file", "x");
  ASSERT_EQ(symlink("nowhere", (dir / "dangling").c_str()), 0);
  const int before = open_descriptors();
  EXPECT_EQ(dir_exists(dir.path().c_str()), 1);
  EXPECT_EQ(dir_exists(file.c_str()), 0);
  EXPECT_EQ(dir_exists((dir / "missing").c_str()), 0);
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(uf_path_exists(dir.path().c_str()), 1);
  EXPECT_EQ(uf_path_exists(file.c_str()), 1);
  EXPECT_EQ(uf_path_exists((dir / "dangling").c_str()), 0);
}

}  // namespace
}  // namespace talvera::test
