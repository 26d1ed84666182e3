// Pairs in the table: exact bytes, chains, bounds of names and values, damaged tables.
#include <gmock/gmock.h>
#include <sys/shm.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <random>
#include <set>

#include "support/system_double.h"
#include "talvera/nvram.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kUsed = 96;
constexpr int kLink = 97;

class Pairs : public ::testing::Test {
 protected:
  Pairs() { nvram_hash = memory_.data() + kGuard; }
  ~Pairs() override {
    EXPECT_EQ(memory_.substr(0, kGuard), std::string(kGuard, '\xEE'));
    EXPECT_EQ(memory_.substr(kGuard + NVRAM_SEGMENT_SIZE), std::string(kGuard, '\xEE'));
    nvram_hash = nullptr;
  }

  std::string entry(int index) {
    return memory_.substr(kGuard + static_cast<std::size_t>(index) * 99, 99);
  }
  // What an entry of these fields must look like.
  static std::string bytes(std::string name, std::string value, char used, int link) {
    name.resize(32, '\0');
    value.resize(64, '\0');
    return name + value + used + static_cast<char>(link >> 8) + static_cast<char>(link);
  }
  void poke(int index, int offset, int value) {
    memory_[kGuard + static_cast<std::size_t>(index) * 99 + static_cast<std::size_t>(offset)] =
        static_cast<char>(value);
  }
  void poke_link(int index, int link) {
    poke(index, kLink, link >> 8);
    poke(index, kLink + 1, link);
  }
  std::set<int> used_entries() {
    std::set<int> used;
    for (int i = 0; i < NVRAM_ENTRIES; ++i) {
      if (entry(i)[kUsed] != 0) used.insert(i);
    }
    return used;
  }
  static std::string get(const std::string &name) {
    const char *value = nvram_get(name.c_str());
    return value != nullptr ? std::string(value, strnlen(value, NVRAM_VALUE_SIZE)) : "none";
  }
  static int set(const std::string &name, const std::string &value) {
    return nvram_set(name.c_str(), value.c_str());
  }
  static std::string shown() {
    testing::internal::CaptureStdout();
    nvram_show_all();
    return testing::internal::GetCapturedStdout();
  }

 private:
  static constexpr std::size_t kGuard = 4096;
  std::string memory_ = std::string(kGuard, '\xEE') + std::string(NVRAM_SEGMENT_SIZE, '\0') +
                        std::string(kGuard, '\xEE');
};

// Names of one hash, and so of one bucket: "Aa" and "BB" weigh the same.
std::string colliding(unsigned number) {
  std::string name;
  for (unsigned bit = 128; bit != 0; bit /= 2)
    name += (number & bit) != 0 ? "BB" : "Aa";
  return name;
}
constexpr int kBucket = 1;  // of these names

TEST_F(Pairs, BucketsOfNames) {
  struct Case {
    const char *name;
    int bucket;
  };
  for (const Case &c : {Case{"", 1},
                        {"a", 98},
                        {"\x7F", 128},
                        {"\x80", 129},
                        {"\xFF", 256},
                        {"\xFF\xFF", 225},
                        {"ab", 34},
                        {"wan.ifname", 115},
                        {"a name of forty characters, all in hash!", 155}}) {
    SCOPED_TRACE(c.name);
    const auto before = used_entries();
    ASSERT_EQ(before.count(c.bucket), 0U);
    EXPECT_EQ(set(c.name, "v"), 0);
    EXPECT_EQ(used_entries().count(c.bucket), 1U);
    EXPECT_EQ(get(c.name), "v");
  }
}

