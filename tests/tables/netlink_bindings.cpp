// Bindings of netlink and the packet log, with the kernel's double.
#include <unistd.h>

#include <deque>
#include <utility>

#include "runner/bind.h"
#include "support/netlink_double.h"
#include "support/system_calls.h"
#include "talvera/nfnetlink.h"

FIELDS(sockaddr_nl, &R::nl_family, &R::nl_pid, &R::nl_groups);
FIELDS(nfnetlink_handle, &R::local, &R::peer, &R::sequence);
FIELDS(nfnetlink_subsys, &R::id, &R::callback_count, &R::subscriptions);
FIELDS(nlmsghdr, &R::nlmsg_len, &R::nlmsg_type, &R::nlmsg_flags, &R::nlmsg_seq, &R::nlmsg_pid);
FIELDS(nlattr, &R::nla_len, &R::nla_type);

namespace talvera::test {
namespace {

// State of a group of rows and of its handlers.
struct Netlink {
  NetlinkDouble kernel;
  nfnetlink_handle *handle = nullptr;
  nfnetlink_log *log = nullptr;
  nfnetlink_subsys *subsys = nullptr;
  const char *dispatched = nullptr;  // start of the dispatched bytes
  std::deque<int> answers;           // results of the next handlers; then 1

  ~Netlink() {
    if (log != nullptr) {
      nfnetlink_log_close(log);
    } else if (handle != nullptr) {
      nfnetlink_close(handle);
    }
  }
  int answer() {
    if (answers.empty()) return 1;
    const int result = answers.front();
    answers.pop_front();
    return result;
  }
};

Netlink &netlink(Call &call) {
  return call.session().state<Netlink>();
}

// A record at a position in bytes.
template <typename Record>
std::string shown(Call &call, const char *bytes) {
  Record record;
  std::memcpy(&record, bytes, sizeof record);
  return show(call, record);
}

// ---- The kernel -------------------------------------------------------------------------------

DIRECTIVE(kernel, [](Call &call) { netlink(call); });
// Creates the kernel, and "$h" as a handle.
DIRECTIVE(netlink, [](Call &call) {
  Netlink &netlink = test::netlink(call);
  netlink.handle = nfnetlink_open();
  call.session().objects["h"] = {nullptr, reinterpret_cast<char *>(netlink.handle)};
});
// Enables (1) or disables (0) acknowledgements.
DIRECTIVE(acknowledge, [](Call &call, int on) { netlink(call).kernel.acknowledge = on != 0; });
DIRECTIVE(address_size,
          [](Call &call, unsigned size) { netlink(call).kernel.address_size = size; });
// arrives BYTES, arrives BYTES PORT: queues a datagram, by default from the kernel.
DIRECTIVE(arrives, [](Call &call) {
  const std::string bytes = call.take().bytes;
  const std::int64_t port_id = call.has_more() ? call.take().number : 0;
  netlink(call).kernel.queue.push_back({bytes, static_cast<std::uint32_t>(port_id)});
});
// The last sent message: its header, and for a configuration request also the general header,
// attribute header and payload.
DIRECTIVE(sent, [](Call &call) {
  std::vector<std::string> parts;
  for (const std::string &bytes : std::exchange(netlink(call).kernel.sent, {})) {
    parts.push_back(shown<nlmsghdr>(call, bytes.data()));
    if (bytes.size() < 24) continue;
    parts.push_back(in_quotes(bytes.substr(16, 4), true) + ' ' + shown<nlattr>(call, &bytes[20]) +
                    ' ' + in_quotes(bytes.substr(24), true));
  }
  return parts.empty() ? "nothing" : collapsed(parts, " ");
});
// The last bound address, and the fields of a handle.
DIRECTIVE(bound, [](Call &call) { return netlink(call).kernel.bound; });
DIRECTIVE(fields, [](nfnetlink_handle *handle) { return *handle; });

BIND(nfnetlink_open, nfnetlink_close, nfnetlink_rebind, nfnetlink_subsys_open,
     nfnetlink_subsys_close, nfnetlink_msg_pack, nfnetlink_msg_unpack, nfnetlink_send,
     nfnetlink_send_wait_ack, nfnetlink_receive);
DIRECTIVE(message, [](Call &call, const char *message, unsigned size) {
  return shown<nlmsghdr>(call, message) + ' ' + in_quotes({message + 16, size - 16});
});
// Sends a request with the handle's sequence number.
BIND_AS(send_wait_ack, [](nfnetlink_handle *handle) {
  const nlmsghdr request = {16, 0x401, 5, handle->sequence, 0};
  return nfnetlink_send_wait_ack(handle, &request);
});

// ---- Subsystems and dispatch --------------------------------------------------------------------

// The slots in use, with their indices.
DIRECTIVE(slots, [](Call &call, nfnetlink_handle *handle) {
  std::string text;
  for (int i = 0; i < NFNETLINK_SUBSYSTEMS; ++i) {
    if (handle->subsystems[i].callbacks == nullptr) continue;
    text += (text.empty() ? "" : " ") + std::to_string(i) + show(call, handle->subsystems[i]);
  }
  return text.empty() ? "none" : text;
});

// Shown as [handler OFFSET TYPE@OFFSET...], offsets of the message and its attributes.
int handler(const nlmsghdr *message, const nlattr *const *attributes, void *data) {
  auto &netlink = *static_cast<Netlink *>(data);
  const auto *start = reinterpret_cast<const char *>(message);
  std::string text =
      netlink.dispatched == nullptr ? "" : ' ' + std::to_string(start - netlink.dispatched);
  const std::size_t count = netlink.subsys->callbacks[1].attribute_count;
  for (std::size_t i = 0; i < count; ++i) {
    if (attributes[i] == nullptr) continue;
    text += ' ' + std::to_string(i + 1) + '@' +
            std::to_string(reinterpret_cast<const char *>(attributes[i]) - start);
  }
  record("handler%s", text.c_str());
  return netlink.answer();
}
int closing_handler(const nlmsghdr *, const nlattr *const *, void *data) {
  return nfnetlink_subsys_close(static_cast<Netlink *>(data)->subsys) + 1;
}
SYMBOLS(handler, closing_handler);

// subsystem ID CALLBACKS opens one, "$s". callback TYPE HANDLER ATTRIBUTES registers a callback.
DIRECTIVE(subsystem, [](Call &call, unsigned id, unsigned callbacks) {
  netlink(call).subsys = nfnetlink_subsys_open(netlink(call).handle, id, callbacks, 0);
  call.session().objects["s"] = {nullptr, reinterpret_cast<char *>(netlink(call).subsys)};
});
DIRECTIVE(callback,
          [](Call &call, unsigned type, nfnetlink_handler function, std::uint16_t attributes) {
            call.session().traced.insert("handler");
            netlink(call).subsys->callbacks[type] = {function, &netlink(call), attributes};
          });
// Sets the results of the next handlers.
DIRECTIVE(answers, [](Call &call) {
  while (call.has_more())
    netlink(call).answers.push_back(static_cast<int>(call.take().number));
});
// unpack BYTES, unpack BYTES LENGTH: dispatches exactly these bytes.
BIND_AS(unpack, [](Call &call) {
  Netlink &netlink = test::netlink(call);
  int length;
  {
    const Bypass guard;
    const std::string &bytes = call.take().bytes;
    const GuardedBuffer &memory = call.memory(bytes.size(), 1);
    bytes.copy(memory.data(), bytes.size());
    netlink.dispatched = memory.data();
    length = static_cast<int>(call.has_more() ? call.take().number
                                              : static_cast<std::int64_t>(bytes.size()));
  }
  const int result = nfnetlink_msg_unpack(netlink.handle, netlink.dispatched, length);
  netlink.dispatched = nullptr;
  return result;
});
BIND_AS(parse_attr, [](const nlattr **table, int size, const char *first, int length) {
  return nfnetlink_msg_parse_attr(table, size, reinterpret_cast<const nlattr *>(first), length);
});

// ---- The packet log -----------------------------------------------------------------------------

BIND(nfnetlink_log_open, nfnetlink_log_bind_pf, nfnetlink_log_unbind_pf, nfnetlink_log_bind_group,
     nfnetlink_log_unbind_group, nfnetlink_log_setmode, nfnetlink_log_register_handler);
BIND_AS(nfnetlink_log_close, [](Call &call, nfnetlink_log *log) {
  netlink(call).log = nullptr;
  netlink(call).handle = nullptr;
  return nfnetlink_log_close(log);
});
// Creates a kernel that acknowledges, "$log" as a handle and "$h" as that of its socket; the first
// request is 1001.
DIRECTIVE(log, [](Call &call) {
  Netlink &netlink = test::netlink(call);
  call.session().system.time = 1000;
  netlink.kernel.acknowledge = true;
  netlink.log = nfnetlink_log_open();
  netlink.handle = netlink.log->netlink;
  call.session().objects["log"] = {nullptr, reinterpret_cast<char *>(netlink.log)};
  call.session().objects["h"] = {nullptr, reinterpret_cast<char *>(netlink.handle)};
});
// The numbers of the bound groups, newest first.
DIRECTIVE(groups, [](nfnetlink_log *log) {
  std::string text;
  for (const nfnetlink_log_group *group = log->groups; group != nullptr; group = group->next)
    text +=
        (text.empty() ? "" : " ") + std::to_string(group->number) + (group->log == log ? "" : "?");
  return text.empty() ? "none" : text;
});
// Shown as [packet GROUP OFFSET TEXT...]: offset of the general header, payloads of types 1, 17,
// 65537 and 0, 2, 18, 65536.
int packet_handler(nfnetlink_log_group *group, const nfgenmsg *header,
                   const nlattr *const *attributes, void *data) {
  auto &netlink = *static_cast<Netlink *>(data);
  std::string text = "packet " + std::to_string(group->number);
  if (netlink.dispatched != nullptr)
    text += ' ' + std::to_string(reinterpret_cast<const char *>(header) - netlink.dispatched);
  for (const unsigned type : {1U, 17U, 65537U, 0U, 2U, 18U, 65536U}) {
    const void *const payload = nfnetlink_log_nfa_get_ptr(attributes, type);
    text += payload == nullptr ? " -" : ' ' + std::string(static_cast<const char *>(payload));
  }
  record("%s", text.c_str());
  return netlink.answer();
}
DIRECTIVE(listen, [](Call &call, nfnetlink_log_group *group) {
  call.session().traced.insert("packet");
  nfnetlink_log_register_handler(group, packet_handler, &netlink(call));
});
BIND_AS(unbind_stranger, [](nfnetlink_log *log, unsigned number) {
  nfnetlink_log_group stranger = {log->groups, log, static_cast<std::uint16_t>(number), nullptr,
                                  nullptr};
  return nfnetlink_log_unbind_group(&stranger);
});
BIND_AS(nfnetlink_log_nfa_get_ptr,
        [](unsigned type) { return nfnetlink_log_nfa_get_ptr(nullptr, type); });

}  // namespace
}  // namespace talvera::test
