// Netfilter netlink: attribute tables, dispatch to handlers, waiting for an acknowledgement.
//
// Lengths are untrusted: each is checked against the remaining bytes before anything is read. The
// buffer may be unaligned, so headers are read with unaligned loads.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "net/exchange.h"
#include "talvera/nfnetlink.h"

namespace talvera::net {
namespace {

using Bytes = const unsigned char *;

constexpr int kHeaderSize = sizeof(nlmsghdr);
constexpr int kGeneralHeaderEnd = kHeaderSize + sizeof(nfgenmsg);
constexpr int kAttributeHeaderSize = sizeof(nlattr);
constexpr std::uint16_t kTypeMask = 0x7FFF;
constexpr std::size_t kReceiveSize = 8192;
constexpr std::uint16_t kStackAttributes = 64;
constexpr int kContinue = 1;

// Whether the remaining bytes hold the complete item, whose length includes its header.
bool is_complete(int remaining, std::uint32_t item_length, int header_size) {
  return item_length >= static_cast<std::uint32_t>(header_size) &&
         item_length <= static_cast<std::uint32_t>(remaining);
}

// Advances to the next item; false if the remaining bytes cannot hold its header. Padding after the
// last item is optional: without it, the size falls below 0.
bool advance(Bytes &at, int &size, std::uint32_t item_length, int header_size) {
  const std::uint32_t step = NLMSG_ALIGN(item_length);
  size = static_cast<int>(static_cast<std::uint32_t>(size) - step);
  if (size < header_size) return false;
  at += step;
  return true;
}

// Calls the handler, which may close the subsystem: `callback` is not used after the call.
int call_handler(const nfnetlink_callback &callback, Bytes message, std::uint32_t length) {
  // The attribute table is on the stack, except for callbacks with many attributes.
  const nlattr *stack_table[kStackAttributes];
  const nlattr **table = stack_table;
  const int count = callback.attribute_count;
  if (count > kStackAttributes) table = allocate<const nlattr *>(count).release();
  if (table == nullptr) return -1;
  const void *start = message;
  const void *attributes = message + kGeneralHeaderEnd;
  nfnetlink_msg_parse_attr(table, count, static_cast<const nlattr *>(attributes),
                           static_cast<int>(length) - kGeneralHeaderEnd);
  const int result = callback.handler(static_cast<const nlmsghdr *>(start), table, callback.data);
  if (table != stack_table) free_block(table);
  return result;
}

// Processes a complete message of `length` bytes. A control message gives 0 for an acknowledgement
// and 1 with errno set for an error reply; any other gives its handler's result, or 1 if its
// callback has no handler or no attributes. Returns -1 with errno set if the message is malformed,
// its type is unknown, or memory runs out.
int message_result(const nfnetlink_handle &handle, Bytes message, std::uint32_t length) {
  if (length < kGeneralHeaderEnd) return fail(EBADMSG);
  const unsigned kind = load_unaligned<std::uint16_t>(message + offsetof(nlmsghdr, nlmsg_type));
  const auto flags = load_unaligned<std::uint16_t>(message + offsetof(nlmsghdr, nlmsg_flags));
  if (kind == NLMSG_ERROR || (kind == NLMSG_DONE && (flags & NLM_F_MULTI) != 0)) {
    const auto error = load_unaligned<std::int32_t>(message + kHeaderSize);
    if (error == 0) return 0;
    fail(error < 0 ? static_cast<int>(0 - static_cast<unsigned>(error)) : EPROTO);
    return kContinue;
  }

  const unsigned id = kind >> 8;
  const unsigned type = kind & 0xFFU;
  if (id >= NFNETLINK_SUBSYSTEMS) return fail(EOPNOTSUPP);
  const nfnetlink_subsys &subsys = handle.subsystems[id];
  if (type >= subsys.callback_count) return fail(EOPNOTSUPP);
  const nfnetlink_callback &callback = subsys.callbacks[type];
  if (callback.attribute_count == 0 || callback.handler == nullptr) return kContinue;
  return call_handler(callback, message, length);
}

}  // namespace

int wait_for_reply(nfnetlink_handle &handle, int flags, WaitEnd &end) {
  union {
    nlmsghdr first;
    unsigned char bytes[kReceiveSize];
  } buffer;
  for (;;) {
    const int received = receive(handle, &buffer, sizeof buffer, flags);
    if (received < 0) {
      if (errno == EINTR) continue;
      end = WaitEnd::kReceiveFailure;
      return -1;
    }
    const bool whole = received >= kHeaderSize;
    const bool current = whole && buffer.first.nlmsg_seq == handle.sequence;
    if (whole && !current && buffer.first.nlmsg_seq != 0) {
      end = WaitEnd::kForeignSequence;
      return fail(EPROTO);
    }
    const bool reply = current && buffer.first.nlmsg_type == NLMSG_ERROR;
    const int result = nfnetlink_msg_unpack(&handle, &buffer, received);
    if (result >= kContinue && flags == 0) continue;
    end = reply ? WaitEnd::kReply : WaitEnd::kDispatch;
    return result;
  }
}

}  // namespace talvera::net

using namespace talvera::net;

extern "C" int nfnetlink_msg_parse_attr(const nlattr **table, int table_size, const nlattr *first,
                                        int length) {
  if (table == nullptr || table_size < 1 || first == nullptr) return talvera::fail(EINVAL);
  std::fill_n(table, table_size, nullptr);
  const auto *at = reinterpret_cast<Bytes>(first);
  while (length >= kAttributeHeaderSize) {
    const auto item_length = talvera::load_unaligned<std::uint16_t>(at + offsetof(nlattr, nla_len));
    if (!is_complete(length, item_length, kAttributeHeaderSize)) break;
    const int type =
        talvera::load_unaligned<std::uint16_t>(at + offsetof(nlattr, nla_type)) & kTypeMask;
    const void *start = at;
    if (type > 0 && type <= table_size) table[type - 1] = static_cast<const nlattr *>(start);
    if (!advance(at, length, item_length, kAttributeHeaderSize)) break;
  }
  return 0;
}

extern "C" int nfnetlink_msg_unpack(nfnetlink_handle *handle, const void *data, int length) {
  if (handle == nullptr || data == nullptr) {
    errno = EINVAL;
    return -1;
  }
  const auto *at = static_cast<Bytes>(data);
  int result = 0;
  while (length >= kHeaderSize) {
    const auto item_length =
        talvera::load_unaligned<std::uint32_t>(at + offsetof(nlmsghdr, nlmsg_len));
    if (!is_complete(length, item_length, kHeaderSize)) break;
    result = message_result(*handle, at, item_length);
    if (result < kContinue) break;
    if (!advance(at, length, item_length, kHeaderSize)) break;
  }
  return result;
}

extern "C" int nfnetlink_send_wait_ack(nfnetlink_handle *handle, const nlmsghdr *message) {
  WaitEnd end;
  return nfnetlink_send(handle, message) < 0 ? -1 : wait_for_reply(*handle, 0, end);
}
