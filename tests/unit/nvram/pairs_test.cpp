// Pairs in the table: exact bytes, chains, bounds of names and values, damaged tables.
#include <gmock/gmock.h>
#include <sys/shm.h>

#include <algorithm>
#include <set>

#include "support/errors.h"
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
    memory_[kGuard + static_cast<std::size_t>(index * 99 + offset)] = static_cast<char>(value);
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

TEST_F(Pairs, BucketsOfNames) {
  const std::string long_name = "a name of forty characters, all in hash!";
  for (const auto &[name, bucket] : {std::pair{std::string(), 1},
                                     {"a", 98},
                                     {"\xFF", 256},
                                     {"\xFF\xFF", 225},
                                     {"wan.ifname", 115},
                                     {long_name, 155}}) {
    EXPECT_EQ(set(name, "v"), 0);
    EXPECT_THAT(used_entries(), ElementsAre(bucket)) << name;
    EXPECT_EQ(get(name), "v");
    EXPECT_EQ(nvram_unset(name.c_str()), 0);
  }
}

// The same bytes on every machine.
TEST_F(Pairs, BytesOfAChain) {
  for (const auto &[name, value] : {std::pair{"Aa", "first"},
                                    {"BB", "second"},
                                    {"Aa", "again"},
                                    {"C#", "third"},
                                    {"BB", "2"}}) {
    EXPECT_EQ(set(name, value), 0);
  }
  EXPECT_EQ(entry(65), bytes("Aa", "again", 1, 257));
  EXPECT_EQ(entry(257), bytes("BB", "2", 1, 258));  // nothing is left of the longer value
  EXPECT_EQ(entry(258), bytes("C#", "third", 1, 0));
  EXPECT_THAT(used_entries(), ElementsAre(65, 257, 258));
  EXPECT_EQ(get("Aa") + get("BB") + get("C#") + get("none such"), "again2thirdnone");
  EXPECT_EQ(nvram_get("Aa"), static_cast<char *>(nvram_hash) + 65 * 99 + 32);

  // Read from bytes as another machine has left them.
  poke(258, 0, 'A');
  poke(258, 1, 'a');
  poke_link(65, 258);
  poke(65, 0, 'x');
  EXPECT_EQ(get("Aa") + get("BB"), "thirdnone");
}

TEST_F(Pairs, NamesAreComparedOver32Characters) {
  const std::string name(32, 'n');
  EXPECT_EQ(set(name, "value"), 0);
  EXPECT_EQ(entry(*used_entries().begin()), bytes(name, "value", 1, 0));  // no terminator
  // A longer name of the same bucket is the same pair.
  EXPECT_EQ(set(name + "Aa", "long"), 0);
  EXPECT_EQ(set(name + "BB", "longer"), 0);
  EXPECT_EQ(get(name + "Aa"), "longer");
  EXPECT_EQ(get(name), "value");  // hashed whole, so elsewhere
  EXPECT_EQ(used_entries().size(), 2U);

  // 31 characters are not the beginning of 32, also for those that share the bucket.
  const std::string shorter(31, 'Q');
  for (int c = 1; c < 256; ++c) {
    const std::string other = shorter + static_cast<char>(c);
    ASSERT_EQ(set(shorter, "31"), 0);
    ASSERT_EQ(get(other), "none");
    ASSERT_EQ(set(other, "32"), 0);
    ASSERT_EQ(get(shorter) + get(other), "3132");
    nvram_unset(shorter.c_str());
    ASSERT_EQ(get(shorter) + get(other), "none32");
    nvram_unset(other.c_str());
  }
}

TEST_F(Pairs, ValuesAreCutAt64Characters) {
  const std::string full(64, 'v');
  EXPECT_EQ(set("a", full + "more"), 0);
  EXPECT_EQ(entry(98), bytes("a", full, 1, 0));
  EXPECT_EQ(nvram_set("a", nvram_get("a")), 0);  // onto itself
  EXPECT_EQ(get("a"), full);
  EXPECT_EQ(set("a", "abcdef"), 0);
  EXPECT_EQ(nvram_set("a", nvram_get("a") + 1), 0);
  EXPECT_EQ(entry(98), bytes("a", "bcdef", 1, 0));
}

