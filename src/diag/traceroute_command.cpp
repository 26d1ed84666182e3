// The command line of traceroute, in a buffer whose room is reckoned in a way of its own.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "internal/fail.h"
#include "talvera/ipdiag.h"

namespace talvera::diag {
namespace {

// Deliberately, each piece takes the whole length written so far off the room, not its own length.
// This decides which trailing pieces a small buffer loses. The room wraps below zero, and is then
// huge to all but the switches, which compare it as a signed number.
class CommandLine {
 public:
  CommandLine(char *buffer, std::uint32_t size) : buffer_(buffer), room_(size) {}

  template <typename... Arguments>
  void append(const char *format, Arguments... arguments) {
    written_ += static_cast<std::uint32_t>(std::sprintf(buffer_ + written_, format, arguments...));
    room_ -= written_;
  }

  void append_switch(bool wanted, const char *text) {
    if (wanted && static_cast<std::int32_t>(room_) >= 4) append("%s", text);
  }
  void append_number(const char *format, int number, std::uint32_t least_room) {
    if (number > 0 && room_ >= least_room) append(format, number);
  }
  // `added` is what the format adds to the text.
  void append_text(const char *format, const char *text, std::size_t added) {
    if (std::strlen(text) + added < room_) append(format, text);
  }

 private:
  char *buffer_;
  std::uint32_t written_ = 0;
  std::uint32_t room_;
};

constexpr char kProgram[] = "traceroute";

}  // namespace
}  // namespace talvera::diag

extern "C" int ipdiag_tr_makeparam(const char *host, const char *ifname, std::int32_t queries,
                                   std::int32_t max_hops, std::int32_t wait, std::int32_t tos,
                                   std::uint16_t port, std::int32_t icmp, std::int32_t packet_len,
                                   char *buf, std::uint16_t ipv6, std::uint32_t buf_size) {
  using talvera::diag::kProgram;
  if (host == nullptr) return talvera::fail(EINVAL);
  if (buf_size < sizeof kProgram) return 0;  // no room for the name and its terminator

  talvera::diag::CommandLine line(buf, buf_size);
  line.append("%s", kProgram);
  line.append_switch(ipv6 != 0, " -6");
  line.append_switch(icmp != 0, " -I");
  if (ifname != nullptr && *ifname != '\0') line.append_text(" -i %s", ifname, 4);
  line.append_number(" -q %d", queries, 9);
  line.append_number(" -m %d", max_hops, 9);
  line.append_number(" -w %d", wait, 9);
  line.append_number(" -t %d", tos, 9);
  line.append_number(" -p %d", port, 7);
  line.append_text(" %s", host, 1);
  line.append_number(" %d", packet_len, 6);
  return 0;
}
