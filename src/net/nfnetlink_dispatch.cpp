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
constexpr std::uint16_t kUsualAttributes = 64;
constexpr int kContinue = 1;

// Whether the remaining bytes hold the complete item, whose length includes its header.
bool is_complete(int remaining, std::uint32_t item_length, int header_size) {
  return item_length >= static_cast<std::uint32_t>(header_size) &&
         item_length <= static_cast<std::uint32_t>(remaining);
}

// Advances to the next item; false at the end. Padding after the last item is optional.
bool advance(Bytes &at, int &size, std::uint32_t item_length) {
  const std::uint32_t step = NLMSG_ALIGN(item_length);
  if (step >= static_cast<std::uint32_t>(size)) return false;
  at += step;
  size -= static_cast<int>(step);
  return true;
}

// The header fields used for dispatch, read with unaligned loads.
struct Header {
  explicit Header(Bytes message)
      : length(load_unaligned<std::uint32_t>(message + offsetof(nlmsghdr, nlmsg_len))),
        type(load_unaligned<std::uint16_t>(message + offsetof(nlmsghdr, nlmsg_type))),
        flags(load_unaligned<std::uint16_t>(message + offsetof(nlmsghdr, nlmsg_flags))) {}

  std::uint32_t length;
  std::uint16_t type;
  std::uint16_t flags;
};

// The result of a control message: 0 for an acknowledgement.
int control_result(Bytes message, const Header &header) {
  if (header.length < kHeaderSize + sizeof(std::int32_t)) return fail(EBADMSG);
  const auto error = load_unaligned<std::int32_t>(message + kHeaderSize);
  if (error == 0) return 0;
  errno = error < 0 ? static_cast<int>(0 - static_cast<unsigned>(error)) : EPROTO;
  return kContinue;
}

int call_handler(const nfnetlink_callback &callback, const nlattr **table, Bytes message,
                 std::uint32_t length) {
  const void *start = message;
  const void *attributes = message + kGeneralHeaderEnd;
  nfnetlink_msg_parse_attr(table, callback.attribute_count, static_cast<const nlattr *>(attributes),
                           static_cast<int>(length) - kGeneralHeaderEnd);
  return callback.handler(static_cast<const nlmsghdr *>(start), table, callback.data);
}

int handle_message(const nfnetlink_handle &handle, Bytes message, const Header &header) {
  if (header.length < kGeneralHeaderEnd) return fail(EBADMSG);
  const unsigned id = header.type >> 8;
  if (id >= NFNETLINK_SUBSYSTEMS) return fail(EOPNOTSUPP);
  const nfnetlink_subsys &subsys = handle.subsystems[id];
  const unsigned type = header.type & 0xFFU;
  if (type >= subsys.callback_count) return fail(EOPNOTSUPP);

  // Copied because the handler may close the subsystem.
  const nfnetlink_callback callback = subsys.callbacks[type];
  if (callback.attribute_count == 0 || callback.handler == nullptr) return kContinue;
  // On the stack, except for subsystems with very many attributes.
  const nlattr *usual[kUsualAttributes];
  if (callback.attribute_count <= kUsualAttributes) {
    return call_handler(callback, usual, message, header.length);
  }
  const MallocPtr<const nlattr *> large = allocate<const nlattr *>(callback.attribute_count);
  return large != nullptr ? call_handler(callback, large.get(), message, header.length) : -1;
}

int message_result(const nfnetlink_handle &handle, Bytes message, const Header &header) {
  const bool ends_parts = header.type == NLMSG_DONE && (header.flags & NLM_F_MULTI) != 0;
  if (header.type == NLMSG_ERROR || ends_parts) return control_result(message, header);
  return handle_message(handle, message, header);
}

}  // namespace

int wait_for_answer(nfnetlink_handle &handle, int flags, WaitEnd &end) {
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
    const bool answer = current && buffer.first.nlmsg_type == NLMSG_ERROR;
    const int result = nfnetlink_msg_unpack(&handle, &buffer, received);
    if (result >= kContinue && flags == 0) continue;
    end = answer ? WaitEnd::kAnswer : WaitEnd::kDispatch;
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
    if (!advance(at, length, item_length)) break;
  }
  return 0;
}

extern "C" int nfnetlink_msg_unpack(nfnetlink_handle *handle, const void *data, int length) {
  if (handle == nullptr || data == nullptr) return talvera::fail(EINVAL);
  const auto *at = static_cast<Bytes>(data);
  int result = 0;
  while (length >= kHeaderSize) {
    const Header header(at);
    if (!is_complete(length, header.length, kHeaderSize)) break;
    result = message_result(*handle, at, header);
    if (result < kContinue) break;
    if (!advance(at, length, header.length)) break;
  }
  return result;
}

extern "C" int nfnetlink_send_wait_ack(nfnetlink_handle *handle, const nlmsghdr *message) {
  WaitEnd end;
  return nfnetlink_send(handle, message) < 0 ? -1 : wait_for_answer(*handle, 0, end);
}
