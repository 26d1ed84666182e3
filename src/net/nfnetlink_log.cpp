// Netfilter packet log: configuration requests, bound groups, dispatch of packets to their group.
#include <arpa/inet.h>
#include <linux/netfilter/nfnetlink_log.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "net/exchange.h"
#include "talvera/nfnetlink.h"

namespace talvera::net {
namespace {

constexpr unsigned kMessageTypes = 2;  // packets, and configuration, which needs no callback

static_assert(sizeof(nfnetlink_log) == 3 * sizeof(void *));
static_assert(offsetof(nfnetlink_log_group, handler) == 3 * sizeof(void *));

// An attribute of a request, with up to 6 bytes of payload.
struct Attribute {
  nlattr header;
  std::uint8_t payload[6];
};

// The subject of a request: an address family or a group.
struct Subject {
  std::uint8_t family;
  std::uint16_t group;
};

// Reads the kernel's reply to the last request after packets have ended the wait for it. The kernel
// replies during the send call, so the reply is already queued after those packets; left there, its
// sequence number would make the next request fail with EPROTO. Returns 0 for an acknowledgement,
// -1 with errno set for an error reply, and kNoReply otherwise; preserves errno unless it returns
// -1.
constexpr int kNoReply = 1;
int queued_reply(nfnetlink_handle &netlink) {
  const int error = errno;
  // Bounded in case the reply is lost while packets keep coming.
  for (int tries = 4096; tries > 0; --tries) {
    WaitEnd end;
    const int result = wait_for_reply(netlink, MSG_DONTWAIT, end);
    if (end == WaitEnd::kReply) {
      if (result != 0) return -1;
      errno = error;
      return 0;
    }
    // A report of lost packets or a datagram from another sender may precede the reply.
    if (end == WaitEnd::kReceiveFailure && errno != ENOBUFS && errno != ENOMSG) break;
  }
  errno = error;
  return kNoReply;
}

// Which result counts when packets have ended the wait for an acknowledgement: that of the wait, or
// the kernel's reply.
enum class ResultFrom { kWait, kReply };

int configure(nfnetlink_handle &netlink, Subject subject, const Attribute &attribute,
              ResultFrom source) {
  const nlmsghdr header = {sizeof header, NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_CONFIG,
                           NLM_F_REQUEST | NLM_F_ACK, ++netlink.sequence, 0};
  const nfgenmsg general = {subject.family, NFNETLINK_V0, htons(subject.group)};
  struct {
    nlmsghdr header;
    std::uint8_t rest[16];
  } request{};
  if (nfnetlink_msg_pack(&request.header, &header, sizeof header) != 0 ||
      nfnetlink_msg_pack(&request.header, &general, sizeof general) != 0 ||
      nfnetlink_msg_pack(&request.header, &attribute, attribute.header.nla_len) != 0) {
    return -1;
  }
  if (nfnetlink_send(&netlink, &request.header) < 0) return -1;
  WaitEnd end;
  const int result = wait_for_reply(netlink, 0, end);
  if (end == WaitEnd::kReply || end == WaitEnd::kForeignSequence) return result;
  const int reply = queued_reply(netlink);
  return source == ResultFrom::kWait || reply == kNoReply ? result : reply;
}

int command(nfnetlink_log *log, std::uint8_t code, Subject subject, ResultFrom source) {
  if (log == nullptr) return fail(EINVAL);
  return configure(*log->netlink, subject, {{sizeof(nlattr) + 1, NFULA_CFG_CMD}, {code}}, source);
}

nfnetlink_log_group *find_group(const nfnetlink_log &log, std::uint16_t number) {
  nfnetlink_log_group *group = log.groups;
  while (group != nullptr && group->number != number)
    group = group->next;
  return group;
}

// Handler of packet messages: calls the group's handler.
int dispatch_packet(const nlmsghdr *message, const nlattr *const *attributes, void *data) {
  const auto *log = static_cast<const nfnetlink_log *>(data);
  if (message == nullptr || log == nullptr) return fail(EINVAL);
  const auto *header = reinterpret_cast<const nfgenmsg *>(message + 1);
  const auto *bytes = reinterpret_cast<const std::uint8_t *>(header);
  nfnetlink_log_group *group = find_group(*log, load_be16(bytes + offsetof(nfgenmsg, res_id)));
  if (group == nullptr || group->handler == nullptr) return fail(ENOENT);
  return group->handler(group, header, attributes, group->data);
}

}  // namespace
}  // namespace talvera::net

