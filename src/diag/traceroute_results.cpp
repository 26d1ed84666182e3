// Parsing of traceroute's work files: hops, response time, kind of error.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "internal/fail.h"
#include "internal/integer32.h"
#include "internal/streams.h"
#include "talvera/ipdiag.h"
#include "talvera/netu.h"

namespace talvera::diag {
namespace {

constexpr std::size_t kWorkPathSize = 64;
constexpr std::size_t kLineSize = 512;
constexpr std::size_t kStatusLineSize = 16;
constexpr std::size_t kErrorLineSize = 64;
constexpr std::size_t kDestinationSize = 20;

static_assert(sizeof(tr_hop) == 348 && offsetof(tr_hop, address) == 257 &&
              offsetof(tr_hop, status) == 280 && offsetof(tr_hop, times) == 284);

struct Marker {
  char text[3];
  tr_status status;
};
constexpr Marker kMarkers[] = {
    {"!H", TR_HOST_UNREACHABLE},     {"!N", TR_NETWORK_UNREACHABLE},
    {"!P", TR_PROTOCOL_UNREACHABLE}, {"!S", TR_SOURCE_ROUTE_FAILED},
    {"!F", TR_FRAGMENTATION_NEEDED},
};

std::FILE *open_work_file(const char *name, const char *kind) {
  char path[kWorkPathSize];
  const int length = std::snprintf(path, sizeof path, "/tmp/%s-%s", name, kind);
  if (length < 0 || static_cast<std::size_t>(length) >= sizeof path) {
    errno = ENAMETOOLONG;
    return nullptr;
  }
  return std::fopen(path, "r");
}

// Copies with truncation and terminates.
template <std::size_t Size>
void copy(char (&to)[Size], const char *from, std::size_t length) {
  if (length >= Size) length = Size - 1;
  std::memcpy(to, from, length);
  to[length] = '\0';
}

// Extracts the header's first text in parentheses.
void take_destination(const char *header, char (&destination)[kDestinationSize]) {
  const char *open = std::strchr(header, '(');
  if (open != nullptr) copy(destination, open + 1, std::strcspn(open + 1, ")\n"));
}

bool is_time(const char *token) {
  return std::strstr(token, "ms") == nullptr && std::strchr(token, '!') == nullptr &&
         netu_atoipv4(token, nullptr) != 1 && netu_atoipv6(token, nullptr) != 1;
}

void append_time(tr_hop &hop, const char *token) {
  const std::size_t used = strnlen(hop.times, sizeof hop.times);
  const std::size_t length = std::strlen(token);
  if (used + length + 1 >= sizeof hop.times) return;
  std::memcpy(hop.times + used, token, length);
  std::memcpy(hop.times + used + length, ",", 2);
}

// A marker may be followed by the end of the line or by details.
void take_marker(tr_hop &hop, const char *token) {
  for (const Marker &marker : kMarkers) {
    if (std::strncmp(token, marker.text, 2) == 0) hop.status = marker.status;
  }
}

// Token 1, the hop number, is ignored.
void take_token(tr_hop &hop, int number, const char *token) {
  if (number == 1 || *token == '*') return;
  if (number == 2) {
    copy(hop.host, token, std::strlen(token));
  } else if (number == 3) {
    copy(hop.address, token, std::strlen(token));
  } else if (is_time(token)) {
    append_time(hop, token);
  } else {
    take_marker(hop, token);
  }
}

void take_hop(tr_hop &hop, char *line) {
  char *rest;
  int number = 0;
  for (const char *token = strtok_r(line, ")( ", &rest); token != nullptr;
       token = strtok_r(nullptr, ")( ", &rest)) {
    take_token(hop, ++number, token);
  }
  if (number == 0) return;
  const std::size_t used = strnlen(hop.times, sizeof hop.times);
  if (used > 0 && hop.times[used - 1] == ',') hop.times[used - 1] = '\0';
}

}  // namespace
}  // namespace talvera::diag

using namespace talvera::diag;

extern "C" int ipdiag_tr_formatout(const char *name, tr_hop *hops, std::int32_t max_rows,
                                   std::int32_t *count) {
  const talvera::FilePtr file(open_work_file(name, "out"));
  if (file == nullptr) return -1;
  *count = 0;
  if (max_rows < 1) return talvera::fail(EINVAL);
  char destination[kDestinationSize] = "";
  char line[kLineSize];
  if (talvera::read_line(file.get(), line, sizeof line)) take_destination(line, destination);

  std::int32_t rows = 0;
  while (rows < max_rows && talvera::read_line(file.get(), line, sizeof line))
    take_hop(hops[rows++], line);
  *count = rows;
  if (rows < max_rows) return 0;
  const tr_hop &last = hops[rows - 1];
  return std::strncmp(last.address, destination, sizeof last.address) != 0 ? 1 : 0;
}

extern "C" int ipdiag_tr_resptime(const char *name, std::int32_t *time) {
  const talvera::FilePtr file(open_work_file(name, "status"));
  if (file == nullptr) return -1;
  char line[kStatusLineSize];
  if (talvera::read_line(file.get(), line, sizeof line)) *time = talvera::decimal32(line);
  return 0;
}

extern "C" int ipdiag_tr_err(const char *name, std::int32_t *code) {
  const talvera::FilePtr file(open_work_file(name, "err"));
  if (file == nullptr) return -1;
  char line[kErrorLineSize];
  if (talvera::read_line(file.get(), line, sizeof line))
    *code = std::strstr(line, "bad address") != nullptr ? 0 : 1;
  return 0;
}
