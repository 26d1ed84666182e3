// The packet log: requests byte for byte, groups, and packets on the way to their handler.
#include <gmock/gmock.h>

#include "support/descriptors.h"
#include "support/errors.h"
#include "unit/net/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

constexpr std::uint32_t kStart = 1000;  // the sequence number before the first request

class PacketLog : public ::testing::Test {
 protected:
  PacketLog() {
    system.set_time(kStart);
    kernel.acknowledge = true;
    log = nfnetlink_log_open();
  }
  ~PacketLog() override { nfnetlink_log_close(log); }

  // A request as it must have been sent: general header and attribute with its alignment.
  static Bytes request(std::uint32_t sequence, const Bytes &rest) {
    return message(0x401, rest, sequence, 5);
  }
  static Bytes packet(std::uint16_t group, const Bytes &attributes = "") {
    return message(0x400, Bytes("\2\0", 2) + be16(group) + attributes);
  }
  int dispatch(const Bytes &bytes) const {
    return nfnetlink_msg_unpack(log->netlink, bytes.data(), static_cast<int>(bytes.size()));
  }

  const DescriptorCheck descriptors;
  SystemDouble system;
  NetlinkDouble kernel;
  nfnetlink_log *log;
};

TEST_F(PacketLog, OpensOneSubsystem) {
  EXPECT_EQ(log->subsys, &log->netlink->subsystems[4]);
  EXPECT_EQ(log->subsys->callback_count, 2);
  EXPECT_EQ(log->subsys->subscriptions, 0U);
  EXPECT_EQ(log->subsys->callbacks[0].attribute_count, 17);
  EXPECT_EQ(log->subsys->callbacks[0].data, log);
  EXPECT_EQ(log->groups, nullptr);
  EXPECT_TRUE(kernel.sent.empty());
  EXPECT_EQ(dispatch(message(0x401, Bytes(4, '\0'))), 1);  // configuration is passed over
}

TEST_F(PacketLog, OpenFailures) {
  const DescriptorCheck all_closed;
  for (const auto &[call, skip] : {std::pair{"socket", 0}, {"calloc", 1}, {"malloc", 0}}) {
    system.fail(call, ENOMEM, skip);
    EXPECT_EQ(error_of(nfnetlink_log_open()), ENOMEM) << call;
  }
}

TEST_F(PacketLog, RequestBytes) {
  const Bytes pad(3, '\0');
  EXPECT_EQ(nfnetlink_log_unbind_pf(log, 2), 0);
  EXPECT_EQ(nfnetlink_log_bind_pf(log, 0xFFFF010A), 0);
  nfnetlink_log_group *group = nfnetlink_log_bind_group(log, 0x10005);
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(group->number, 5);
  EXPECT_EQ(nfnetlink_log_setmode(group, 0x102, 0xFFFF), 0);
  EXPECT_EQ(nfnetlink_log_setmode(group, 1, 0x12345678), 0);
  EXPECT_EQ(nfnetlink_log_unbind_group(group), 0);
  EXPECT_NE(nfnetlink_log_bind_group(log, 0xABCD), nullptr);

  const Bytes none(4, '\0');
  const Bytes five = Bytes(3, '\0') + '\5';
  const auto command = [](char code) { return u16(5) + u16(1) + code + Bytes(3, '\0'); };
  EXPECT_THAT(
      kernel.sent,
      ElementsAre(request(kStart + 1, Bytes("\x02\0\0\0", 4) + command(4)),
                  request(kStart + 2, Bytes("\x0A\0\0\0", 4) + command(3)),
                  request(kStart + 3, five + command(1)),
                  request(kStart + 4, five + u16(10) + u16(2) + be32(0xFFFF) + '\2' + pad),
                  request(kStart + 5, five + u16(10) + u16(2) + be32(0x12345678) + '\1' + pad),
                  request(kStart + 6, five + command(2)),
                  request(kStart + 7, Bytes("\0\0\xAB\xCD", 4) + command(1))));
}

