// Address records of the captive portal.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

constexpr std::size_t kAddressDigits = 8;
constexpr std::size_t kRecordSize = 10;  // with two digits of prefix length

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" int captiveportal_make_addrbuf(const char *records, char *buf, size_t size,
                                          unsigned int index) {
  const char *const start = records + kRecordSize * index;
  char record[kRecordSize + 1] = {};  // zero after the end of the text
  std::strncpy(record, start, kRecordSize);

  const int prefix_length = std::atoi(record + kAddressDigits);
  record[kAddressDigits] = '\0';
  const auto address = static_cast<unsigned>(std::strtoul(record, nullptr, 16));
  return std::snprintf(buf, size, "%u.%u.%u.%u/%d", address >> 24, address >> 16 & 0xFF,
                       address >> 8 & 0xFF, address & 0xFF, prefix_length);
}