// The same bytes on every machine.
TEST_F(Pairs, BytesOfAChain) {
  EXPECT_EQ(set("Aa", "first"), 0);
  EXPECT_EQ(entry(65), bytes("Aa", "first", 1, 0));
  EXPECT_EQ(set("BB", "second"), 0);
  EXPECT_EQ(set("Aa", "again"), 0);
  const std::string third = "C#";
  EXPECT_EQ(set(third, "third"), 0);
  EXPECT_EQ(entry(65), bytes("Aa", "again", 1, 257));
  EXPECT_EQ(entry(257), bytes("BB", "second", 1, 258));
  EXPECT_EQ(entry(257).substr(kLink), "\x01\x02");
  EXPECT_EQ(entry(258), bytes(third, "third", 1, 0));
  EXPECT_THAT(used_entries(), ElementsAre(65, 257, 258));

  EXPECT_EQ(set("BB", "2"), 0);  // a shorter value leaves nothing of the longer one
  EXPECT_EQ(entry(257), bytes("BB", "2", 1, 258));
  EXPECT_EQ(get("Aa"), "again");
  EXPECT_EQ(get("BB"), "2");
  EXPECT_EQ(get(third), "third");
  EXPECT_EQ(get("none such"), "none");
  EXPECT_EQ(nvram_get("Aa"), static_cast<char *>(nvram_hash) + 65 * 99 + 32);

  // Read from bytes as another machine has left them.
  poke(258, 0, 'A');
  poke(258, 1, 'a');
  poke_link(65, 258);
  poke(65, 0, 'x');
  EXPECT_EQ(get("Aa"), "third");
  EXPECT_EQ(get("BB"), "none");
}

TEST_F(Pairs, NamesAreComparedOver32Characters) {
  const std::string name(32, 'n');
  EXPECT_EQ(set(name, "value"), 0);
  const auto bucket = *used_entries().begin();
  EXPECT_EQ(entry(bucket), bytes(name, "value", 1, 0));  // no terminator
  EXPECT_EQ(get(name), "value");
  EXPECT_EQ(get(name.substr(1)), "none");
  // A longer name of the same bucket is the same pair.
  const std::string first = name + "Aa";
  const std::string second = name + "BB";
  EXPECT_EQ(set(first, "long"), 0);
  EXPECT_EQ(get(second), "long");
  EXPECT_EQ(set(second, "longer"), 0);
  EXPECT_EQ(get(first), "longer");
  EXPECT_EQ(get(name), "value");  // hashed whole, so elsewhere
  EXPECT_EQ(used_entries().size(), 2U);
  EXPECT_EQ(nvram_unset(second.c_str()), 0);
  EXPECT_EQ(get(first), "none");

  // 31 characters are not the beginning of 32, also for those that share the bucket.
  const std::string shorter(31, 'Q');
  EXPECT_EQ(set(shorter, "31"), 0);
  for (int c = 1; c < 256; ++c) {
    const std::string other = shorter + static_cast<char>(c);
    ASSERT_EQ(get(other), "none");
    ASSERT_EQ(set(other, "32"), 0);
    ASSERT_EQ(get(other), "32");
    ASSERT_EQ(get(shorter), "31");
    ASSERT_EQ(nvram_unset(shorter.c_str()), 0);
    ASSERT_EQ(get(shorter), "none");
    ASSERT_EQ(set(shorter, "31"), 0);
    ASSERT_EQ(nvram_unset(other.c_str()), 0);
  }
}

TEST_F(Pairs, ValuesAreCutAt64Characters) {
  const std::string full(64, 'v');
  for (const std::string &value : {std::string(63, 'v'), full, full + "more"}) {
    EXPECT_EQ(set("a", value), 0);
    EXPECT_EQ(entry(98), bytes("a", value.substr(0, 64), 1, 0));
    EXPECT_EQ(get("a"), value.substr(0, 64));
  }
  EXPECT_EQ(set("a", full), 0);
  EXPECT_EQ(nvram_set("a", nvram_get("a")), 0);  // onto itself
  EXPECT_EQ(get("a"), full);
  EXPECT_EQ(set("a", "abcdef"), 0);
  EXPECT_EQ(nvram_set("a", nvram_get("a") + 1), 0);
  EXPECT_EQ(entry(98), bytes("a", "bcdef", 1, 0));
  EXPECT_EQ(set("a", ""), 0);
  EXPECT_EQ(entry(98), bytes("a", "", 1, 0));
}

