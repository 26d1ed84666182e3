// The command line of traceroute, built in a buffer with unusual space accounting.
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "internal/fail.h"
#include "talvera/ipdiag.h"

namespace talvera::diag {
namespace {

// Intentionally, each piece deducts the total length written so far from the remaining space, not
// its own length. This decides which trailing pieces a small buffer omits. The remaining space
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

  [[gnu::noinline]] void append_switch(bool wanted, const char *text) {
    if (wanted && static_cast<std::int32_t>(room_) >= 4) append("%s", text);
  }
  [[gnu::noinline]] void append_number(char letter, int number, std::uint32_t least_room) {
    if (number > 0 && room_ >= least_room) append(" -%c %d", letter, number);
  }
  // Appends `before` and `text` if both fit.
  [[gnu::noinline]] void append_text(const char *before, const char *text) {
    if (std::strlen(text) + std::strlen(before) < room_) append("%s%s", before, text);
  }
  void append_length(int length) {
    if (length > 0 && room_ >= 6) append(" %d", length);
  }

 private:
  char *buffer_;
  std::uint32_t written_ = 0;
  std::uint32_t room_;
};

constexpr char kProgram[] = "traceroute";

}  // namespace
}  // namespace talvera::diag

using namespace talvera::diag;

extern "C" int ipdiag_tr_makeparam(const char *host, const char *ifname, std::int32_t queries,
                                   std::int32_t max_hops, std::int32_t wait, std::int32_t tos,
                                   std::uint16_t port, std::int32_t icmp, std::int32_t packet_len,
                                   char *buf, std::uint16_t ipv6, std::uint32_t size) {
  if (host == nullptr) return talvera::fail(EINVAL);
  if (size < sizeof kProgram) return 0;  // too small for the name and its terminator

  CommandLine line(buf, size);
  line.append("%s", kProgram);
  line.append_switch(ipv6 != 0, " -6");
  line.append_switch(icmp != 0, " -I");
  if (ifname != nullptr && *ifname != '\0') line.append_text(" -i ", ifname);
  line.append_number('q', queries, 9);
  line.append_number('m', max_hops, 9);
  line.append_number('w', wait, 9);
  line.append_number('t', tos, 9);
  line.append_number('p', port, 7);
  line.append_text(" ", host);
  line.append_length(packet_len);
  return 0;
}
