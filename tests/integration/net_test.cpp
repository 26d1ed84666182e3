// The network families with the kernel and the real programs, in networks of the sandbox's own:
//
//   here 192.0.2.1 -- veth -- 192.0.2.2 near 198.51.100.1 -- veth -- 198.51.100.2 far
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "talvera/ipdiag.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"

namespace talvera::test {
namespace {

using ::testing::HasSubstr;

void run(const std::string &command) {
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

// Datagrams over the loopback interface to a socket that takes them.
class Loopback {
 public:
  explicit Loopback(const char *address) : fd_(socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    inet_pton(AF_INET, address, &name.sin_addr);
    socklen_t size = sizeof name;
    auto *const address_of_name = reinterpret_cast<sockaddr *>(&name);
    EXPECT_EQ(bind(fd_, address_of_name, size), 0);
    EXPECT_EQ(getsockname(fd_, address_of_name, &size), 0);
    EXPECT_EQ(connect(fd_, address_of_name, size), 0);
  }
  ~Loopback() { close(fd_); }
  Loopback(const Loopback &) = delete;
  Loopback &operator=(const Loopback &) = delete;

  void send(const std::string &text) const {
    EXPECT_EQ(::send(fd_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  }

 private:
  int fd_;
};

// ---- The packet log ----------------------------------------------------------------------------

constexpr int kReceiveSize = 65536;

struct Packet {
  unsigned group;
  unsigned family;
  std::string prefix;
  std::string payload;
};

// Reads an attribute's payload; its header, with the length, lies just before it.
std::string text_of(const nlattr *const *attributes, unsigned type) {
  const auto *payload = static_cast<const char *>(nfnetlink_log_nfa_get_ptr(attributes, type));
  if (payload == nullptr) return "";
  return {payload, reinterpret_cast<const nlattr *>(payload - 4)->nla_len - 4U};
}

int keep_packet(nfnetlink_log_group *group, const nfgenmsg *header, const nlattr *const *attributes,
                void *data) {
  EXPECT_EQ(ntohs(header->res_id), group->number);
  static_cast<std::vector<Packet> *>(data)->push_back({group->number, header->nfgen_family,
                                                       text_of(attributes, NFULA_PREFIX).c_str(),
                                                       text_of(attributes, NFULA_PAYLOAD)});
  return 1;
}

struct LogCloser {
  void operator()(nfnetlink_log *log) const { nfnetlink_log_close(log); }
};
using Log = std::unique_ptr<nfnetlink_log, LogCloser>;

class RealPacketLog : public ::testing::Test {
 protected:
  RealPacketLog() : log_(nfnetlink_log_open()) {
    set_timeout(log_.get());
    buffer_.resize(kReceiveSize);
  }
  void SetUp() override {
    run("iptables -A OUTPUT -d 127.0.0.5 -p udp -j NFLOG --nflog-group 5 --nflog-prefix five");
    run("iptables -A OUTPUT -d 127.0.0.6 -p udp -j NFLOG --nflog-group 6");
  }
  void TearDown() override { run("iptables -F OUTPUT"); }

  // A refused request would wait for ever, and so would a packet that does not come. The kernel
  // holds packets back for up to a second.
  static void set_timeout(nfnetlink_log *log) {
    const timeval timeout = {2, 0};
    setsockopt(log->netlink->fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  }
  int receive() {
    const int length = nfnetlink_receive(log_->netlink, buffer_.data(), kReceiveSize);
    if (length < 0) return length;
    return nfnetlink_msg_unpack(log_->netlink, buffer_.data(), length);
  }

  Log log_;
  std::vector<char> buffer_;
  std::vector<Packet> packets_;
};

TEST_F(RealPacketLog, ReceivesWhatTheFirewallLogs) {
  ASSERT_NE(log_, nullptr);
  EXPECT_EQ(nfnetlink_log_unbind_pf(log_.get(), AF_INET), 0);
  EXPECT_EQ(nfnetlink_log_bind_pf(log_.get(), AF_INET), 0);
  nfnetlink_log_group *group = nfnetlink_log_bind_group(log_.get(), 5);
  ASSERT_NE(group, nullptr);
  nfnetlink_log_register_handler(group, keep_packet, &packets_);
  EXPECT_EQ(nfnetlink_log_setmode(group, NFULNL_COPY_PACKET, 0xFFFF), 0);
  EXPECT_EQ(nfnetlink_log_bind_group(log_.get(), 5), nullptr);

  const Loopback five("127.0.0.5");
  five.send("first packet");
  five.send("second packet");
  EXPECT_EQ(receive(), -1);  // the end of several packets in one datagram
  ASSERT_EQ(packets_.size(), 2U);
  EXPECT_EQ(packets_[0].group, 5U);
  EXPECT_EQ(packets_[0].family, static_cast<unsigned>(AF_INET));
  EXPECT_EQ(packets_[0].prefix, "five");
  EXPECT_THAT(packets_[0].payload, HasSubstr("first packet"));
  EXPECT_THAT(packets_[1].payload, HasSubstr("second packet"));

  EXPECT_EQ(nfnetlink_log_setmode(group, NFULNL_COPY_PACKET, 20), 0);  // the IP header alone
  five.send("third packet");
  EXPECT_EQ(receive(), 1);
  EXPECT_EQ(packets_.back().payload.size(), 20U);

  // What the kernel still holds back comes before it answers the request.
  five.send("fourth packet");
  five.send("fifth packet");
  EXPECT_EQ(nfnetlink_log_unbind_group(group), 0);
  EXPECT_EQ(packets_.size(), 5U);
  EXPECT_EQ(nfnetlink_log_bind_pf(log_.get(), AF_INET), 0);
  five.send("sixth packet");
  EXPECT_EQ(receive(), -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(packets_.size(), 5U);
}

TEST_F(RealPacketLog, GroupsWithoutHandlerFail) {
  nfnetlink_log_group *five = nfnetlink_log_bind_group(log_.get(), 5);
  nfnetlink_log_group *six = nfnetlink_log_bind_group(log_.get(), 6);
  ASSERT_NE(five, nullptr);
  ASSERT_NE(six, nullptr);
  nfnetlink_log_register_handler(five, keep_packet, &packets_);
  EXPECT_EQ(nfnetlink_log_setmode(five, NFULNL_COPY_META, 0), 0);
  EXPECT_EQ(nfnetlink_log_setmode(six, NFULNL_COPY_META, 0), 0);
  Loopback("127.0.0.5").send("to five");
  EXPECT_EQ(receive(), 1);
  ASSERT_EQ(packets_.size(), 1U);
  EXPECT_EQ(packets_[0].payload, "");
  Loopback("127.0.0.6").send("to six");
  errno = 0;
  EXPECT_EQ(receive(), -1);
  EXPECT_NE(errno, EAGAIN);
}

// The group has another listener: the kernel refuses, and the wait goes on until the time-out.
TEST_F(RealPacketLog, GroupsOfOthersCannotBeBound) {
  const Log other(nfnetlink_log_open());
  ASSERT_NE(other, nullptr);
  set_timeout(other.get());
  nfnetlink_log_group *group = nfnetlink_log_bind_group(other.get(), 5);
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(nfnetlink_log_bind_group(log_.get(), 5), nullptr);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(log_->groups, nullptr);
  EXPECT_EQ(nfnetlink_log_unbind_group(group), 0);
  EXPECT_NE(nfnetlink_log_bind_group(log_.get(), 5), nullptr);
}

// ---- Interfaces and hosts ----------------------------------------------------------------------

TEST(RealInterface, Counters) {
  const Loopback loopback("127.0.0.9");
  const std::unique_ptr<netu_linuxif_stats, decltype(&netu_free_linuxif_stats)> stats(
      netu_alloc_linuxif_stats(), netu_free_linuxif_stats);
  loopback.send("before");
  EXPECT_EQ(netu_update_linuxif_stats("lo", stats.get()), 0);
  EXPECT_GE(stats->current[NETU_RX_PACKETS], 1U);
  netu_reset_linuxif_stats(stats.get());
  for (int i = 0; i < 7; ++i)
    loopback.send(std::string(72, 'x'));  // 100 bytes with the IP and UDP headers
  EXPECT_EQ(netu_update_linuxif_stats("lo", stats.get()), 0);
  for (const unsigned packets : {NETU_RX_PACKETS, NETU_TX_PACKETS})
    EXPECT_EQ(netu_get_linuxif_stat(stats.get(), packets), 7U);
  for (const unsigned bytes : {NETU_RX_BYTES, NETU_TX_BYTES})
    EXPECT_EQ(netu_get_linuxif_stat(stats.get(), bytes), 7U * 100);
  char name[16];
  run("ip link add fifteen-letters type veth peer name peer");
  for (const char *expected : {"lo", "fifteen-letters"}) {
    EXPECT_EQ(netu_ifindex2name(if_nametoindex(expected), name), 0);
    EXPECT_STREQ(name, expected);
  }
  run("ip link delete fifteen-letters");
}

class RealHosts : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    run("ip netns add near && ip netns add far");
    run("ip link add tohost type veth peer name tohere netns near");
    run("ip -n near link add tofar type veth peer name tonear netns far");
    run("ip address add 192.0.2.1/24 dev tohost && ip link set tohost up");
    run("ip -n near address add 192.0.2.2/24 dev tohere && ip -n near link set tohere up");
    run("ip -n near address add 198.51.100.1/24 dev tofar && ip -n near link set tofar up");
    run("ip -n far address add 198.51.100.2/24 dev tonear && ip -n far link set tonear up");
    run("ip netns exec near sh -c 'echo 1 > /proc/sys/net/ipv4/ip_forward'");
    run("ip route add 198.51.100.0/24 via 192.0.2.2");
    run("ip -n far route add default via 198.51.100.1");
  }
};

TEST_F(RealHosts, ArpProbe) {
  EXPECT_EQ(netu_arping_test("tohost", "192.0.2.2"), 1);
  EXPECT_EQ(netu_arping_test("tohost", "192.0.2.3"), 0);
}

// Runs traceroute as a diagnostics page would, and reads its hops. @return ipdiag_tr_formatout()'s
int trace(const char *host, int max_hops, std::vector<tr_hop> &hops) {
  char command[512];
  EXPECT_EQ(
      ipdiag_tr_makeparam(host, nullptr, 2, max_hops, 5, 0, 0, 0, 0, command, 0, sizeof command),
      0);
  std::system((command + std::string(" > /tmp/trace-out 2> /tmp/trace-err")).c_str());
  hops.assign(8, {"", "", 77, ""});
  std::int32_t count = 0;
  const int result = ipdiag_tr_formatout("trace", hops.data(), max_hops, &count);
  hops.resize(static_cast<std::size_t>(count));
  return result;
}

TEST_F(RealHosts, Traceroute) {
  std::vector<tr_hop> hops;
  EXPECT_EQ(trace("198.51.100.2", 8, hops), 0) << read_file("/tmp/trace-out");
  ASSERT_EQ(hops.size(), 2U) << read_file("/tmp/trace-out");
  EXPECT_STREQ(hops[0].host, "192.0.2.2");
  EXPECT_STREQ(hops[0].address, "192.0.2.2");
  EXPECT_STREQ(hops[1].address, "198.51.100.2");
  float first = 0;
  float second = 0;
  char end = 0;
  EXPECT_EQ(std::sscanf(hops[1].times, "%f,%f%c", &first, &second, &end), 2) << hops[1].times;
  EXPECT_EQ(hops[1].status, 77);

  EXPECT_EQ(trace("198.51.100.2", 1, hops), 1);  // one hop is not enough
  EXPECT_EQ(trace("192.0.2.2", 1, hops), 0);

  trace("198.51.100.77", 4, hops);  // nobody there, says the last hop
  ASSERT_FALSE(hops.empty());
  EXPECT_EQ(hops.back().status, TR_HOST_UNREACHABLE) << read_file("/tmp/trace-out");
  std::int32_t code = 77;
  EXPECT_EQ(ipdiag_tr_err("trace", &code), 0);
  EXPECT_EQ(code, 77);
  trace("no-such-host.invalid", 4, hops);
  EXPECT_EQ(ipdiag_tr_err("trace", &code), 0);
  EXPECT_EQ(code, 1);  // this traceroute has another text for it
}

}  // namespace
}  // namespace talvera::test
