// Host names to printable addresses.
#include <arpa/inet.h>
#include <netdb.h>

#include <cstddef>

#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

constexpr std::size_t kWorkSize = 1024;

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int hostname_to_addr(const char *name, char *buf, size_t size) {
  if (size > 0) buf[0] = '\0';
  hostent entry;
  hostent *found = nullptr;
  char work[kWorkSize];
  int error = 0;
  const int result = gethostbyname_r(name, &entry, work, sizeof work, &found, &error);
  if (result != 0) return result;
  // For an unknown name the call itself succeeds and the reason is in `error`.
  if (found == nullptr) return error != 0 ? error : HOST_NOT_FOUND;
  inet_ntop(found->h_addrtype, found->h_addr_list[0], buf, static_cast<socklen_t>(size));
  return 0;
}
