// User input for rules: negation, protocols, ports and port ranges.
#include "ipt/user_input.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "internal/ascii.h"
#include "internal/fail.h"
#include "internal/integer32.h"
#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

enum PortInput { kNoPort = -1, kPlainNumber = 1, kNumberAndMore = 2 };

constexpr char kProtocols[][5] = {"tcp", "udp", "icmp", "ALL"};

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
  for (const char *name : kProtocols) {
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
  const char *end = text;
  while (talvera::digit_value(*end) < 10)
    ++end;
  if (*end == '\0') return kPlainNumber;
  return end != text ? kNumberAndMore : kNoPort;
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
  const talvera::Integer32 low = talvera::parse_integer32(external, 10);
  if (low.as_signed == internal_port) return 0;
  if (*low.end != ':') return talvera::fail(EINVAL);
  const char *const second = low.end + 1;
  const talvera::Integer32 high = talvera::parse_integer32(second, 10);
  if (high.end == second) return talvera::fail(EINVAL);
  const std::uint32_t ports =
      static_cast<std::uint32_t>(high.as_signed) - static_cast<std::uint32_t>(low.as_signed);
  const auto last = static_cast<std::int32_t>(static_cast<std::uint32_t>(internal_port) + ports);
  std::snprintf(buf, size, "%d-%d", internal_port, static_cast<int>(last));
  return 0;
}