TEST_F(PacketLog, GroupsAreBoundOnce) {
  nfnetlink_log_group *one = nfnetlink_log_bind_group(log, 1);
  nfnetlink_log_group *two = nfnetlink_log_bind_group(log, 2);
  nfnetlink_log_group *three = nfnetlink_log_bind_group(log, 3);
  EXPECT_EQ(log->groups, three);
  EXPECT_EQ(three->next, two);
  EXPECT_EQ(two->next, one);
  EXPECT_EQ(one->next, nullptr);
  EXPECT_EQ(one->log, log);
  for (const unsigned again : {1U, 3U, 0x10002U})
    EXPECT_EQ(nfnetlink_log_bind_group(log, again), nullptr);
  EXPECT_EQ(kernel.sent.size(), 3U);

  EXPECT_EQ(nfnetlink_log_unbind_group(two), 0);
  EXPECT_EQ(three->next, one);
  EXPECT_EQ(nfnetlink_log_unbind_group(three), 0);
  EXPECT_EQ(log->groups, one);
  two = nfnetlink_log_bind_group(log, 2);
  EXPECT_EQ(two->next, one);

  // A node that is not on the list is asked about, but not touched.
  nfnetlink_log_group stranger = {one, log, 9, nullptr, nullptr};
  EXPECT_EQ(nfnetlink_log_unbind_group(&stranger), 0);
  EXPECT_EQ(log->groups, two);
  EXPECT_EQ(kernel.sent.size(), 7U);
}

TEST_F(PacketLog, RefusedRequestsChangeNothing) {
  nfnetlink_log_group *one = nfnetlink_log_bind_group(log, 1);
  kernel.acknowledge = false;  // each wait ends with a failed receive
  EXPECT_EQ(nfnetlink_log_bind_group(log, 2), nullptr);
  EXPECT_EQ(nfnetlink_log_setmode(one, 2, 1), -1);
  EXPECT_EQ(nfnetlink_log_unbind_group(one), -1);
  EXPECT_EQ(log->groups, one);
  EXPECT_EQ(nfnetlink_log_bind_pf(log, 2), -1);
  EXPECT_EQ(nfnetlink_log_unbind_pf(log, 2), -1);
  kernel.acknowledge = true;
  EXPECT_NE(nfnetlink_log_bind_group(log, 2), nullptr);

  kernel.sent.clear();
  system.fail("calloc", ENOMEM);
  EXPECT_EQ(nfnetlink_log_bind_group(log, 3), nullptr);
  EXPECT_TRUE(kernel.sent.empty());
}

// What a handler saw, and what it is to answer.
struct Seen {
  int result = 1;
  int calls = 0;
  nfnetlink_log_group *group = nullptr;
  const nfgenmsg *header = nullptr;
  std::vector<Bytes> payloads = {};

  static int handler(nfnetlink_log_group *group, const nfgenmsg *header,
                     const nlattr *const *attributes, void *data) {
    auto &seen = *static_cast<Seen *>(data);
    ++seen.calls;
    seen.group = group;
    seen.header = header;
    for (const unsigned type : {1U, 17U, 0x10001U}) {
      const void *payload = nfnetlink_log_nfa_get_ptr(attributes, type);
      seen.payloads.emplace_back(payload != nullptr ? static_cast<const char *>(payload) : "-");
    }
    for (const unsigned type : {0U, 2U, 18U, 0x10000U, 0xFFFFU})
      EXPECT_EQ(nfnetlink_log_nfa_get_ptr(attributes, type), nullptr) << type;
    return seen.result;
  }
};

