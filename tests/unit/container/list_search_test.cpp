// Searching, least and greatest, sorting and hashing of lists.
#include <cstdlib>
#include <functional>
#include <random>

#include "unit/container/list_fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using Numbers = std::vector<std::int32_t>;

std::int32_t number_at(const void *data) {
  return *static_cast<const std::int32_t *>(data);
}

TEST_F(ListTest, LocatesByPointerOrByComparator) {
  const Numbers stored{7, 5, 7, 9};
  append(stored);
  const std::int32_t seven = 7;
  EXPECT_EQ(list_locate(&list, &seven), -1);
  EXPECT_EQ(list_contains(&list, &seven), 0);
  EXPECT_EQ(list_locate(&list, &stored[2]), 2);
  EXPECT_EQ(list_contains(&list, &stored[0]), 1);
  list_attributes_comparator(&list, list_comparator_int32_t);
  EXPECT_EQ(list_locate(&list, &stored[2]), 0);
  // The wanted datum comes first, the element's second.
  list_attributes_comparator(&list, [](const void *wanted, const void *data) {
    return number_at(wanted) + 2 == number_at(data) ? 0 : 1;
  });
  EXPECT_EQ(list_locate(&list, &seven), 3);
}

TEST_F(ListTest, SeeksWithTheCallersIndicator) {
  const Numbers stored{4, 15, 25};
  append(stored);
  const std::int32_t limit = 10;
  EXPECT_EQ(list_seek(&list, &limit), nullptr);
  list_attributes_seeker(&list, [](const void *data, const void *indicator) {
    return number_at(data) > number_at(indicator) ? -1 : 0;
  });
  EXPECT_EQ(list_seek(&list, &limit), &stored[1]);
  EXPECT_EQ(list_seek(&list, &stored[2]), nullptr);
}

TEST_F(ListTest, FindsTheExtremesAndOfEqualsTheFirst) {
  const Numbers stored{5, 2, 9, 2, 9, 5};
  append(stored);
  EXPECT_EQ(list_get_max(&list), nullptr);  // without a comparator
  EXPECT_EQ(list_get_min(&list), nullptr);
  list_attributes_comparator(&list, list_comparator_int32_t);
  EXPECT_EQ(list_get_max(&list), &stored[2]);
  EXPECT_EQ(list_get_min(&list), &stored[1]);
  list_clear(&list);
  EXPECT_EQ(list_get_max(&list), nullptr);
  EXPECT_EQ(list_get_min(&list), nullptr);
}

// What is asked of the comparator, in its order.
using Comparison = std::pair<const void *, const void *>;
std::vector<Comparison> comparisons;

int note_comparison(const void *a, const void *b) {
  comparisons.emplace_back(a, b);
  return list_comparator_int32_t(a, b);
}

// Comparisons stay near n log n for every order of the data.
TEST_F(ListTest, SortsEveryShapeAndSizeBothWays) {
  list_attributes_comparator(&list, note_comparison);
  std::mt19937 generator(7);
  const std::function<std::int32_t(int, int)> shapes[] = {
      [](int i, int) { return i; },
      [](int i, int) { return -i; },
      [](int, int) { return 4; },
      [&](int, int) { return static_cast<std::int32_t>(generator()); },
      [&](int, int) { return static_cast<std::int32_t>(generator() % 3); },
      [](int i, int size) { return std::min(i, size - i); },
  };
  for (const auto &shape : shapes) {
    for (const int size : {0, 1, 2, 3, 23, 24, 25, 26, 60, 1000}) {
      for (const int direction : {1, -1, INT32_MAX, INT32_MIN}) {
        Numbers stored;
        for (int i = 0; i < size; ++i)
          stored.push_back(shape(i, size));
        append(stored);
        Data before = data_of(list);
        comparisons.clear();
        ASSERT_EQ(list_sort(&list, direction), 0);
        ASSERT_LE(comparisons.size(), stored.size() * 60);
        Numbers expected = stored;
        std::sort(expected.begin(), expected.end());
        if (direction < 0) std::reverse(expected.begin(), expected.end());
        ASSERT_EQ(numbers(), expected);
        Data after = data_of(list);
        std::sort(before.begin(), before.end());
        std::sort(after.begin(), after.end());
        ASSERT_EQ(after, before);  // nothing lost, nothing twice
        ASSERT_NO_FATAL_FAILURE(expect_sound(list));
        list_clear(&list);
      }
    }
  }
}

