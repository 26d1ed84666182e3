// Dispatch of logged packets against a bare walk of the same messages, parsing of traceroute's hops
// against reading the lines, and address arithmetic against parsing the addresses.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <linux/netfilter/nfnetlink_log.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "talvera/ipdiag.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"

namespace {

// ---- The packet log ----------------------------------------------------------------------------

constexpr unsigned kGroup = 5;
constexpr int kPackets = 64;

template <typename Value>
std::string bytes_of(const Value &value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

std::string attribute(std::uint16_t type, std::size_t length) {
  const nlattr header = {static_cast<std::uint16_t>(sizeof header + length), type};
  return bytes_of(header) + std::string((length + 3) & ~std::size_t{3}, 'x');
}

// Messages as the kernel sends them for datagrams of 100 bytes.
std::string logged_packets() {
  const nfgenmsg general = {AF_INET, 0, htons(kGroup)};
  const std::string rest = bytes_of(general) + attribute(NFULA_PACKET_HDR, 4) +
                           attribute(NFULA_PREFIX, 5) + attribute(NFULA_IFINDEX_OUTDEV, 4) +
                           attribute(NFULA_UID, 4) + attribute(NFULA_GID, 4) +
                           attribute(NFULA_TIMESTAMP, 16) + attribute(NFULA_PAYLOAD, 100);
  nlmsghdr header{};
  header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + rest.size());
  header.nlmsg_type = NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_PACKET;
  std::string messages;
  for (int i = 0; i < kPackets; ++i)
    messages += bytes_of(header) + rest;
  return messages;
}

int count_bytes(nfnetlink_log_group *, const nfgenmsg *, const nlattr *const *attributes,
                void *data) {
  const auto *payload =
      static_cast<const unsigned char *>(nfnetlink_log_nfa_get_ptr(attributes, NFULA_PAYLOAD));
  *static_cast<unsigned *>(data) += *payload;
  return 1;
}

void dispatch_64_packets(benchmark::State &state) {
  const std::string messages = logged_packets();
  unsigned sum = 0;
  nfnetlink_log *log = nfnetlink_log_open();
  if (log == nullptr) return state.SkipWithError("no netlink");
  nfnetlink_log_group *group = nfnetlink_log_bind_group(log, kGroup);
  if (group == nullptr) return state.SkipWithError("no log group");
  nfnetlink_log_register_handler(group, count_bytes, &sum);
  for (auto _ : state) {
    const auto length = static_cast<int>(messages.size());
    if (nfnetlink_msg_unpack(log->netlink, messages.data(), length) != 1) std::abort();
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPackets);
  nfnetlink_log_close(log);
}
BENCHMARK(dispatch_64_packets);

// Builds the same attribute table for each message, without calling a handler.
void bare_walk_64_packets(benchmark::State &state) {
  const std::string messages = logged_packets();
  unsigned sum = 0;
  for (auto _ : state) {
    const auto *message = reinterpret_cast<const nlmsghdr *>(messages.data());
    auto left = static_cast<int>(messages.size());
    for (; NLMSG_OK(message, static_cast<unsigned>(left)); message = NLMSG_NEXT(message, left)) {
      const nlattr *table[NFNETLINK_LOG_ATTRIBUTES] = {};
      const char *at = static_cast<const char *>(NLMSG_DATA(message)) + sizeof(nfgenmsg);
      int rest = static_cast<int>(NLMSG_PAYLOAD(message, sizeof(nfgenmsg)));
      while (rest >= NLA_HDRLEN) {
        const auto *attribute = reinterpret_cast<const nlattr *>(at);
        if (attribute->nla_len < NLA_HDRLEN || attribute->nla_len > rest) break;
        const int type = attribute->nla_type & NLA_TYPE_MASK;
        if (type > 0 && type <= NFNETLINK_LOG_ATTRIBUTES) table[type - 1] = attribute;
        at += NLA_ALIGN(attribute->nla_len);
        rest -= NLA_ALIGN(attribute->nla_len);
      }
      benchmark::DoNotOptimize(table);
      sum += *reinterpret_cast<const unsigned char *>(table[NFULA_PAYLOAD - 1] + 1);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPackets);
}
BENCHMARK(bare_walk_64_packets);

// ---- Traceroute --------------------------------------------------------------------------------

constexpr int kHops = 30;
constexpr char kOutFile[] = "/tmp/talvera-bench-out";

void write_hops() {
  FILE *file = std::fopen(kOutFile, "w");
  std::fputs("traceroute to far.example (198.51.100.2), 30 hops max, 60 byte packets\n", file);
  for (int i = 1; i <= kHops; ++i) {
    std::fprintf(file, "%2d  hop%d.example (192.0.2.%d)  0.512 ms  0.400 ms  0.380 ms\n", i, i, i);
  }
  std::fclose(file);
}

void format_30_hops(benchmark::State &state) {
  write_hops();
  static tr_hop hops[kHops + 1];
  for (auto _ : state) {
    std::memset(hops, 0, sizeof hops);
    std::int32_t count = 0;
    if (ipdiag_tr_formatout("talvera-bench", hops, kHops + 1, &count) != 0) std::abort();
    benchmark::DoNotOptimize(hops);
  }
  std::remove(kOutFile);
}
BENCHMARK(format_30_hops);

void fgets_30_hops(benchmark::State &state) {
  write_hops();
  for (auto _ : state) {
    FILE *file = std::fopen(kOutFile, "r");
    char line[512];
    while (std::fgets(line, sizeof line, file) != nullptr)
      benchmark::DoNotOptimize(line);
    std::fclose(file);
  }
  std::remove(kOutFile);
}
BENCHMARK(fgets_30_hops);

// ---- Addresses ---------------------------------------------------------------------------------

void calc_network(benchmark::State &state) {
  for (auto _ : state) {
    std::uint32_t result;
    netu_calc_network("192.168.1.77", "255.255.255.0", &result);
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(calc_network);

void inet_pton_of_both(benchmark::State &state) {
  for (auto _ : state) {
    std::uint32_t address;
    std::uint32_t mask;
    inet_pton(AF_INET, "192.168.1.77", &address);
    inet_pton(AF_INET, "255.255.255.0", &mask);
    benchmark::DoNotOptimize(address);
    benchmark::DoNotOptimize(mask);
  }
}
BENCHMARK(inet_pton_of_both);

}  // namespace
