// One pass over a directory: what is kept, what is added, in which order; for any database.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <random>

#include "unit/files/fixture.h"

namespace talvera::test {
namespace {

TEST(Sync, LifeOfAFolder) {
  const Folder folder({"c", "a", "b"});
  EXPECT_EQ(folder.sync(), 0);
  EXPECT_EQ(folder.database(), "#1:3\n1:1:0:a\n2:1:0:b\n3:1:0:c\n");

  folder.write(kDatabase, "#1:3\n1:0:0:c\n2:1:4:a\n3:1:0:b\n");
  EXPECT_EQ(folder.sync(), 0);
  EXPECT_EQ(folder.database(), "#1:3\n1:0:0:c\n2:1:4:a\n3:1:0:b\n");

  folder.write("d", "");
  EXPECT_EQ(folder.sync(), 0);
  EXPECT_EQ(folder.database(), "#1:4\n1:1:0:d\n2:0:0:c\n3:1:4:a\n4:1:0:b\n");

  // Moving one file after the other may swap two: c is moved to its place 2 after a was to 3.
  folder.write("f", "");
  folder.write("e", "");
  EXPECT_EQ(folder.sync(), 0);
  EXPECT_EQ(folder.database(), "#1:6\n1:1:0:f\n2:1:0:e\n3:1:0:d\n4:1:4:a\n5:0:0:c\n6:1:0:b\n");

  // A saved order beyond the number of files left is not taken over.
  for (const char *name : {"c", "e", "f"})
    unlink((folder / name).c_str());
  EXPECT_EQ(folder.sync(), 0);
  EXPECT_EQ(folder.database(), "#1:3\n1:1:4:a\n2:1:0:b\n3:1:0:d\n");

  for (const char *name : {"a", "b", "d"})
    unlink((folder / name).c_str());
  EXPECT_EQ(folder.sync(), 0);
  EXPECT_EQ(folder.database(), "#1:0\n");
}

TEST(Sync, BadDatabaseIsMadeAnew) {
  for (const char *content : {"", "garbled", "#1:2\n1:0:f:b\nbroken", "#2:1\n1:0:f:b\n", "#1:-1\n",
                              "#1:2\n1:0:f:b c\n"}) {
    const Folder folder({"b", "a"});
    folder.write(kDatabase, content);
    EXPECT_EQ(folder.sync(), 0);
    // Without a header everything counts as new, and each new file goes to the top in turn.
    const bool all_new = content[0] != '#';
    EXPECT_EQ(folder.database(), all_new ? "#1:2\n1:1:0:b\n2:1:0:a\n" : "#1:2\n1:1:0:a\n2:1:0:b\n")
        << content;
  }
}

TEST(Sync, DatabaseIsLeftAloneWhenItCannotBeDone) {
  const Folder folder({"a", "b"});
  folder.write(kDatabase, "saved");
  EXPECT_EQ(of_sync_dbfile(not_the_database, (folder / "missing").c_str(), kDatabase), -1);
  EXPECT_EQ(of_sync_dbfile(nullptr, folder.c_str(), kDatabase), -1);
  EXPECT_EQ(folder.database(), "saved");
}

// The pass as it is defined: one move after the other.
void move_one_by_one(of_files_info *current, of_files_info *saved) {
  for (int i = 0; i < current->count; ++i) {
    of_file_info &item = current->items[i];
    const of_file_info *known = of_get_file_info_from_name(saved, item.name);
    if (known == nullptr) continue;
    of_set_order_for_item(current, &item, known->order);
    item.enable = known->enable;
    item.flags = known->flags;
  }
  for (int i = 0; i < current->count; ++i) {
    of_file_info &item = current->items[i];
    if (of_get_file_info_from_name(saved, item.name) == nullptr)
      of_set_order_for_item(current, &item, 1);
  }
}

std::string name(unsigned number) {
  return std::string(number % 3 == 0 ? 29 : 3, 'n') + std::to_string(100 + number);
}

// A database for some of the files and some others, with orders in and out of range, many of them
// more than once.
std::string random_database(std::mt19937 &random, unsigned files) {
  const unsigned lines = static_cast<unsigned>(random() % (2 * files + 1));
  const bool permutation = random() % 2 == 0;
  std::string text = "#1:" + std::to_string(lines) + '\n';
  for (unsigned line = 0; line < lines; ++line) {
    const long order = permutation ? line + 1 : static_cast<long>(random() % (files + 4)) - 1;
    text += std::to_string(order) + ':' + std::to_string(random() % 3) + ':' +
            std::to_string(random() % 10) + ':' + name(random() % (files + 3)).substr(0, 31) + '\n';
  }
  return text;
}

TEST(Sync, AnyDatabaseGivesWhatTheMovesGiveOneByOne) {
  std::mt19937 random(11);
  for (unsigned files = 1; files <= 40; ++files) {
    const Folder folder;
    for (unsigned i = 0; i < files; ++i)
      folder.write(name(i), "");  // the long names are the same for ten files each, once cut
    for (int round = 0; round < 8; ++round) {
      const std::string database = random_database(random, files);
      folder.write(kDatabase, database);
      of_files_info *current = folder.list();
      of_files_info *saved = folder.load();
      ASSERT_TRUE(current != nullptr && saved != nullptr);
      move_one_by_one(current, saved);
      ASSERT_EQ(of_serialize(current, folder.c_str(), "expected"), 0);
      of_free_files_info(&saved);
      of_free_files_info(&current);
      const std::string expected = read_file(folder / "expected");
      unlink((folder / "expected").c_str());

      ASSERT_EQ(folder.sync(), 0);
      ASSERT_EQ(folder.database(), expected) << database;
    }
  }
}

}  // namespace
}  // namespace talvera::test
