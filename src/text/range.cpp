// Range-checked numbers, port ranges and ATM virtual circuits.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "internal/fail.h"
#include "internal/integer32.h"
#include "talvera/args.h"

namespace talvera::text {
namespace {

constexpr std::size_t kPortRangeSize = sizeof "65535-65535";
constexpr std::size_t kCircuitListSize = 80;

// Parses "number/number"; allows white space before each number and any text after the second. The
// first is stored even if the second is missing.
bool parse_circuit(const char *word, int *vpi, int *vci) {
  const Integer32 path = parse_integer32(word, 10);
  if (path.end == word) return false;
  *vpi = path.as_signed;
  if (*path.end != '/') return false;
  const char *const rest = path.end + 1;
  const Integer32 channel = parse_integer32(rest, 10);
  if (channel.end == rest) return false;
  *vci = channel.as_signed;
  return true;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" int str_to_port_range(const char *s, int *low, int *high) {
  talvera::Integer32 number = talvera::parse_integer32(s, 0);
  *low = number.as_signed;
  if (*number.end != '\0') number = talvera::parse_integer32(number.end, 0);
  *high = number.as_signed;
  return *number.end == '\0' && *high >= *low ? 0 : talvera::fail(ARGS_ERROR_RANGE);
}

extern "C" int strtol_range(long *value, const char *s, long min, long max) {
  const talvera::Integer32 number = talvera::parse_integer32(s, 0);
  if (*number.end != '\0') return talvera::fail(EINVAL);
  const long result = number.as_signed;
  if (result < min || result > max) return talvera::fail(ARGS_ERROR_RANGE);
  *value = result;
  return 0;
}

extern "C" char *range_to_portstr(char *buf, unsigned int low, unsigned int high, int delim) {
  const unsigned first = low & 0xFFFF;
  const unsigned last = high & 0xFFFF;
  if (last < first || buf == nullptr || static_cast<signed char>(delim) < 32) return nullptr;
  std::snprintf(buf, kPortRangeSize, first == last ? "%u" : "%u%c%u", first, delim, last);
  return buf;
}

extern "C" int atm_parse_vi(const char *s, int index, int *vpi, int *vci) {
  char words[kCircuitListSize];
  words[0] = '\0';
  std::strncat(words, s, kCircuitListSize - 1);
  int count;
  char *word[ARGS_SLOTS];
  str_to_args(words, &count, word);
  if (index < 0 || index >= count) return ARGS_ERROR_INVALID_VI;
  return parse_circuit(word[index], vpi, vci) ? 0 : ARGS_ERROR_INVALID_VI;
}