using namespace talvera::net;

extern "C" nfnetlink_log *nfnetlink_log_open() {
  nfnetlink_handle *netlink = nfnetlink_open();
  if (netlink == nullptr) return nullptr;
  nfnetlink_subsys *subsys = nfnetlink_subsys_open(netlink, NFNL_SUBSYS_ULOG, kMessageTypes, 0);
  auto *log = subsys != nullptr ? static_cast<nfnetlink_log *>(std::malloc(sizeof(nfnetlink_log)))
                                : nullptr;
  if (log == nullptr) {
    const talvera::ErrnoSaver saver;
    nfnetlink_close(netlink);
    return nullptr;
  }
  *log = {netlink, subsys, nullptr};
  subsys->callbacks[NFULNL_MSG_PACKET] = {dispatch_packet, log, NFNETLINK_LOG_ATTRIBUTES};
  return log;
}

extern "C" int nfnetlink_log_close(nfnetlink_log *log) {
  while (log->groups != nullptr) {
    const talvera::MallocPtr<nfnetlink_log_group> group(log->groups);
    log->groups = group->next;
  }
  nfnetlink_close(log->netlink);
  std::free(log);
  return 0;
}

extern "C" int nfnetlink_log_bind_pf(nfnetlink_log *log, unsigned int family) {
  return command(log, NFULNL_CFG_CMD_PF_BIND, {static_cast<std::uint8_t>(family), 0},
                 ResultFrom::kWait);
}

extern "C" int nfnetlink_log_unbind_pf(nfnetlink_log *log, unsigned int family) {
  return command(log, NFULNL_CFG_CMD_PF_UNBIND, {static_cast<std::uint8_t>(family), 0},
                 ResultFrom::kWait);
}

extern "C" nfnetlink_log_group *nfnetlink_log_bind_group(nfnetlink_log *log, unsigned int group) {
  const auto number = static_cast<std::uint16_t>(group);
  if (log == nullptr || find_group(*log, number) != nullptr) {
    errno = log == nullptr ? EINVAL : EBUSY;
    return nullptr;
  }
  talvera::MallocPtr<nfnetlink_log_group> node(
      static_cast<nfnetlink_log_group *>(std::calloc(1, sizeof(nfnetlink_log_group))));
  if (node == nullptr) return nullptr;
  node->log = log;
  node->number = number;
  if (command(log, NFULNL_CFG_CMD_BIND, {0, number}, ResultFrom::kReply) != 0) return nullptr;
  node->next = log->groups;
  log->groups = node.get();
  return node.release();
}

extern "C" int nfnetlink_log_register_handler(nfnetlink_log_group *group,
                                              nfnetlink_log_handler handler, void *data) {
  if (group == nullptr) return talvera::fail(EINVAL);
  group->handler = handler;
  group->data = data;
  return 0;
}

extern "C" int nfnetlink_log_unbind_group(nfnetlink_log_group *group) {
  if (group == nullptr) return talvera::fail(EINVAL);
  nfnetlink_log *log = group->log;
  if (command(log, NFULNL_CFG_CMD_UNBIND, {0, group->number}, ResultFrom::kReply) < 0) return -1;
  for (nfnetlink_log_group **link = &log->groups; *link != nullptr; link = &(*link)->next) {
    if (*link != group) continue;
    *link = group->next;
    std::free(group);
    break;
  }
  return 0;
}

extern "C" int nfnetlink_log_setmode(nfnetlink_log_group *group, unsigned int mode,
                                     std::uint32_t range) {
  if (group == nullptr) return talvera::fail(EINVAL);
  Attribute attribute = {{sizeof attribute, NFULA_CFG_MODE}, {}};
  talvera::store_be32(attribute.payload, range);
  attribute.payload[4] = static_cast<std::uint8_t>(mode);
  return configure(*group->log->netlink, {0, group->number}, attribute, ResultFrom::kWait) < 0 ? -1
                                                                                               : 0;
}

extern "C" const void *nfnetlink_log_nfa_get_ptr(const nlattr *const *attributes,
                                                 unsigned int type) {
  const auto number = static_cast<std::uint16_t>(type);
  if (attributes == nullptr || number == 0 || number > NFNETLINK_LOG_ATTRIBUTES) return nullptr;
  const nlattr *attribute = attributes[number - 1];
  return attribute != nullptr ? attribute + 1 : nullptr;
}