TEST_F(Pairs, OverflowEntriesAreUsedUpInOrderAndAgain) {
  for (unsigned i = 0; i < 128; ++i) {
    ASSERT_EQ(set(colliding(i), std::to_string(i)), 0);
    ASSERT_EQ(used_entries().size(), i + 1);
    ASSERT_EQ(entry(i == 0 ? kBucket : static_cast<int>(256 + i)).substr(0, 16), colliding(i));
  }
  EXPECT_EQ(*used_entries().rbegin(), 383);
  testing::internal::CaptureStderr();
  EXPECT_EQ(set(colliding(128), "x"), -12);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "NVRAM runs out of space!\n");
  EXPECT_EQ(get(colliding(128)), "none");
  EXPECT_EQ(set("a", "free bucket"), 0);
  EXPECT_EQ(set(colliding(127), "changed"), 0);
  EXPECT_EQ(get(colliding(127)), "changed");

  // What is freed is used again, from the lowest index on.
  EXPECT_EQ(nvram_unset(colliding(60).c_str()), 0);
  EXPECT_EQ(nvram_unset(colliding(40).c_str()), 0);
  EXPECT_EQ(set(colliding(128), "x"), 0);
  EXPECT_EQ(entry(256 + 40), bytes(colliding(128), "x", 1, 0));
  EXPECT_EQ(entry(383).substr(kLink), bytes("", "", 1, 256 + 40).substr(kLink));
  EXPECT_EQ(set(colliding(129), "y"), 0);
  EXPECT_EQ(entry(256 + 60), bytes(colliding(129), "y", 1, 0));
  for (unsigned i = 0; i < 130; ++i) {
    EXPECT_EQ(get(colliding(i)) == "none", i == 40 || i == 60) << i;
  }
}

TEST_F(Pairs, RemovingFromEveryPlaceOfAChain) {
  const auto fill = [this] {
    for (const char *name : {"AaAa", "AaBB", "BBAa"})
      set(name, name);
  };
  fill();
  const int bucket = *used_entries().begin();

  // The head: the second pair moves into the bucket.
  EXPECT_EQ(nvram_unset("AaAa"), 0);
  EXPECT_EQ(entry(bucket), bytes("AaBB", "AaBB", 1, 258));
  EXPECT_EQ(entry(257), bytes("AaBB", "AaBB", 0, 0));  // freed, its texts left in place
  EXPECT_EQ(get("BBAa"), "BBAa");
  EXPECT_EQ(nvram_unset("AaBB"), 0);
  EXPECT_EQ(entry(bucket), bytes("BBAa", "BBAa", 1, 0));
  EXPECT_EQ(entry(258), bytes("BBAa", "BBAa", 0, 0));
  EXPECT_EQ(nvram_unset("BBAa"), 0);
  EXPECT_EQ(entry(bucket), bytes("BBAa", "BBAa", 0, 0));
  EXPECT_THAT(used_entries(), IsEmpty());
  EXPECT_EQ(get("BBAa"), "none");

  fill();  // the middle, then the end
  EXPECT_EQ(nvram_unset("AaBB"), 0);
  EXPECT_EQ(entry(bucket), bytes("AaAa", "AaAa", 1, 258));
  EXPECT_EQ(entry(257), bytes("AaBB", "AaBB", 0, 0));
  EXPECT_EQ(nvram_unset("BBAa"), 0);
  EXPECT_EQ(entry(bucket), bytes("AaAa", "AaAa", 1, 0));
  EXPECT_EQ(entry(258), bytes("BBAa", "BBAa", 0, 0));

  EXPECT_EQ(nvram_unset("BBBB"), 0);  // absent from its chain
  EXPECT_EQ(nvram_unset("a"), 0);     // absent with its chain
  EXPECT_THAT(used_entries(), ElementsAre(bucket));
}

