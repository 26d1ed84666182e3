// Predefined comparators, meters and hash functions of the list.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "internal/alias.h"
#include "talvera/list.h"

namespace talvera::container {
namespace {

template <typename T>
T value_of(const void *data) {
  return *static_cast<const T *>(data);
}

// Positive if a is smaller, as lists expect; 0 if either is NaN.
template <typename T>
int compare(const void *a, const void *b) {
  return (value_of<T>(a) < value_of<T>(b)) - (value_of<T>(a) > value_of<T>(b));
}

// The low 32 bits of an integer; a shorter signed one is sign-extended.
template <typename T>
std::uint32_t hash_number(const void *data) {
  return static_cast<std::uint32_t>(value_of<T>(data));
}

// Converts to a signed 32-bit integer. Values out of range, whose conversion C leaves undefined,
// saturate; NaN gives 0.
template <>
std::uint32_t hash_number<double>(const void *data) {
  using Limits = std::numeric_limits<std::int32_t>;
  const auto value = value_of<double>(data);
  if (std::isnan(value)) return 0;
  if (value >= Limits::max()) return static_cast<std::uint32_t>(Limits::max());
  if (value <= Limits::min()) return static_cast<std::uint32_t>(Limits::min());
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(value));
}

template <>
std::uint32_t hash_number<float>(const void *data) {
  const double value = value_of<float>(data);
  return list_hashcomputer_double(&value);
}

}  // namespace
}  // namespace talvera::container

using namespace talvera::container;

#define COMPARATOR(type)                                                \
  extern "C" int list_comparator_##type(const void *a, const void *b) { \
    return compare<type>(a, b);                                         \
  }
#define METER(type)                                     \
  extern "C" uint32_t list_meter_##type(const void *) { \
    return sizeof(type);                                \
  }
#define HASH_COMPUTER(type)                                        \
  extern "C" uint32_t list_hashcomputer_##type(const void *data) { \
    return hash_number<type>(data);                                \
  }

COMPARATOR(int8_t)
COMPARATOR(int16_t)
COMPARATOR(int32_t)
COMPARATOR(int64_t)
COMPARATOR(uint8_t)
COMPARATOR(uint16_t)
COMPARATOR(uint32_t)
COMPARATOR(uint64_t)
COMPARATOR(float)
COMPARATOR(double)

METER(int8_t)
METER(int16_t)
METER(int32_t)
METER(int64_t)
TALVERA_ALIAS(list_meter_uint8_t, list_meter_int8_t);
TALVERA_ALIAS(list_meter_uint16_t, list_meter_int16_t);
TALVERA_ALIAS(list_meter_uint32_t, list_meter_int32_t);
TALVERA_ALIAS(list_meter_uint64_t, list_meter_int64_t);
TALVERA_ALIAS(list_meter_float, list_meter_int32_t);
TALVERA_ALIAS(list_meter_double, list_meter_int64_t);

HASH_COMPUTER(int8_t)
HASH_COMPUTER(int16_t)
HASH_COMPUTER(int32_t)
HASH_COMPUTER(int64_t)
HASH_COMPUTER(uint8_t)
HASH_COMPUTER(uint16_t)
TALVERA_ALIAS(list_hashcomputer_uint32_t, list_hashcomputer_int32_t);
TALVERA_ALIAS(list_hashcomputer_uint64_t, list_hashcomputer_int64_t);
HASH_COMPUTER(float)
HASH_COMPUTER(double)

extern "C" int list_comparator_string(const void *a, const void *b) {
  return std::strcmp(static_cast<const char *>(b), static_cast<const char *>(a));
}

extern "C" uint32_t list_meter_string(const void *data) {
  return static_cast<std::uint32_t>(std::strlen(static_cast<const char *>(data)) + 1);
}

extern "C" uint32_t list_hashcomputer_string(const void *data) {
  const auto *text = static_cast<const signed char *>(data);
  std::uint32_t hash = 123;
  for (std::uint32_t i = 0; text[i] != 0; ++i) {
    // The first character intentionally counts as 0 and so does not affect the hash. Only the
    // lowest byte of the mix is added, sign-extended.
    const std::uint32_t character = i == 0 ? 0 : static_cast<std::uint32_t>(text[i]);
    const auto part = static_cast<std::int8_t>(character ^ hash);
    hash += static_cast<std::uint32_t>(part) << (8 * (i % 4));
  }
  return hash;
}
