// Netlink handles and subsystems, packing of requests, and the way to and from the kernel.
#include "talvera/nfnetlink.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstring>

#include "support/descriptors.h"
#include "support/errors.h"
#include "unit/net/fixture.h"

namespace talvera::test {
namespace {

TEST(NetlinkOpen, BindsToAPortOfTheKernelsChoice) {
  const DescriptorCheck descriptors;
  SystemDouble system;
  NetlinkDouble kernel;
  system.set_time(0x12345678);
  nfnetlink_handle *handle = nfnetlink_open();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(system.calls(), Texts({"socket 16 3 12"}));
  ASSERT_EQ(kernel.bound.size(), 1U);
  EXPECT_EQ(kernel.bound[0].nl_family, AF_NETLINK);
  EXPECT_EQ(kernel.bound[0].nl_groups, 0U);
  EXPECT_EQ(handle->local.nl_pid, NetlinkDouble::kPortId);
  EXPECT_EQ(handle->peer.nl_family, AF_NETLINK);
  EXPECT_EQ(handle->sequence, 0x12345678U);
  EXPECT_EQ(nfnetlink_close(handle), 0);
}

TEST(NetlinkOpen, EveryFailureLeavesNothingBehind) {
  const DescriptorCheck descriptors;
  SystemDouble system;
  NetlinkDouble kernel;
  for (const char *call : {"calloc", "socket", "bind", "getsockname"}) {
    system.fail(call, EPERM);
    EXPECT_EQ(error_of(nfnetlink_open()), EPERM) << call;
  }
  for (const socklen_t size : {11U, 13U}) {
    kernel.address_size = size;
    EXPECT_EQ(error_of(nfnetlink_open()), EINVAL) << size;
  }
}

// Descriptor 0 counts as no socket: it is used, but never closed.
TEST(NetlinkOpen, DescriptorZeroStaysOpen) {
  SystemDouble system;
  NetlinkDouble kernel;
  const ClosedStandardInput closed;
  nfnetlink_handle *handle = nfnetlink_open();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->fd, 0);
  nfnetlink_close(handle);
  EXPECT_EQ(close(0), 0);
  system.fail("bind", EPERM);
  EXPECT_EQ(nfnetlink_open(), nullptr);
  EXPECT_EQ(close(0), 0);
}

using NetlinkSubsystems = NetlinkTest;

TEST_F(NetlinkSubsystems, TakeAndFreeSlots) {
  nfnetlink_subsys *slot = nfnetlink_subsys_open(handle, 0x104, 0x103, 0);
  ASSERT_EQ(slot, &handle->subsystems[4]);
  EXPECT_EQ(slot->handle, handle);
  EXPECT_EQ(slot->id, 4);
  EXPECT_EQ(slot->callback_count, 3);
  EXPECT_EQ(slot->callbacks[2].handler, nullptr);
  EXPECT_EQ(error_of(nfnetlink_subsys_open(handle, 4, 1, 0)), EBUSY);
  EXPECT_EQ(slot->callback_count, 3);
  EXPECT_EQ(nfnetlink_subsys_close(slot), 0);
  EXPECT_EQ(slot->callbacks, nullptr);
  EXPECT_EQ(slot->callback_count, 0);
  EXPECT_NE(nfnetlink_subsys_open(handle, 4, 1, 0), nullptr);

  EXPECT_NE(nfnetlink_subsys_open(handle, 16, 0, 0), nullptr);
  // In use with no callbacks, too.
  EXPECT_EQ(error_of(nfnetlink_subsys_open(handle, 16, 0, 0)), EBUSY);
}

TEST_F(NetlinkSubsystems, GroupsAreOnlyAdded) {
  const auto groups = [this] { return kernel.bound.back().nl_groups; };
  nfnetlink_subsys *first = nfnetlink_subsys_open(handle, 1, 1, 0x5);
  EXPECT_EQ(groups(), 0x5U);
  nfnetlink_subsys_open(handle, 16, 1, 0x80000002);
  EXPECT_EQ(groups(), 0x80000007U);
  nfnetlink_subsys_close(first);
  EXPECT_EQ(nfnetlink_rebind(handle), 0);
  EXPECT_EQ(groups(), 0x80000007U);
  EXPECT_EQ(kernel.bound.back().nl_pid, NetlinkDouble::kPortId);

  const std::size_t binds = kernel.bound.size();
  system.fail("bind", EPERM);
  EXPECT_EQ(error_of(nfnetlink_subsys_open(handle, 2, 1, 0x10)), EPERM);
  EXPECT_EQ(handle->local.nl_groups, 0x80000007U);
  EXPECT_EQ(handle->subsystems[2].callbacks, nullptr);
  EXPECT_EQ(nfnetlink_rebind(handle), 0);  // the failed subsystem wants nothing any more
  EXPECT_EQ(groups(), 0x80000007U);

  system.fail("calloc", ENOMEM);
  EXPECT_EQ(nfnetlink_subsys_open(handle, 2, 1, 0x10), nullptr);
  EXPECT_EQ(kernel.bound.size(), binds + 1);
}

TEST(NetlinkPack, AppendsOnFourByteBoundaries) {
  alignas(nlmsghdr) char buffer[40];
  std::memset(buffer, '#', sizeof buffer);
  auto *request = reinterpret_cast<nlmsghdr *>(buffer);
  request->nlmsg_len = 0;
  const auto length_with = [request](const void *data, unsigned size) {
    EXPECT_EQ(nfnetlink_msg_pack(request, data, size), 0);
    return request->nlmsg_len;
  };
  const nlmsghdr header = {16, 0x401, 5, 77, 0};
  EXPECT_EQ(length_with(&header, sizeof header), 16U);
  EXPECT_EQ(length_with("abcde", 5), 24U);
  EXPECT_EQ(length_with("WXYZ", 4), 28U);
  EXPECT_EQ(Bytes(buffer, sizeof buffer),
            u32(28) + u16(0x401) + u16(5) + u32(77) + u32(0) + "abcde###WXYZ############");

  // The first piece's own length field counts, not its size and not rounded.
  const nlmsghdr odd = {19, 0, 0, 0, 0};
  request->nlmsg_len = 0;
  EXPECT_EQ(length_with(&odd, sizeof odd), 19U);
  EXPECT_EQ(length_with("!", 1), 23U);
  EXPECT_EQ(buffer[19], '!');
  EXPECT_EQ(request->nlmsg_len, 23U);
}

using NetlinkTransfer = NetlinkTest;

TEST_F(NetlinkTransfer, SendsToTheKernel) {
  const Bytes bytes = message(0x401, "abcdef", 9);
  const auto *request = reinterpret_cast<const nlmsghdr *>(bytes.data());
  EXPECT_EQ(nfnetlink_send(handle, request), 22);
  EXPECT_EQ(kernel.sent, std::vector<Bytes>({bytes}));
  EXPECT_EQ(kernel.sent_to.nl_family, AF_NETLINK);
  EXPECT_EQ(kernel.sent_to.nl_pid, 0U);
  system.fail("sendto", ENOBUFS);
  EXPECT_EQ(nfnetlink_send(handle, request), -1);
  EXPECT_EQ(kernel.sent.size(), 1U);
}

TEST_F(NetlinkTransfer, ReceivesFromTheKernelAlone) {
  char buffer[8] = {};
  kernel.deliver("123456");
  kernel.deliver("forged", 1);
  kernel.deliver("too long for it");
  kernel.deliver("");
  EXPECT_EQ(nfnetlink_receive(handle, buffer, 7), 6);
  EXPECT_STREQ(buffer, "123456");
  EXPECT_EQ(error_of(nfnetlink_receive(handle, buffer, 7)), ENOMSG);
  EXPECT_EQ(nfnetlink_receive(handle, buffer, 7), 7);
  EXPECT_EQ(nfnetlink_receive(handle, buffer, 7), 0);
  EXPECT_EQ(error_of(nfnetlink_receive(handle, buffer, 7)), EAGAIN);
}

class NetlinkAcknowledgement : public NetlinkTest {
 protected:
  int send_wait_ack() {
    const Bytes bytes = message(0x401, "", handle->sequence);
    return nfnetlink_send_wait_ack(handle, reinterpret_cast<const nlmsghdr *>(bytes.data()));
  }
  // The same, with datagrams of the kernel to come.
  int result_of(const std::vector<Bytes> &datagrams) {
    for (const Bytes &datagram : datagrams)
      kernel.deliver(datagram);
    return send_wait_ack();
  }
  const Bytes acknowledged = error_message(0, handle->sequence);
};

TEST_F(NetlinkAcknowledgement, EndsTheWait) {
  EXPECT_EQ(result_of({acknowledged}), 0);
  EXPECT_EQ(result_of({error_message(0, 0)}), 0);
  EXPECT_EQ(kernel.sent.size(), 2U);

  system.fail("sendto", EPERM);
  EXPECT_EQ(result_of({acknowledged}), -1);
  EXPECT_EQ(kernel.queue.size(), 1U);
}

TEST_F(NetlinkAcknowledgement, SignalsInterruptNothing) {
  system.fail("recvfrom", EINTR, 0, 3);
  EXPECT_EQ(result_of({acknowledged}), 0);
  EXPECT_EQ(system.count("recvfrom"), 4);
  system.fail("recvfrom", ENOBUFS);
  EXPECT_EQ(error_of(send_wait_ack()), ENOBUFS);
  kernel.deliver(acknowledged, 77);  // not from the kernel
  errno = EINTR;
  EXPECT_EQ(result_of({acknowledged}), -1);
  EXPECT_EQ(kernel.queue.size(), 1U);
}

// A refusal is not told: whatever comes next ends the wait.
TEST_F(NetlinkAcknowledgement, ErrorsKeepTheWaitGoing) {
  const Bytes refused = error_message(-EPERM, handle->sequence);
  EXPECT_EQ(result_of({refused, error_message(EPERM, 0), acknowledged}), 0);
  EXPECT_EQ(error_of(result_of({refused})), EAGAIN);
}

TEST_F(NetlinkAcknowledgement, OfAnotherRequestFails) {
  EXPECT_EQ(error_of(result_of({error_message(0, handle->sequence - 1)})), EPROTO);
  // The first message of a datagram is the one that is asked.
  EXPECT_EQ(result_of({error_message(-1, handle->sequence) + error_message(0, 1)}), 0);
}

TEST_F(NetlinkAcknowledgement, OtherMessagesAreDispatchedMeanwhile) {
  Calls calls(*this, 3, 2, 4);
  calls.results = {5, 1, 0, -7};
  const Bytes packet = message(0x301, Bytes(4, '\0'), 0);
  EXPECT_EQ(result_of({packet + packet, acknowledged}), 0);
  EXPECT_EQ(calls.made.size(), 2U);
  EXPECT_EQ(result_of({packet}), 0);
  EXPECT_EQ(result_of({packet}), -7);
  EXPECT_EQ(result_of({message(0x305, Bytes(4, '\0'), 0)}), -1);
  // Without a first message there is nothing to go on from.
  for (const Bytes &datagram : {Bytes(), Bytes(15, '\1'), packet.substr(0, 19)})
    EXPECT_EQ(result_of({datagram}), 0) << datagram.size();

  // Datagrams may have 8192 bytes.
  EXPECT_EQ(result_of({message(0x301, Bytes(8192 - 16, '\0')), acknowledged}), 0);
  EXPECT_EQ(calls.made.size(), 5U);
}

}  // namespace
}  // namespace talvera::test
