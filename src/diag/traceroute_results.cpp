// Parsing of traceroute's work files: hops, response time, kind of error.
#include <algorithm>
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

// An error marker: '!' and a letter.
struct Marker {
  char letter;
  std::uint8_t status;
};
constexpr Marker kMarkers[] = {
    {'H', TR_HOST_UNREACHABLE},    {'N', TR_NETWORK_UNREACHABLE},  {'P', TR_PROTOCOL_UNREACHABLE},
    {'S', TR_SOURCE_ROUTE_FAILED}, {'F', TR_FRAGMENTATION_NEEDED},
};

std::FILE *open_work_file(const char *name, const char *kind) {
  char path[kWorkPathSize];
  const int length = std::snprintf(path, sizeof path, "/tmp/%s-%s", name, kind);
  if (length < 0 || static_cast<std::size_t>(length) >= sizeof path) {
    fail(ENAMETOOLONG);
    return nullptr;
  }
  return std::fopen(path, "r");
}

// Reads the first line of a work file. Returns 1; 0 if the file is empty or cannot be read; -1 with
// errno set if it cannot be opened.
int read_first_line(const char *name, const char *kind, char *line, std::size_t size) {
  const FilePtr file(open_work_file(name, kind));
  if (file == nullptr) return -1;
  return read_line(file.get(), line, size) ? 1 : 0;
}

// Copies the header's first string in parentheses into a zeroed buffer.
void take_destination(const char *header, char (&destination)[kDestinationSize]) {
  const char *open = std::strchr(header, '(');
  if (open == nullptr) return;
  std::memcpy(destination, open + 1, std::min(std::strcspn(open + 1, ")\n"), kDestinationSize - 1));
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

// Only the letter counts: the rest of the token may be a line feed or details.
void take_marker(tr_hop &hop, char letter) {
  for (const Marker &marker : kMarkers) {
    if (letter == marker.letter) hop.status = marker.status;
  }
}

// Token 1, the hop number, is ignored.
void take_token(tr_hop &hop, int number, const char *token) {
  if (number == 1 || *token == '*') return;
  if (number <= 3) {
    char *const text = number == 2 ? hop.host : hop.address;
    const std::size_t last = (number == 2 ? sizeof hop.host : sizeof hop.address) - 1;
    if (memccpy(text, token, '\0', last) == nullptr) text[last] = '\0';  // truncated
  } else if (*token == '!') {
    take_marker(hop, token[1]);
  } else if (is_time(token)) {
    append_time(hop, token);
  }
}

void take_hop(tr_hop &hop, char *line) {
  int number = 0;
  while (const char *token = strsep(&line, ")( ")) {
    if (*token != '\0') take_token(hop, ++number, token);
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
  for (; rows < max_rows && talvera::read_line(file.get(), line, sizeof line); ++rows)
    take_hop(*hops++, line);
  *count = rows;
  if (rows < max_rows) return 0;
  const tr_hop &last = hops[-1];
  return std::strncmp(last.address, destination, sizeof last.address) != 0 ? 1 : 0;
}

extern "C" int ipdiag_tr_resptime(const char *name, std::int32_t *time) {
  char line[kStatusLineSize];
  const int lines = read_first_line(name, "status", line, sizeof line);
  if (lines > 0) *time = talvera::decimal32(line);
  return lines < 0 ? -1 : 0;
}

extern "C" int ipdiag_tr_err(const char *name, std::int32_t *code) {
  char line[kErrorLineSize];
  const int lines = read_first_line(name, "err", line, sizeof line);
  if (lines > 0) *code = std::strstr(line, "bad address") != nullptr ? 0 : 1;
  return lines < 0 ? -1 : 0;
}
