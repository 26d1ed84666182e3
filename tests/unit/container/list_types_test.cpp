// Ready-made comparators, meters and hash computers: extremes of each type, NaN, strings.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "talvera/list.h"

namespace talvera::test {
namespace {

// The numbers ascend; each comes before all that follow.
template <typename T>
void expect_ascending(list_comparator_fn comparator, const std::vector<T> &numbers) {
  for (const T &a : numbers) {
    for (const T &b : numbers)
      EXPECT_EQ(comparator(&a, &b), (&a < &b) - (&a > &b)) << +a << ' ' << +b;
  }
}

template <typename T>
std::vector<T> extremes() {
  using Limits = std::numeric_limits<T>;
  if constexpr (std::is_signed_v<T>) {
    return {Limits::lowest(), T(-2), T(-1), T(0), T(1), T(Limits::max() - 1), Limits::max()};
  } else {
    return {T(0), T(1), T(Limits::max() / 2), T(Limits::max() / 2 + 1), Limits::max()};
  }
}

TEST(ListTypes, ComparatorsTellTheSmallerByAPositiveNumber) {
  expect_ascending(list_comparator_int8_t, extremes<std::int8_t>());
  expect_ascending(list_comparator_int16_t, extremes<std::int16_t>());
  expect_ascending(list_comparator_int32_t, extremes<std::int32_t>());
  expect_ascending(list_comparator_int64_t, extremes<std::int64_t>());
  expect_ascending(list_comparator_uint8_t, extremes<std::uint8_t>());
  expect_ascending(list_comparator_uint16_t, extremes<std::uint16_t>());
  expect_ascending(list_comparator_uint32_t, extremes<std::uint32_t>());
  expect_ascending(list_comparator_uint64_t, extremes<std::uint64_t>());
  // High words signed, low words unsigned.
  expect_ascending<std::int64_t>(list_comparator_int64_t, {-0x100000000, -0x80000000LL, 0x7FFFFFFF,
                                                           0x80000000, 0x100000000, 0x180000000});
  expect_ascending<float>(list_comparator_float, {-INFINITY, -1e30F, -0.5F, 0, 0.25F, INFINITY});
  expect_ascending<double>(list_comparator_double, {-INFINITY, -1e300, 1, 1.0000000001, INFINITY});

  const float numbers[] = {NAN, 1, 0.0F, -0.0F};
  EXPECT_EQ(list_comparator_float(&numbers[0], &numbers[1]), 0);
  EXPECT_EQ(list_comparator_float(&numbers[1], &numbers[0]), 0);
  EXPECT_EQ(list_comparator_float(&numbers[2], &numbers[3]), 0);
  const double doubles[] = {NAN, 1};
  EXPECT_EQ(list_comparator_double(&doubles[0], &doubles[1]), 0);
  EXPECT_EQ(list_comparator_double(&doubles[1], &doubles[0]), 0);

  EXPECT_GT(list_comparator_string("a", "b"), 0);
  EXPECT_LT(list_comparator_string("eth1", "eth0"), 0);
  EXPECT_GT(list_comparator_string("a", "\xE4"), 0);  // characters are unsigned, as in strcmp()
  EXPECT_EQ(list_comparator_string("same", "same"), 0);
}

TEST(ListTypes, MetersGiveTheSizeOfTheirType) {
  const std::pair<list_meter_fn, std::uint32_t> cases[] = {
      {list_meter_int8_t, 1},   {list_meter_int16_t, 2},  {list_meter_int32_t, 4},
      {list_meter_int64_t, 8},  {list_meter_uint8_t, 1},  {list_meter_uint16_t, 2},
      {list_meter_uint32_t, 4}, {list_meter_uint64_t, 8}, {list_meter_float, 4},
      {list_meter_double, 8},
  };
  for (const auto &[meter, size] : cases)
    EXPECT_EQ(meter(nullptr), size);
  EXPECT_EQ(list_meter_string("abc"), 4U);
}

template <typename T>
std::uint32_t hash(list_hashcomputer_fn computer, T value) {
  return computer(&value);
}

TEST(ListTypes, NumbersHashToThemselves) {
  EXPECT_EQ(hash<std::int8_t>(list_hashcomputer_int8_t, -2), 0xFFFFFFFEU);
  EXPECT_EQ(hash<std::uint8_t>(list_hashcomputer_uint8_t, 0xFE), 0xFEU);
  EXPECT_EQ(hash<std::int16_t>(list_hashcomputer_int16_t, INT16_MIN), 0xFFFF8000U);
  EXPECT_EQ(hash<std::uint16_t>(list_hashcomputer_uint16_t, 0x8001), 0x8001U);
  EXPECT_EQ(hash<std::int32_t>(list_hashcomputer_int32_t, -3), 0xFFFFFFFDU);
  EXPECT_EQ(hash<std::uint32_t>(list_hashcomputer_uint32_t, 0x89ABCDEF), 0x89ABCDEFU);
  EXPECT_EQ(hash<std::int64_t>(list_hashcomputer_int64_t, 0x123456789ABCDEF0), 0x9ABCDEF0U);
  EXPECT_EQ(hash<std::uint64_t>(list_hashcomputer_uint64_t, 0xF000000000000001), 1U);
  const std::pair<double, std::uint32_t> cases[] = {
      {0.99, 0},         {-0.99, 0},         {3.99, 3},         {-3.99, 0xFFFFFFFD},
      {3e9, 0x7FFFFFFF}, {-3e9, 0x80000000}, {1e38, INT32_MAX}, {-INFINITY, 0x80000000},
      {NAN, 0},
  };
  for (const auto &[value, expected] : cases) {
    EXPECT_EQ(hash(list_hashcomputer_float, static_cast<float>(value)), expected) << value;
    EXPECT_EQ(hash(list_hashcomputer_double, value), expected) << value;
  }
}

TEST(ListTypes, StringsHashByTheirSignedCharacters) {
  EXPECT_EQ(list_hashcomputer_string(""), 123U);
  EXPECT_EQ(list_hashcomputer_string("a"), 246U);  // 123 + 123, whatever the character
  EXPECT_EQ(list_hashcomputer_string("\xFF"), 246U);
  // 246 is 0xF6; 'b' ^ 0xF6 = 0x94, as a signed byte -0x6C; 0xF6 - 0x6C00 = 0xFFFF94F6.
  EXPECT_EQ(list_hashcomputer_string("ab"), 0xFFFF94F6U);
  // 0xF6 ^ 0xE4 = 0x12; 0xF6 + 0x1200.
  EXPECT_EQ(list_hashcomputer_string("a\xE4"), 0x12F6U);
  // Four characters go into four bytes, the fifth into the lowest again:
  // 'c' ^ 0xF6 = -0x6B at 16 bits: 0xFFFF94F6 - 0x6B0000 = 0xFF9494F6;
  // 'd' ^ 0xF6 = -0x6E at 24 bits: 0xFF9494F6 - 0x6E000000 = 0x919494F6;
  // 'e' ^ 0xF6 = -0x6D: 0x91949489.
  EXPECT_EQ(list_hashcomputer_string("abcde"), 0x91949489U);
}

}  // namespace
}  // namespace talvera::test
