// Netfilter netlink: attribute tables, dispatch to handlers, and the wait for an acknowledgement.
//
// Lengths come from outside. Each is compared with what is left before anything behind it is read,
// and headers are copied out of the buffer, whose alignment may be any.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

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
constexpr int kGoOn = 1;

// Whether the bytes that are left hold a whole item that begins with its length, at least its
// header's.
bool holds(int left, std::uint32_t item_length, int header_size) {
  return item_length >= static_cast<std::uint32_t>(header_size) &&
         item_length <= static_cast<std::uint32_t>(left);
}

// Goes on to the item after one of `item_length` bytes, if there are bytes left. The last item need
// not be followed by those that align its end.
bool advance(Bytes &at, int &size, std::uint32_t item_length) {
  const std::uint32_t step = NLMSG_ALIGN(item_length);
  if (step >= static_cast<std::uint32_t>(size)) return false;
  at += step;
  size -= static_cast<int>(step);
  return true;
}

// An attribute table on the stack, or on the heap for the few subsystems with very many attributes.
class AttributeTable {
 public:
  explicit AttributeTable(std::uint16_t size) : size_(size) {
    if (size > kUsualSize)
      large_.reset(static_cast<const nlattr **>(std::malloc(size * sizeof(void *))));
  }
  [[nodiscard]] const nlattr **get() { return size_ > kUsualSize ? large_.get() : usual_; }
  [[nodiscard]] int size() const { return size_; }

 private:
  static constexpr std::uint16_t kUsualSize = 64;
  std::uint16_t size_;
  const nlattr *usual_[kUsualSize];
  MallocPtr<const nlattr *> large_;
};

// A message of control type: whether the kernel acknowledged.
int control_result(Bytes message, const nlmsghdr &header) {
  if (header.nlmsg_len < kHeaderSize + sizeof(std::int32_t)) return fail(EBADMSG);
  const auto error = load_unaligned<std::int32_t>(message + kHeaderSize);
  if (error == 0) return 0;
  errno = error < 0 ? static_cast<int>(0 - static_cast<unsigned>(error)) : EPROTO;
  return kGoOn;
}

int handle_message(const nfnetlink_handle &handle, Bytes message, const nlmsghdr &header) {
  if (header.nlmsg_len < kGeneralHeaderEnd) return fail(EBADMSG);
  const unsigned id = header.nlmsg_type >> 8;
  if (id >= NFNETLINK_SUBSYSTEMS) return fail(EOPNOTSUPP);
  const nfnetlink_subsys &subsys = handle.subsystems[id];
  const unsigned type = header.nlmsg_type & 0xFFU;
  if (type >= subsys.callback_count) return fail(EOPNOTSUPP);

  // A copy: the handler may close the subsystem.
  const nfnetlink_callback callback = subsys.callbacks[type];
  if (callback.attribute_count == 0 || callback.handler == nullptr) return kGoOn;
  AttributeTable table(callback.attribute_count);
  if (table.get() == nullptr) return -1;
  const void *attributes = message + kGeneralHeaderEnd;
  nfnetlink_msg_parse_attr(table.get(), table.size(), static_cast<const nlattr *>(attributes),
                           static_cast<int>(header.nlmsg_len) - kGeneralHeaderEnd);
  const void *start = message;
  return callback.handler(static_cast<const nlmsghdr *>(start), table.get(), callback.data);
}

int message_result(const nfnetlink_handle &handle, Bytes message, const nlmsghdr &header) {
  const bool ends_parts =
      header.nlmsg_type == NLMSG_DONE && (header.nlmsg_flags & NLM_F_MULTI) != 0;
  if (header.nlmsg_type == NLMSG_ERROR || ends_parts) return control_result(message, header);
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
    if (result >= kGoOn && flags == 0) continue;
    end = answer ? WaitEnd::kAnswer : WaitEnd::kDispatch;
    return result;
  }
}

}  // namespace talvera::net

using namespace talvera;

extern "C" int nfnetlink_msg_parse_attr(const nlattr **table, int table_size, const nlattr *first,
                                        int length) {
  if (table == nullptr || table_size < 1 || first == nullptr) return fail(EINVAL);
  std::fill_n(table, table_size, nullptr);
  const auto *at = reinterpret_cast<net::Bytes>(first);
  while (length >= net::kAttributeHeaderSize) {
    const auto attribute = load_unaligned<nlattr>(at);
    if (!net::holds(length, attribute.nla_len, net::kAttributeHeaderSize)) break;
    const int type = attribute.nla_type & net::kTypeMask;
    const void *start = at;
    if (type > 0 && type <= table_size) table[type - 1] = static_cast<const nlattr *>(start);
    if (!net::advance(at, length, attribute.nla_len)) break;
  }
  return 0;
}

extern "C" int nfnetlink_msg_unpack(nfnetlink_handle *handle, const void *buffer, int length) {
  if (handle == nullptr || buffer == nullptr) return fail(EINVAL);
  const auto *at = static_cast<net::Bytes>(buffer);
  int result = 0;
  while (length >= net::kHeaderSize) {
    const auto header = load_unaligned<nlmsghdr>(at);
    if (!net::holds(length, header.nlmsg_len, net::kHeaderSize)) break;
    result = net::message_result(*handle, at, header);
    if (result < net::kGoOn) break;
    if (!net::advance(at, length, header.nlmsg_len)) break;
  }
  return result;
}

extern "C" int nfnetlink_send_wait_ack(nfnetlink_handle *handle, const nlmsghdr *message) {
  net::WaitEnd end;
  return nfnetlink_send(handle, message) < 0 ? -1 : net::wait_for_answer(*handle, 0, end);
}