TEST_F(ListTest, ShortListsAreSortedBySelection) {
  // 24 elements: equal ones keep the places that selecting the first of them gives.
  Numbers stored{3, 2, 3};
  stored.resize(24, 1);
  append(stored);
  list_attributes_comparator(&list, note_comparison);
  comparisons.clear();
  ASSERT_EQ(list_sort(&list, 1), 0);
  EXPECT_EQ(comparisons.size(), 24U * 23U / 2U);
  EXPECT_EQ(comparisons[0], Comparison(&stored[0], &stored[1]));
  EXPECT_EQ(comparisons[1], Comparison(&stored[1], &stored[2]));
  EXPECT_EQ(list_get_at(&list, 0), &stored[3]);
  EXPECT_EQ(list_get_at(&list, 22), &stored[0]);
  EXPECT_EQ(list_get_at(&list, 23), &stored[2]);

  comparisons.clear();
  const Data sorted = data_of(list);
  ASSERT_EQ(list_sort(&list, 0), 0);  // neither way
  EXPECT_EQ(data_of(list), sorted);
}

TEST_F(ListTest, LongListsAreSortedAroundARandomPivot) {
  constexpr std::uint32_t kSize = 25;
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    Numbers stored;
    for (std::uint32_t i = 0; i < kSize; ++i)
      stored.push_back(static_cast<std::int32_t>(i * 7 % kSize));
    append(stored);
    list_attributes_comparator(&list, note_comparison);
    comparisons.clear();
    srandom(seed);
    const auto pivot = static_cast<std::uint32_t>(random()) % kSize;
    (pivot < kSize / 2 ? low : high) += 1;
    srandom(seed);
    ASSERT_EQ(list_sort(&list, 1), 0);
    for (std::uint32_t i = 0; i < kSize - 1; ++i) {
      const auto &[a, b] = comparisons[i];
      ASSERT_TRUE(a == &stored[pivot] || b == &stored[pivot]) << seed << ' ' << i;
    }
    list_clear(&list);
  }
  EXPECT_GT(low, 0U);
  EXPECT_GT(high, 0U);
}

// A comparator that calls equal data unequal sorts badly, but it ends, and no datum is lost.
TEST_F(ListTest, AComparatorThatNeverFindsEqualsStillEnds) {
  Numbers stored(60, 7);
  append(stored);
  list_attributes_comparator(&list, [](const void *, const void *) { return -1; });
  ASSERT_EQ(list_sort(&list, 1), 0);
  list_attributes_comparator(&list, nullptr);
  for (const auto &number : stored)
    EXPECT_EQ(list_contains(&list, &number), 1);
}

TEST_F(ListTest, HashesCountAndOrder) {
  EXPECT_EQ(list_hash(&list), 100U);
  list_attributes_hash_computer(&list, list_hashcomputer_int32_t);
  const Numbers stored{5, -1, 70000};
  append(stored);
  // h = 106; (106 ^ 5) + 106 = 217, + 217 % 3 = 218; (218 ^ 0xFFFFFFFF) + 218 = 0xFFFFFFFF, and
  // + 0xFFFFFFFF % 3 the same; (0xFFFFFFFF ^ 70000) + 0xFFFFFFFF = 0xFFFEEE8E, + 1.
  EXPECT_EQ(list_hash(&list), 0xFFFEEE8FU);

  list_attributes_hash_computer(&list, nullptr);
  list_clear(&list);
  list_append(&list, reinterpret_cast<const void *>(0x1234));
  EXPECT_EQ(list_hash(&list), (102U ^ 0x1234U) + 102U);
}

}  // namespace
}  // namespace talvera::test
