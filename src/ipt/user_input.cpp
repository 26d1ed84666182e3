// User input of rules: negation, protocols, ports and port ranges.
#include "ipt/user_input.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "internal/fail.h"
#include "internal/integer32.h"
#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

enum PortInput { kNoPort = -1, kPlainNumber = 1, kNumberAndMore = 2 };

// Parses a number like "%d" and advances past it.
bool read_int(const char *&text, std::int32_t &value) {
  const Integer32 number = parse_integer32(text, 10);
  if (number.end == text) return false;
  text = number.end;
  value = number.as_signed;
  return true;
}

}  // namespace

const char *skip_negation(unsigned bit, std::uint8_t &mask, const char *text) {
  if (text == nullptr || *text != '!') return text;
  if (bit < 8) mask = static_cast<std::uint8_t>(mask | 1U << bit);
  while (*++text == ' ') {
  }
  return text;
}

bool is_protocol(const char *text) {
  if (text == nullptr || *text == '\0') return false;
  for (const char *name : {"tcp", "udp", "icmp", "ALL"}) {
    if (std::strcmp(text, name) == 0) return true;
  }
  return ipt_check_port_input(text) == kPlainNumber;
}

}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" void ipt_parse_neg_val(unsigned int bit, uint8_t *mask, const char *text,
                                  const char **result) {
  *result = skip_negation(bit, *mask, text);
}

extern "C" char *ipt_make_protocol_value(const char *text) {
  return is_protocol(text) ? strdup(text) : nullptr;
}

extern "C" int ipt_check_port_input(const char *text) {
  if (text == nullptr) return kNoPort;
  const std::size_t digits = std::strspn(text, "0123456789");
  if (text[digits] == '\0') return kPlainNumber;
  return digits > 0 ? kNumberAndMore : kNoPort;
}

extern "C" char *ipt_make_port_value(const char *text) {
  const int kind = ipt_check_port_input(text);
  if (kind == kNoPort) return nullptr;
  if (kind == kPlainNumber) return strdup(text);
  const char *separator = std::strchr(text, '-');
  if (separator == nullptr) separator = std::strchr(text, ' ');
  if (separator == nullptr) return nullptr;
  char *value = strdup(text);
  if (value != nullptr) value[separator - text] = ':';
  return value;
}

extern "C" int ipt_calc_portrange(const char *external, int internal_port, char *buf, size_t size) {
  const int kind = ipt_check_port_input(external);
  if (kind == kPlainNumber) {
    std::snprintf(buf, size, "%d", internal_port);
    return 0;
  }
  if (kind == kNoPort || std::strchr(external, ':') == nullptr) return talvera::fail(EINVAL);
  std::int32_t low = 0;
  std::int32_t high = 0;
  if (!read_int(external, low)) return talvera::fail(EINVAL);
  if (low == internal_port) return 0;
  if (*external++ != ':' || !read_int(external, high)) return talvera::fail(EINVAL);
  const std::uint32_t ports = static_cast<std::uint32_t>(high) - static_cast<std::uint32_t>(low);
  const auto last = static_cast<std::int32_t>(static_cast<std::uint32_t>(internal_port) + ports);
  std::snprintf(buf, size, "%d-%d", internal_port, static_cast<int>(last));
  return 0;
}
