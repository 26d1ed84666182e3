// MAC addresses as text, and interface names.
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "internal/ascii.h"
#include "internal/fail.h"
#include "internal/integer32.h"
#include "internal/owners.h"
#include "talvera/netu.h"

namespace talvera::net {
namespace {

constexpr int kMacSize = 6;

}  // namespace
}  // namespace talvera::net

using namespace talvera::net;

extern "C" char *netu_etoa(const unsigned char *mac, char *buf) {
  char *p = buf;
  for (int i = 0; i < kMacSize; ++i) {
    *p++ = talvera::kHexDigits[mac[i] >> 4];
    *p++ = talvera::kHexDigits[mac[i] & 0xF];
    *p++ = ':';
  }
  p[-1] = '\0';
  return buf;
}

extern "C" unsigned char *netu_atoe(const char *text, unsigned char *mac) {
  for (int i = 0; i < kMacSize; ++i) {
    const talvera::Integer32 group = talvera::parse_integer32(text, 16);
    mac[i] = static_cast<unsigned char>(group.as_unsigned);
    if (*group.end == '\0') break;
    text = group.end + 1;
  }
  return mac;
}

extern "C" int netu_ifindex2name(unsigned int index, char *name) {
  if (name == nullptr) return talvera::fail(EINVAL);
  const talvera::UniqueFd any(socket(AF_INET, SOCK_DGRAM, 0));
  if (!any.valid()) return -1;
  ifreq request{};
  request.ifr_ifindex = static_cast<int>(index);
  if (ioctl(any.get(), SIOCGIFNAME, &request) < 0) return -1;
  std::strncpy(name, request.ifr_name, IFNAMSIZ);
  return 0;
}
