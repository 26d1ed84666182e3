// Directory look-ups and lists of regular files.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/errors.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

TEST(DirList, ListsRegularFilesInByteOrder) {
  const TempDir dir;
  for (const char *name : {"b", "a10", "B", "a2", ".hidden"})
    dir.write(name, "");
  mkdir((dir / "sub").c_str(), 0700);
  ASSERT_EQ(symlink("b", (dir / "link").c_str()), 0);

  dirent **list = nullptr;
  const int count = uf_get_dirent_list(dir.path().c_str(), &list);
  Texts names;
  for (int i = 0; i < count; ++i)
    names.emplace_back(list[i]->d_name);
  EXPECT_THAT(names, ElementsAre(".hidden", "B", "a10", "a2", "b"));

  EXPECT_EQ(uf_contains_file_by_name(list, count, "b"), 1);
  EXPECT_EQ(uf_contains_file_by_name(list, count, "a"), 0);
  EXPECT_EQ(uf_contains_file_by_name(list, count - 1, "b"), 0);
  EXPECT_EQ(uf_contains_file_by_name(nullptr, -1, "b"), 0);

  const auto starts_with_a = [](const char *name) { return name[0] == 'a' ? -7 : 0; };
  EXPECT_EQ(uf_filtered_file_count(list, count, starts_with_a), 2);
  EXPECT_EQ(uf_filtered_file_count(list, 3, starts_with_a), 1);
  EXPECT_EQ(uf_filtered_file_count(nullptr, -1, starts_with_a), 0);

  uf_free_dirent_list(&list, count);
  EXPECT_EQ(list, nullptr);
  uf_free_dirent_list(&list, 0);
  uf_free_dirent_list(nullptr, 0);
}

TEST(DirList, NothingToListLeavesANullList) {
  const TempDir dir;
  ASSERT_EQ(symlink("/etc/passwd", (dir / "link").c_str()), 0);
  SystemDouble system;
  const auto get_error = [](const std::string &path) {
    auto **list = reinterpret_cast<dirent **>(0x10);
    const int error = error_of(uf_get_dirent_list(path.c_str(), &list));
    EXPECT_EQ(list, nullptr);
    return error;
  };
  EXPECT_EQ(get_error(dir.path()), 0);
  EXPECT_EQ(get_error(dir / "missing"), ENOENT);
  dir.write("file", "");
  dirent **list = nullptr;
  EXPECT_EQ(uf_get_dirent_list(dir.path().c_str(), &list), 1);
  uf_free_dirent_list(&list, 1);
  system.fail("malloc", ENOMEM, 1);  // there is one at least after that of the open directory
  EXPECT_EQ(get_error(dir.path()), ENOMEM);
}

TEST(DirList, DirectoriesAndPaths) {
  const TempDir dir;
  const std::string file = dir.write("file", "x");
  ASSERT_EQ(symlink("nowhere", (dir / "dangling").c_str()), 0);
  const DescriptorCheck descriptors;
  EXPECT_EQ(dir_exists(dir.path().c_str()), 1);
  EXPECT_EQ(dir_exists(file.c_str()), 0);
  EXPECT_EQ(dir_exists((dir / "missing").c_str()), 0);
  EXPECT_EQ(uf_path_exists(dir.path().c_str()), 1);
  EXPECT_EQ(uf_path_exists(file.c_str()), 1);
  EXPECT_EQ(uf_path_exists((dir / "dangling").c_str()), 0);
}

}  // namespace
}  // namespace talvera::test
