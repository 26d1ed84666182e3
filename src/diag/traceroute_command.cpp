// The command line of traceroute, built in a buffer with unusual space accounting.
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "talvera/ipdiag.h"

namespace talvera::diag {
namespace {

// Intentionally, each piece deducts the total length written so far, not its own length, from the
// remaining space. This decides which trailing pieces a small buffer omits. The remaining space
// wraps below zero and is then huge for all pieces except switches, which compare it as a signed
// number.
class CommandLine {
 public:
  CommandLine(char *buffer, std::uint32_t size) : buffer_(buffer), room_(size) {}

  __attribute__((noinline, format(printf, 2, 3))) void append(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    written_ += static_cast<std::uint32_t>(std::vsprintf(buffer_ + written_, format, arguments));
    va_end(arguments);
    room_ -= written_;
  }

  [[nodiscard]] std::uint32_t room() const { return room_; }
  [[nodiscard]] bool takes_switch() const { return static_cast<std::int32_t>(room_) >= 4; }

 private:
  char *buffer_;
  std::uint32_t written_ = 0;
  std::uint32_t room_;
};

constexpr char kProgram[] = "traceroute";

struct NumberOption {
  char letter;
  std::uint8_t least_room;
};
constexpr NumberOption kNumberOptions[] = {{'q', 9}, {'m', 9}, {'w', 9}, {'t', 9}, {'p', 7}};

}  // namespace
}  // namespace talvera::diag

using namespace talvera::diag;

extern "C" int ipdiag_tr_makeparam(const char *host, const char *ifname, std::int32_t queries,
                                   std::int32_t max_hops, std::int32_t wait, std::int32_t tos,
                                   std::uint16_t port, std::int32_t icmp, std::int32_t packet_len,
                                   char *buf, std::uint16_t ipv6, std::uint32_t size) {
  if (host == nullptr) {
    errno = EINVAL;
    return -1;
  }
  if (size < sizeof kProgram) return 0;  // too small for the name and its terminator

  CommandLine line(buf, size);
  line.append(kProgram);
  if (ipv6 != 0 && line.takes_switch()) line.append(" -6");
  if (icmp != 0 && line.takes_switch()) line.append(" -I");
  if (ifname != nullptr && *ifname != '\0' && std::strlen(ifname) + 4 < line.room())
    line.append(" -i %s", ifname);
  const std::int32_t numbers[] = {queries, max_hops, wait, tos, port};
  for (std::size_t i = 0; i < std::size(kNumberOptions); ++i) {
    const NumberOption &option = kNumberOptions[i];
    if (numbers[i] > 0 && line.room() >= option.least_room)
      line.append(" -%c %d", option.letter, numbers[i]);
  }
  if (std::strlen(host) + 1 < line.room()) line.append(" %s", host);
  if (packet_len > 0 && line.room() >= 6) line.append(" %d", packet_len);
  return 0;
}
