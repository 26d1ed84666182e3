// Sets built from a directory, look-ups and edits.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "unit/files/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

TEST(FileSet, IsBuiltFromRegularFiles) {
  const std::string longest(31, 'l');
  const Folder folder({"c", "a", "B", longest, std::string(32, 'm'), std::string(200, 'n')});
  mkdir((folder / "directory").c_str(), 0700);
  ASSERT_EQ(symlink("a", (folder / "link").c_str()), 0);
  folder.write(kDatabase, "#1:0\n");

  of_files_info *set = folder.list();
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->version, 1);
  EXPECT_THAT(items(set),
              ElementsAre("1:1:0:B", "2:1:0:a", "3:1:0:c", "4:1:0:" + longest,
                          "5:1:0:" + std::string(31, 'm'), "6:1:0:" + std::string(31, 'n')));
  // One block, the items behind the header.
  EXPECT_EQ(static_cast<void *>(set->items), static_cast<void *>(set + 1));
  of_free_files_info(&set);
  EXPECT_EQ(set, nullptr);
  of_free_files_info(&set);
  of_free_files_info(nullptr);
}

TEST(FileSet, NothingToList) {
  const Folder folder;
  of_files_info *set = folder.list();
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->count, 0);
  of_free_files_info(&set);

  set = reinterpret_cast<of_files_info *>(0x10);
  EXPECT_EQ(of_init_files_info(&set, not_the_database, (folder / "missing").c_str()), -1);
  EXPECT_EQ(set, nullptr);
}

TEST(FileSet, FilterSeesWholeNames) {
  const std::string start(31, 'm');
  const Folder folder({start + ".jpg", start + ".png"});
  const of_filter pictures = [](const char *name) {
    return std::strstr(name, ".jpg") != nullptr ? 1 : 0;
  };
  EXPECT_THAT(taken(folder.list(pictures)), ElementsAre("1:1:0:" + start));
}

int calls = 0, accept_from = 0, accept_to = 0;

int accept_some(const char *) {
  const int call = calls++;
  return accept_from <= call && call < accept_to ? 1 : 0;
}

// Each file is asked for twice. The set holds what the filter counted at first, at most.
TEST(FileSet, FilterThatChangesItsMind) {
  const Folder folder({"a", "b", "c"});
  const int cases[][3] = {{0, 1, 0}, {0, 4, 1}, {0, 5, 2}, {0, 9, 3}, {2, 9, 1}, {3, 9, 0}};
  for (const auto &[from, to, size] : cases) {
    calls = 0;
    accept_from = from;
    accept_to = to;
    EXPECT_EQ(taken(folder.list(accept_some)).size(), static_cast<unsigned>(size)) << from << to;
  }
}

TEST(FileSet, LookUpsGiveTheFirst) {
  of_file_info list[] = {{"x", 1, 3, 0}, {"y", 1, 2, 0}, {"x", 1, 2, 0}, {"xy", 1, -1, 0}};
  of_files_info set{1, 4, list};
  EXPECT_EQ(of_get_file_info_from_name(&set, "x"), &list[0]);
  EXPECT_EQ(of_get_file_info_from_name(&set, "xy"), &list[3]);
  EXPECT_EQ(of_get_file_info_from_order(&set, 2), &list[1]);
  EXPECT_EQ(of_get_file_info_from_order(&set, -1), &list[3]);
  EXPECT_EQ(of_get_file_info_from_order(&set, 1), nullptr);
  set.count = 3;
  EXPECT_EQ(of_get_file_info_from_name(&set, "xy"), nullptr);
}

TEST(FileSet, MovesRenumberTheItemsBetween) {
  using Orders = std::vector<int>;
  // Orders, index of the item, its new order; result, orders after.
  const std::tuple<Orders, std::size_t, int, int, Orders> cases[] = {
      {{1, 2, 3, 4, 5}, 3, 2, 0, {1, 3, 4, 2, 5}},
      {{1, 2, 3, 4, 5}, 1, 4, 0, {1, 4, 2, 3, 5}},
      {{1, 2, 3}, 2, 1, 0, {2, 3, 1}},
      {{1, 2, 3}, 0, 3, 0, {3, 1, 2}},
      {{1, 2, 3}, 1, 0, -1, {1, 2, 3}},
      {{1, 2, 3}, 1, 4, -1, {1, 2, 3}},
      // Orders that are not 1 to count, and shared ones.
      {{2, 2, 3}, 0, 1, 0, {1, 2, 3}},
      {{2, 2, 1}, 0, 1, 0, {1, 2, 2}},
      {{2, 2, 3}, 0, 3, 0, {3, 2, 2}},
      {{9, 2, 3}, 0, 2, 0, {2, 3, 4}},
      {{-5, 1, 3}, 0, 2, 0, {2, 0, 3}},
  };
  for (const auto &[orders, item, new_order, result, after] : cases) {
    std::vector<of_file_info> list(orders.size());
    for (std::size_t i = 0; i < orders.size(); ++i)
      list[i].order = orders[i];
    of_files_info set{1, static_cast<std::int32_t>(list.size()), list.data()};
    EXPECT_EQ(of_set_order_for_item(&set, &list[item], new_order), result);
    Orders got;
    for (const of_file_info &info : list)
      got.push_back(info.order);
    EXPECT_EQ(got, after) << item << " to " << new_order;
  }
}

TEST(FileSet, SwitchAndFlags) {
  of_file_info item{"x", 7, 1, 0};
  EXPECT_EQ(of_set_enable_for_item(&item, -3), 0);
  EXPECT_EQ(item.enable, 1);
  EXPECT_EQ(of_set_enable_for_item(&item, 0), 0);
  EXPECT_EQ(item.enable, 0);
  EXPECT_EQ(of_set_flags_for_item(&item, 0xFEDCBA98), 0);
  EXPECT_EQ(item.flags, 0xFEDCBA98);
}

}  // namespace
}  // namespace talvera::test
