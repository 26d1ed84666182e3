// The TCP flags and validation of a "--tcp-flags" argument.
#include <strings.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "internal/fail.h"
#include "talvera/ipt.h"

// "NONE" intentionally has the same bits as "ALL": neither can be combined with another flag in the
// same list.
extern "C" __attribute__((visibility("hidden"))) const ipt_tcp_flag ipt_own_flags[] = {
    {"SYN", 0x01}, {"ACK", 0x02}, {"FIN", 0x04},  {"RST", 0x08},
    {"URG", 0x10}, {"PSH", 0x20}, {"NONE", 0x3F}, {"ALL", 0x3F},
};

// The same table under its exported name, weak so that a program's own `flags` takes precedence,
// even when both are linked statically.
extern "C" const ipt_tcp_flag flags[std::size(ipt_own_flags)]
    __attribute__((weak, alias("ipt_own_flags")));

namespace talvera::ipt {
namespace {

constexpr std::size_t kTextSize = 49;

// 0 for an unknown name.
std::uint8_t bits_of(const char *name) {
  for (const ipt_tcp_flag &flag : ipt_own_flags) {
    if (strcasecmp(flag.name, name) == 0) return flag.value;
  }
  return 0;
}

// The combined bits of a list; 0 if the list is empty or has an unknown or repeated flag.
std::uint8_t bits_of_list(char *list) {
  std::uint8_t bits = 0;
  char *rest = nullptr;
  for (char *name = strtok_r(list, ",", &rest); name != nullptr;
       name = strtok_r(nullptr, ",", &rest)) {
    const std::uint8_t added = bits_of(name);
    if (added == 0 || (bits & added) != 0) return 0;
    bits |= added;
  }
  return bits;
}

// Whether the first 48 characters of a text are exactly two valid lists of flags.
bool is_flag_pair(const char *text) {
  char copy[kTextSize];
  std::snprintf(copy, sizeof copy, "%s", text);
  char *rest = nullptr;
  char *mask = strtok_r(copy, " ", &rest);
  char *comparison = strtok_r(nullptr, " ", &rest);
  return comparison != nullptr && strtok_r(nullptr, " ", &rest) == nullptr &&
         bits_of_list(mask) != 0 && bits_of_list(comparison) != 0;
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" int check_tcp_flags(const char *text) {
  return text != nullptr && is_flag_pair(text) ? 0 : talvera::fail(EINVAL);
}