// Any sequence of operations leaves what a map would hold, in as many entries.
TEST_F(Pairs, BehavesLikeAMap) {
  std::mt19937 random(7);
  std::map<std::string, std::string> model;
  for (int step = 0; step < 20000; ++step) {
    const unsigned number = random() % 200;
    const std::string name = number < 100 ? colliding(number) : "name" + std::to_string(number);
    if (random() % 3 != 0) {
      const std::string value = std::to_string(step);
      ASSERT_EQ(set(name, value), 0);
      model[name] = value;
    } else {
      ASSERT_EQ(nvram_unset(name.c_str()), 0);
      model.erase(name);
    }
    const auto looked_up = model.find(name);
    ASSERT_EQ(get(name), looked_up != model.end() ? looked_up->second : "none");
  }
  EXPECT_EQ(used_entries().size(), model.size());
  for (const auto &[name, value] : model)
    EXPECT_EQ(get(name), value);
}

TEST_F(Pairs, ShowsChainAfterChain) {
  EXPECT_EQ(shown(), "");
  EXPECT_EQ(set("b", "2"), 0);
  EXPECT_EQ(set("Aa", "x"), 0);
  EXPECT_EQ(set("BB", "y"), 0);
  EXPECT_EQ(set("a", "1"), 0);
  EXPECT_EQ(set("", ""), 0);
  EXPECT_EQ(set("\xFF", "last"), 0);
  EXPECT_EQ(shown(), ": \nAa: x\nBB: y\na: 1\nb: 2\n\xFF: last\n");
  for (const char *name : {"b", "Aa", "BB", "a", "\xFF"})
    nvram_unset(name);
  // Texts without terminator end with their field.
  EXPECT_EQ(set(std::string(32, 'n'), std::string(70, 'v')), 0);
  EXPECT_EQ(shown(), ": \n" + std::string(32, 'n') + ": " + std::string(64, 'v') + "\n");
  nvram_hash = nullptr;
  EXPECT_EQ(shown(), "");
}

TEST_F(Pairs, NullArguments) {
  const auto expect_invalid = [](int result) {
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
  };
  EXPECT_EQ(nvram_get(nullptr), nullptr);
  expect_invalid(nvram_set(nullptr, "v"));
  expect_invalid(nvram_set("n", nullptr));
  expect_invalid(nvram_unset(nullptr));
  EXPECT_THAT(used_entries(), IsEmpty());
  for (void *none : {static_cast<void *>(nullptr), reinterpret_cast<void *>(-1)}) {
    nvram_hash = none;
    EXPECT_EQ(nvram_get("n"), nullptr);
    expect_invalid(nvram_set("n", "v"));
    expect_invalid(nvram_unset("n"));
    nvram_show_all();
  }
}