TEST_F(Pairs, OverflowEntriesAreUsedUpInOrderAndAgain) {
  for (unsigned i = 0; i < 128; ++i) {
    ASSERT_EQ(set(colliding(i), std::to_string(i)), 0);
    ASSERT_EQ(used_entries().size(), i + 1);
    ASSERT_EQ(entry(i == 0 ? 1 : static_cast<int>(256 + i)).substr(0, 16), colliding(i));
  }
  testing::internal::CaptureStderr();
  EXPECT_EQ(set(colliding(128), "x"), -12);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "NVRAM runs out of space!\n");
  EXPECT_EQ(set("a", "free bucket"), 0);
  EXPECT_EQ(set(colliding(127), "changed"), 0);

  // What is freed is used again, from the lowest index on.
  for (const unsigned freed : {60, 40})
    EXPECT_EQ(nvram_unset(colliding(freed).c_str()), 0);
  EXPECT_EQ(set(colliding(128), "x"), 0);
  EXPECT_EQ(set(colliding(129), "y"), 0);
  EXPECT_EQ(entry(383), bytes(colliding(127), "changed", 1, 256 + 40));
  EXPECT_EQ(entry(256 + 40), bytes(colliding(128), "x", 1, 256 + 60));
  EXPECT_EQ(entry(256 + 60), bytes(colliding(129), "y", 1, 0));
  for (unsigned i = 0; i < 130; ++i)
    EXPECT_EQ(get(colliding(i)) == "none", i == 40 || i == 60) << i;
}

TEST_F(Pairs, RemovingFromEveryPlaceOfAChain) {
  const auto fill = [] {
    for (const char *name : {"AaAa", "AaBB", "BBAa"})
      EXPECT_EQ(set(name, name), 0);
  };
  fill();
  const int bucket = *used_entries().begin();

  // The head: the second pair moves into the bucket.
  EXPECT_EQ(nvram_unset("AaAa"), 0);
  EXPECT_EQ(entry(bucket), bytes("AaBB", "AaBB", 1, 258));
  EXPECT_EQ(entry(257), bytes("AaBB", "AaBB", 0, 0));  // freed, its texts left in place
  EXPECT_EQ(nvram_unset("AaBB"), 0);
  EXPECT_EQ(entry(bucket), bytes("BBAa", "BBAa", 1, 0));
  EXPECT_EQ(nvram_unset("BBAa"), 0);
  EXPECT_EQ(entry(bucket), bytes("BBAa", "BBAa", 0, 0));
  EXPECT_EQ(get("BBAa"), "none");
  EXPECT_THAT(used_entries(), IsEmpty());

  fill();  // the middle, then the end
  EXPECT_EQ(nvram_unset("AaBB"), 0);
  EXPECT_EQ(entry(bucket), bytes("AaAa", "AaAa", 1, 258));
  EXPECT_EQ(entry(257), bytes("AaBB", "AaBB", 0, 0));
  EXPECT_EQ(nvram_unset("BBAa"), 0);
  EXPECT_EQ(entry(258), bytes("BBAa", "BBAa", 0, 0));

  EXPECT_EQ(nvram_unset("BBBB"), 0);  // absent from its chain
  EXPECT_EQ(nvram_unset("a"), 0);     // absent with its chain
  EXPECT_EQ(entry(bucket), bytes("AaAa", "AaAa", 1, 0));
}

TEST_F(Pairs, ShowsChainAfterChain) {
  EXPECT_EQ(shown(), "");
  for (const char *name : {"b", "Aa", "BB", "", "\xFF"})
    EXPECT_EQ(set(name, "v"), 0);
  EXPECT_EQ(shown(), ": v\nAa: v\nBB: v\nb: v\n\xFF: v\n");
  for (const char *name : {"b", "Aa", "BB", "\xFF"})
    nvram_unset(name);
  // Texts without terminator end with their field.
  EXPECT_EQ(set(std::string(32, 'n'), std::string(70, 'v')), 0);
  EXPECT_EQ(shown(), ": v\n" + std::string(32, 'n') + ": " + std::string(64, 'v') + "\n");
}

