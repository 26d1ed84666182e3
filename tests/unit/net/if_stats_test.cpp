// Counters of an interface and their deltas, from statistics files of the test's own.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>

#include "support/system_double.h"
#include "talvera/netu.h"

namespace talvera::test {
namespace {

constexpr std::array kFiles = {
    "rx_packets",       "rx_bytes",         "rx_dropped",       "rx_errors",       "multicast",
    "tx_packets",       "tx_bytes",         "tx_dropped",       "tx_errors",       "collisions",
    "tx-errored-bytes", "rx-errored-bytes", "tx-dropped-bytes", "rx-dropped-bytes"};

class InterfaceStatistics : public ::testing::Test {
 protected:
  InterfaceStatistics() : stats(netu_alloc_linuxif_stats(), netu_free_linuxif_stats) {
    for (const char *file : kFiles)
      redirect(file, files / file);
  }
  // Gives counter i the value first + i, for the first `count` counters.
  void write_counters(unsigned first, unsigned count) {
    for (unsigned i = 0; i < count; ++i)
      files.write(kFiles[i], std::to_string(first + i) + "\n");
  }
  void update() { EXPECT_EQ(netu_update_linuxif_stats("wan7", stats.get()), 0); }
  [[nodiscard]] std::uint32_t get(unsigned index) const {
    return netu_get_linuxif_stat(stats.get(), index);
  }
  void redirect(const char *file, const std::string &target) {
    system.redirect(std::string("/sys/class/net/wan7/statistics/") + file, target);
  }

  TempDir files;
  SystemDouble system;
  std::unique_ptr<netu_linuxif_stats, decltype(&netu_free_linuxif_stats)> stats;
};

TEST_F(InterfaceStatistics, DeltasCountFromTheLastReset) {
  system.fail("calloc", ENOMEM);
  EXPECT_EQ(netu_alloc_linuxif_stats(), nullptr);
  netu_free_linuxif_stats(nullptr);
  for (unsigned i = 0; i < 42; ++i)
    EXPECT_EQ(get(i), 0U);
  std::memset(stats.get(), 0x55, sizeof *stats);
  EXPECT_EQ(netu_init_linuxif_stats(stats.get()), 0);

  write_counters(1000, 14);
  update();
  for (unsigned i = 0; i < 14; ++i) {
    EXPECT_EQ(get(i), 1000 + i);
    EXPECT_EQ(get(14 + i), 1000 + i);
    EXPECT_EQ(get(28 + i), 0U);
  }
  EXPECT_EQ(netu_reset_linuxif_stats(stats.get()), 0);
  for (const bool updated : {false, true}) {
    if (updated) update();
    for (unsigned i = 0; i < 14; ++i) {
      EXPECT_EQ(get(i), 0U);
      EXPECT_EQ(get(28 + i), 1000 + i);
    }
  }
  write_counters(1007, 14);
  files.write("tx_errors", "1000");  // was 1008
  update();
  EXPECT_EQ(get(NETU_RX_PACKETS), 7U);
  EXPECT_EQ(get(NETU_TX_ERRORS), 0xFFFFFFF8U);
  EXPECT_EQ(get(14 + NETU_TX_ERRORS), 1000U);
}

TEST_F(InterfaceStatistics, TextsInAnyBaseWithin32Bits) {
  for (const auto &[text, value] : {
           std::pair{"0x1F\n", 31U},
           {"017\n", 15},
           {"4294967296\n", UINT32_MAX},
           {"99999999999999999999999\n", UINT32_MAX},
           {"-1\n", UINT32_MAX},
           {"12 34\n", 12},
           {"08\n", 0},
           {"none\n", 0},
           // 32 characters are read, and no terminator is missed behind them.
           {"                              7890123", 78},
       }) {
    files.write(kFiles[0], text);
    update();
    EXPECT_EQ(get(0), value) << text;
  }
}

TEST_F(InterfaceStatistics, MissingFilesRepeatTheCounterBefore) {
  write_counters(500, 10);
  update();
  for (unsigned i = 10; i < 14; ++i)
    EXPECT_EQ(get(i), 509U);

  redirect("rx_packets", files / "missing");
  files.write("tx_dropped", "");
  redirect("tx_errors", files.path());  // read gives EISDIR
  update();
  EXPECT_EQ(get(NETU_RX_PACKETS), 0U);
  EXPECT_EQ(get(NETU_RX_BYTES), 501U);
  EXPECT_EQ(get(NETU_TX_DROPPED), 506U);
  EXPECT_EQ(get(NETU_TX_ERRORS), 0U);

  EXPECT_EQ(netu_update_linuxif_stats("no-such-interface", stats.get()), 0);
  for (unsigned i = 0; i < 14; ++i)
    EXPECT_EQ(get(i), 0U);
}

TEST_F(InterfaceStatistics, TextOfOneCounter) {
  write_counters(10, 14);
  for (unsigned i = 0; i < 14; ++i) {
    char text[8] = {};
    EXPECT_EQ(netu_ifstat_get("wan7", i, text, sizeof text - 1), 0);
    EXPECT_EQ(text, std::to_string(10 + i));
  }
  char text[8] = "####";
  EXPECT_EQ(netu_ifstat_get("wan7", 6, text, 1), 0);
  EXPECT_STREQ(text, "1###");
  EXPECT_EQ(netu_ifstat_get("lan", 6, text, 7), ENOENT);
  EXPECT_STREQ(text, "1###");
  redirect("tx_bytes", files.path());
  EXPECT_EQ(netu_ifstat_get("wan7", 6, text, 7), EISDIR);
}

}  // namespace
}  // namespace talvera::test
