// Counters of an interface and their changes since the last reset.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "internal/integer32.h"
#include "talvera/netu.h"
#include "talvera/utils.h"

namespace talvera::net {
namespace {

static_assert(sizeof(netu_linuxif_stats) == std::size_t{3} * 14 * 4);

// File names in the order of netu_stat; an array of arrays needs no relocations.
constexpr char kFiles[NETU_STAT_COUNT][17] = {
    "rx_packets",       "rx_bytes",         "rx_dropped",       "rx_errors",        "multicast",
    "tx_packets",       "tx_bytes",         "tx_dropped",       "tx_errors",        "collisions",
    "tx-errored-bytes", "rx-errored-bytes", "tx-dropped-bytes", "rx-dropped-bytes",
};
constexpr unsigned kReadSize = 32;
constexpr unsigned kTextSize = kReadSize + 4;

}  // namespace
}  // namespace talvera::net

using namespace talvera::net;

extern "C" int netu_ifstat_get(const char *ifname, unsigned int index, char *buf,
                               unsigned int size) {
  const int length =
      sysfs_get_attr("/sys/class/net/%s/statistics/%s", buf, size, ifname, kFiles[index]);
  return length >= 0 ? 0 : errno;
}

extern "C" netu_linuxif_stats *netu_alloc_linuxif_stats() {
  return static_cast<netu_linuxif_stats *>(std::calloc(1, sizeof(netu_linuxif_stats)));
}

extern "C" void netu_free_linuxif_stats(netu_linuxif_stats *stats) {
  std::free(stats);
}

extern "C" int netu_init_linuxif_stats(netu_linuxif_stats *stats) {
  *stats = {};
  return 0;
}

// Intentionally clears the text once, not for each counter: a counter without a file takes the
// value of the one before it.
extern "C" int netu_update_linuxif_stats(const char *ifname, netu_linuxif_stats *stats) {
  char text[kTextSize] = {};
  for (unsigned i = 0; i < NETU_STAT_COUNT; ++i) {
    netu_ifstat_get(ifname, i, text, kReadSize);
    stats->current[i] = talvera::parse_integer32(text, 0).as_unsigned;
    stats->delta[i] = stats->current[i] - stats->base[i];
  }
  return 0;
}

extern "C" int netu_reset_linuxif_stats(netu_linuxif_stats *stats) {
  std::copy(std::begin(stats->current), std::end(stats->current), stats->base);
  std::fill(std::begin(stats->delta), std::end(stats->delta), 0);
  return 0;
}

extern "C" std::uint32_t netu_get_linuxif_stat(const netu_linuxif_stats *stats,
                                               unsigned int index) {
  // The index runs over all three arrays.
  const auto *at = reinterpret_cast<const unsigned char *>(stats) + sizeof(std::uint32_t) * index;
  std::uint32_t counter;
  std::memcpy(&counter, __builtin_assume_aligned(at, alignof(std::uint32_t)), sizeof counter);
  return counter;
}