// Pair operations pin the segment and unpin it on every path; failures of that do not matter.
TEST_F(Pairs, PinningAroundEachOperation) {
  SystemDouble system;
  system.fail("shmctl", EPERM, 0, kAlways);
  nvram_shmid = 9;
  const auto pinned = [&system] {
    static const std::string lock = "shmctl 9 " + std::to_string(SHM_LOCK) + " ";
    static const std::string unlock = "shmctl 9 " + std::to_string(SHM_UNLOCK) + " ";
    const Texts calls = system.calls();
    system.clear_records();
    return calls.size() == 2 && calls[0].rfind(lock, 0) == 0 && calls[1].rfind(unlock, 0) == 0;
  };
  EXPECT_EQ(nvram_set("Aa", "1"), 0);
  EXPECT_TRUE(pinned());
  EXPECT_EQ(nvram_set("BB", "1"), 0);
  EXPECT_TRUE(pinned());
  EXPECT_EQ(nvram_set("BB", "2"), 0);
  EXPECT_TRUE(pinned());
  for (const char *name : {"Aa", "BB", "a", static_cast<const char *>(nullptr)}) {
    nvram_get(name);
    EXPECT_TRUE(pinned());
  }
  EXPECT_EQ(nvram_set(nullptr, "v"), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_TRUE(pinned());
  EXPECT_EQ(nvram_set("a", nullptr), -1);
  EXPECT_TRUE(pinned());
  for (const char *name : {"BB", "Aa", "a", static_cast<const char *>(nullptr)}) {
    nvram_unset(name);
    EXPECT_TRUE(pinned());
  }
  nvram_show_all();
  EXPECT_THAT(system.calls(), IsEmpty());
  nvram_shmid = -1;
  EXPECT_EQ(nvram_set("a", "v"), 0);
  EXPECT_THAT(system.calls(), IsEmpty());
}

TEST_F(Pairs, LinksOutOfRangeEndTheChain) {
  for (const int link : {-1, -32768, 384, 32767, 0}) {
    SCOPED_TRACE(link);
    ASSERT_EQ(set("Aa", "1"), 0);
    poke_link(65, link);
    poke(0, kUsed, 1);  // entry 0 ends a chain even when somebody has used it
    EXPECT_EQ(get("BB"), "none");
    EXPECT_EQ(shown(), "Aa: 1\n");
    EXPECT_EQ(nvram_unset("BB"), 0);
    EXPECT_EQ(set("BB", "2"), 0);  // and the next pair mends it
    EXPECT_EQ(get("BB"), "2");
    EXPECT_EQ(entry(65), bytes("Aa", "1", 1, 257));
    poke_link(257, link);
    EXPECT_EQ(nvram_unset("Aa"), 0);
    EXPECT_EQ(get("BB"), "2");
    EXPECT_EQ(nvram_unset("BB"), 0);
    EXPECT_EQ(get("BB"), "none");
    poke(0, kUsed, 0);
    EXPECT_THAT(used_entries(), IsEmpty());
  }
  // What is left of a free entry's link does not come back with the entry.
  poke_link(65, 300);
  poke_link(257, 300);
  EXPECT_EQ(set("Aa", "1"), 0);
  EXPECT_EQ(set("BB", "2"), 0);
  EXPECT_EQ(entry(65), bytes("Aa", "1", 1, 257));
  EXPECT_EQ(entry(257), bytes("BB", "2", 1, 0));
  // Any value but 0 of the used flag means in use.
  EXPECT_EQ(set("Aa", "1"), 0);
  poke(65, kUsed, 0x80);
  EXPECT_EQ(get("Aa"), "1");
}

TEST_F(Pairs, CirclesAreLeft) {
  for (const int last : {65, 257, 258}) {
    SCOPED_TRACE(last);
    for (const char *name : {"Aa", "BB", "C#"})
      ASSERT_EQ(set(name, name), 0);
    poke_link(258, last);
    EXPECT_EQ(get("C#"), "C#");
    EXPECT_EQ(get("Aa"), "Aa");
    EXPECT_EQ(get("D\x04"), "none");
    EXPECT_EQ(set("C#", "3"), 0);
    EXPECT_EQ(get("C#"), "3");
    EXPECT_EQ(set("D\x04", "4"), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(nvram_unset("D\x04"), 0);
    const std::string text = shown();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), NVRAM_ENTRIES);
    for (const char *name : {"Aa", "BB", "C#"}) {
      nvram_unset(name);
      nvram_unset(name);
    }
    for (int i = 0; i < NVRAM_ENTRIES; ++i) {
      poke(i, kUsed, 0);
      poke_link(i, 0);
    }
  }
  // A bucket that follows itself.
  EXPECT_EQ(set("Aa", "1"), 0);
  poke_link(65, 65);
  EXPECT_EQ(nvram_unset("Aa"), 0);
  EXPECT_THAT(used_entries(), IsEmpty());
}

// Whatever the bytes of the table, no operation leaves it or goes on for ever.
TEST_F(Pairs, RandomTables) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    for (int i = 0; i < NVRAM_ENTRIES; ++i) {
      poke(i, 0, static_cast<int>(random() % 4));
      poke(i, kUsed, static_cast<int>(random() % 4));
      poke_link(i, static_cast<int>(random() % 2 == 0 ? random() : random() % NVRAM_ENTRIES));
    }
    testing::internal::CaptureStderr();
    for (int i = 0; i < 50; ++i) {
      const std::string name = std::string(1, static_cast<char>(random())) + "x";
      get(name);
      set(name, "v");
      nvram_unset(name.c_str());
    }
    testing::internal::GetCapturedStderr();
    shown();
  }
}

}  // namespace
}  // namespace talvera::test