TEST_F(Pairs, NullArguments) {
  const auto expect_refused = [](const char *name, const char *value) {
    EXPECT_EQ(error_of(nvram_set(name, value)), EINVAL);
    if (value == nullptr) return;
    EXPECT_EQ(nvram_get(name), nullptr);
    EXPECT_EQ(error_of(nvram_unset(name)), EINVAL);
  };
  expect_refused(nullptr, "v");
  expect_refused("n", nullptr);
  EXPECT_THAT(used_entries(), IsEmpty());
  for (void *none : {static_cast<void *>(nullptr), reinterpret_cast<void *>(-1)}) {
    nvram_hash = none;
    expect_refused("n", "v");
    EXPECT_EQ(shown(), "");
  }
}

// Pair operations pin the segment and unpin it on every path; failures of that do not matter.
TEST_F(Pairs, PinningAroundEachOperation) {
  SystemDouble system;
  system.fail("shmctl", EPERM, 0, kAlways);
  const auto expect_pinned = [&system](const char *what) {
    static const std::string lock = "shmctl 9 " + std::to_string(SHM_LOCK) + " ";
    static const std::string unlock = "shmctl 9 " + std::to_string(SHM_UNLOCK) + " ";
    EXPECT_THAT(system.calls(),
                ElementsAre(::testing::StartsWith(lock), ::testing::StartsWith(unlock)))
        << what;
    system.clear_records();
  };
  nvram_shmid = 0;
  EXPECT_EQ(nvram_set("Aa", "1"), 0);
  EXPECT_EQ(system.count("shmctl"), 2);
  system.clear_records();
  nvram_shmid = 9;
  for (const char *name : {"Aa", "BB", "BB", "a", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(error_of(nvram_set(name, "v")), name != nullptr ? 0 : EINVAL);
    expect_pinned("set");
  }
  for (const char *name : {"Aa", "b", static_cast<const char *>(nullptr)}) {
    nvram_get(name);
    expect_pinned("get");
    EXPECT_EQ(error_of(nvram_unset(name)), name != nullptr ? 0 : EINVAL);
    expect_pinned("unset");
  }
  shown();
  nvram_shmid = -1;
  EXPECT_EQ(set("a", "v"), 0);
  EXPECT_THAT(system.calls(), IsEmpty());
}

TEST_F(Pairs, LinksOutOfRangeEndTheChain) {
  for (const int link : {-1, 384, 0}) {
    SCOPED_TRACE(link);
    ASSERT_EQ(set("Aa", "1"), 0);
    poke_link(65, link);
    poke(0, kUsed, 1);  // entry 0 ends a chain even when somebody has used it
    EXPECT_EQ(get("BB"), "none");
    EXPECT_EQ(shown(), "Aa: 1\n");
    EXPECT_EQ(nvram_unset("BB"), 0);
    EXPECT_EQ(set("BB", "2"), 0);  // and the next pair mends it
    EXPECT_EQ(entry(65), bytes("Aa", "1", 1, 257));
    poke_link(257, link);
    EXPECT_EQ(nvram_unset("Aa"), 0);
    EXPECT_EQ(get("BB"), "2");
    EXPECT_EQ(nvram_unset("BB"), 0);
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
  poke(65, kUsed, 0x80);  // any value but 0 means in use
  EXPECT_EQ(get("Aa"), "1");
}

TEST_F(Pairs, CirclesAreLeft) {
  for (const int last : {65, 257, 258}) {
    SCOPED_TRACE(last);
    for (const char *name : {"Aa", "BB", "C#"})
      ASSERT_EQ(set(name, name), 0);
    poke_link(258, last);
    EXPECT_EQ(set("C#", "3"), 0);
    EXPECT_EQ(get("C#") + get("Aa") + get("D\x04"), "3Aanone");
    EXPECT_EQ(error_of(set("D\x04", "4")), ELOOP);
    EXPECT_EQ(nvram_unset("D\x04"), 0);
    const std::string text = shown();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), NVRAM_ENTRIES);
    for (const char *name : {"Aa", "BB", "C#", "Aa", "BB", "C#"})
      nvram_unset(name);
    for (const int i : {65, 257, 258}) {
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

}  // namespace
}  // namespace talvera::test
