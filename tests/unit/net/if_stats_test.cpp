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
      system.redirect(std::string("/sys/class/net/wan7/statistics/") + file, files / file);
  }
  // Gives counter i the value first + i, for the first `count` counters.
  void write_counters(unsigned first, unsigned count) {
    for (unsigned i = 0; i < count; ++i)
      files.write(kFiles[i], std::to_string(first + i) + "\n");
  }
  [[nodiscard]] std::uint32_t get(unsigned index) const {
    return netu_get_linuxif_stat(stats.get(), index);
  }

  TempDir files;
  SystemDouble system;
  std::unique_ptr<netu_linuxif_stats, decltype(&netu_free_linuxif_stats)> stats;
};

TEST_F(InterfaceStatistics, DeltasCountFromTheLastReset) {
  for (unsigned i = 0; i < 42; ++i)
    EXPECT_EQ(get(i), 0U);
  std::memset(stats.get(), 0x55, sizeof *stats);
  EXPECT_EQ(netu_init_linuxif_stats(stats.get()), 0);

  write_counters(1000, 14);
  EXPECT_EQ(netu_update_linuxif_stats("wan7", stats.get()), 0);
  for (unsigned i = 0; i < 14; ++i) {
    EXPECT_EQ(get(i), 1000 + i);
    EXPECT_EQ(get(14 + i), 1000 + i);
    EXPECT_EQ(get(28 + i), 0U);
  }
  EXPECT_EQ(netu_reset_linuxif_stats(stats.get()), 0);
  for (unsigned i = 0; i < 14; ++i) {
    EXPECT_EQ(get(i), 0U);
    EXPECT_EQ(get(28 + i), 1000 + i);
  }
  netu_update_linuxif_stats("wan7", stats.get());
  for (unsigned i = 0; i < 14; ++i)
    EXPECT_EQ(get(i), 0U);

  write_counters(1007, 14);
  files.write("tx_errors", "1000");  // was 1008
  netu_update_linuxif_stats("wan7", stats.get());
  EXPECT_EQ(get(NETU_RX_PACKETS), 7U);
  EXPECT_EQ(get(NETU_TX_ERRORS), 0xFFFFFFF8U);
  EXPECT_EQ(get(14 + NETU_TX_ERRORS), 1000U);
}

TEST_F(InterfaceStatistics, TextsInAnyBaseWithin32Bits) {
  struct Case {
    const char *text;
    std::uint32_t value;
  };
  const std::array cases = {
      Case{"0x1F\n", 31},
      Case{"017\n", 15},
      Case{"4294967295\n", UINT32_MAX},
      Case{"4294967296\n", UINT32_MAX},
      Case{"99999999999999999999999\n", UINT32_MAX},
      Case{"-1\n", UINT32_MAX},
      Case{"12 34\n", 12},
      Case{"08\n", 0},
      Case{"none\n", 0},
      Case{"\n", 0},
      // 32 characters are read, and no terminator is missed behind them.
      Case{"                              7890123", 78},
  };
  for (std::size_t i = 0; i < cases.size(); ++i)
    files.write(kFiles[i], cases[i].text);
  netu_update_linuxif_stats("wan7", stats.get());
  for (unsigned i = 0; i < cases.size(); ++i)
    EXPECT_EQ(get(i), cases[i].value) << cases[i].text;
}

TEST_F(InterfaceStatistics, MissingFilesRepeatTheCounterBefore) {
  write_counters(500, 10);
  netu_update_linuxif_stats("wan7", stats.get());
  for (unsigned i = 10; i < 14; ++i)
    EXPECT_EQ(get(i), 509U);

  system.redirect("/sys/class/net/wan7/statistics/rx_packets", files / "missing");
  files.write("tx_dropped", "");
  system.redirect("/sys/class/net/wan7/statistics/tx_errors", files.path());  // read gives EISDIR
  netu_update_linuxif_stats("wan7", stats.get());
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
  system.redirect("/sys/class/net/wan7/statistics/tx_bytes", files.path());
  EXPECT_EQ(netu_ifstat_get("wan7", 6, text, 7), EISDIR);
}

TEST_F(InterfaceStatistics, NoMemory) {
  system.fail("calloc", ENOMEM);
  EXPECT_EQ(netu_alloc_linuxif_stats(), nullptr);
  netu_free_linuxif_stats(nullptr);
}

}  // namespace
}  // namespace talvera::test