TEST_F(PacketLog, PacketsGoToTheirGroup) {
  nfnetlink_log_group *one = nfnetlink_log_bind_group(log, 0x0102);
  nfnetlink_log_group *two = nfnetlink_log_bind_group(log, 0x0201);
  Seen first;
  Seen second;
  EXPECT_EQ(nfnetlink_log_register_handler(one, Seen::handler, &first), 0);
  nfnetlink_log_register_handler(two, Seen::handler, &second);

  const Bytes bytes = packet(0x0201, attribute(1, Bytes("hook\0", 5)) + attribute(18, "beyond") +
                                         attribute(17, Bytes("last\0", 5)));
  EXPECT_EQ(dispatch(bytes), 1);
  EXPECT_EQ(dispatch(packet(0x0102)), 1);
  EXPECT_EQ(second.calls, 1);
  EXPECT_EQ(second.group, two);
  EXPECT_EQ(reinterpret_cast<const char *>(second.header), bytes.data() + 16);
  EXPECT_THAT(second.payloads, ElementsAre("hook", "last", "hook"));
  EXPECT_EQ(first.calls, 1);
  EXPECT_THAT(first.payloads, ElementsAre("-", "-", "-"));
  EXPECT_EQ(nfnetlink_log_nfa_get_ptr(nullptr, 1), nullptr);

  for (const int result : {0, -3, 4}) {
    first.result = result;
    first.calls = second.calls = 0;
    EXPECT_EQ(dispatch(packet(0x0102) + packet(0x0102)), result);
    EXPECT_EQ(first.calls, result > 0 ? 2 : 1);
  }
}

// Packets that arrive before the acknowledgement end the wait: a handler by its result, several in
// one datagram by what stands behind them. That is the result of a request, but what is bound or
// unbound goes by the acknowledgement, and the next request does not find it in its way.
TEST_F(PacketLog, PacketsDuringARequest) {
  nfnetlink_log_group *one = nfnetlink_log_bind_group(log, 1);
  Seen seen;
  nfnetlink_log_register_handler(one, Seen::handler, &seen);
  const Bytes several = packet(1) + packet(1) + message(NLMSG_DONE, u32(0));
  for (const auto &[handler_result, datagram, result] :
       {std::tuple{-7, packet(1), -7}, {0, packet(1), 0}, {1, several, -1}}) {
    SCOPED_TRACE(result);
    seen.result = handler_result;
    const auto while_packets_come = [&](auto request) {
      kernel.deliver(datagram);
      kernel.deliver(packet(1));
      return request();
    };
    const auto bind_pf = [&] { return nfnetlink_log_bind_pf(log, 2); };
    EXPECT_EQ(while_packets_come(bind_pf), result);
    EXPECT_EQ(while_packets_come([&] { return nfnetlink_log_unbind_pf(log, 2); }), result);
    EXPECT_EQ(while_packets_come([&] { return nfnetlink_log_setmode(one, 2, 1); }),
              result < 0 ? -1 : 0);
    nfnetlink_log_group *two = while_packets_come([&] { return nfnetlink_log_bind_group(log, 2); });
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(log->groups, two);
    system.fail("recvfrom", ENOBUFS, 1);  // once the wait has ended
    EXPECT_EQ(while_packets_come([&] { return nfnetlink_log_unbind_group(two); }), 0);
    EXPECT_EQ(log->groups, one);
    EXPECT_TRUE(kernel.queue.empty());

    // Refused, as far as the kernel is concerned, and then not answered at all.
    kernel.acknowledge = false;
    kernel.deliver(datagram);
    kernel.deliver(error_message(-EBUSY, log->netlink->sequence + 1));
    EXPECT_EQ(error_of(nfnetlink_log_bind_group(log, 3)), EBUSY);
    EXPECT_EQ(while_packets_come(bind_pf), result);
    kernel.acknowledge = true;
  }
}

TEST_F(PacketLog, PacketsWithoutAHandlerFail) {
  nfnetlink_log_group *one = nfnetlink_log_bind_group(log, 1);
  EXPECT_EQ(error_of(dispatch(packet(2))), ENOENT);
  EXPECT_EQ(dispatch(packet(1)), -1);
  Seen seen;
  nfnetlink_log_register_handler(one, Seen::handler, &seen);
  EXPECT_EQ(dispatch(packet(1) + packet(0x0100)), -1);
  EXPECT_EQ(seen.calls, 1);
  nfnetlink_log_register_handler(one, nullptr, nullptr);
  EXPECT_EQ(dispatch(packet(1)), -1);

  const nfnetlink_handler direct = log->subsys->callbacks[0].handler;
  const Bytes bytes = packet(1);
  EXPECT_EQ(direct(nullptr, nullptr, log), -1);
  EXPECT_EQ(direct(reinterpret_cast<const nlmsghdr *>(bytes.data()), nullptr, nullptr), -1);
}

}  // namespace
}  // namespace talvera::test
