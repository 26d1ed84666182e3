// Formatting of values into callers' buffers, and replacement of heap strings.
#include <arpa/inet.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "talvera/values.h"

namespace talvera::text {
namespace {

constexpr std::size_t kAddressSize = 20;
constexpr std::size_t kTimeSize = 64;
constexpr std::size_t kDateSize = 80;
constexpr std::size_t kLongSize = 24;  // any long, even with 64 bits

// Leaves an empty string for a time that does not fit the buffer or has no calendar date.
__attribute__((format(strftime, 3, 0))) std::size_t print_time(char *buffer, std::size_t size,
                                                               const char *format,
                                                               std::time_t time) {
  const std::tm *local = std::localtime(&time);
  const std::size_t length = local != nullptr ? std::strftime(buffer, size, format, local) : 0;
  if (length == 0) buffer[0] = '\0';
  return length;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" const char *const enum_ad_states[7] = {
    "Idle", "Wait", "Pre-AdBreak", "Pre-AdBreak-2", "AdBreak", "Post-AdBreak", "SS_ANY",
};

extern "C" const char *p_bool(int value) {
  return value != 0 ? "on" : "off";
}

extern "C" char *p_ipad(char *buf, in_addr_t address) {
  inet_ntop(AF_INET, &address, buf, kAddressSize);
  return buf;
}

// Intentionally unsigned: a negative number prints as its 32-bit pattern.
extern "C" char *p_int(char *buf, unsigned int value) {
  std::sprintf(buf, "%u", value);
  return buf;
}

extern "C" const char *p_time(char *buf, time_t time) {
  if (time == 0) return "(never)";
  print_time(buf, kTimeSize, "%a %b %d %H:%M:%S %Z %Y", time);
  return buf;
}

extern "C" char *p_secs(char *buf, unsigned long seconds, long microseconds) {
  // 32 bits as on the target, so that a negative number prints the same everywhere.
  const auto milliseconds = static_cast<std::uint32_t>(microseconds / 1000);
  std::sprintf(buf, "%lu.%.3lu seconds", seconds, static_cast<unsigned long>(milliseconds));
  return buf;
}

extern "C" const char *p_enum(int value, const char *const names[]) {
  return names[value];
}

extern "C" size_t mkstr_date(time_t time, char *buf) {
  return print_time(buf, kDateSize, "%x %X %p", time);
}

extern "C" char *mkstr_long(char **slot, long value) {
  char text[kLongSize];
  std::snprintf(text, sizeof text, "%ld", value);
  return mkstr_string(slot, text);
}

extern "C" char *mkstr_ulong(char **slot, unsigned long value) {
  char text[kLongSize];
  std::snprintf(text, sizeof text, "%lu", value);
  return mkstr_string(slot, text);
}

extern "C" char *mkstr_string(char **slot, const char *text) {
  // Copied first: `text` may be part of the string to be freed.
  char *copy = text != nullptr ? strdup(text) : nullptr;
  std::free(*slot);
  *slot = copy;
  return copy;
}
