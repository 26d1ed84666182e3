// Datagrams of netlink messages and work files of traceroute with arbitrary content. Handlers read
// every byte that they get.
#include "fuzz/fuzz.h"

#include <cstdio>

#include "talvera/ipdiag.h"
#include "talvera/nfnetlink.h"

static int read_message(const nlmsghdr *message, const nlattr *const *attributes, void *data) {
  read_all(message, message->nlmsg_len);
  for (std::size_t i = 0; i < *static_cast<std::uint16_t *>(data); ++i)
    if (attributes[i] != nullptr) read_all(attributes[i], attributes[i]->nla_len);
  return static_cast<int>(message->nlmsg_seq & 3);  // 0 ends the dispatch
}

static int read_packet(nfnetlink_log_group *group, const nfgenmsg *header,
                       const nlattr *const *attributes, void *) {
  read_all(header, sizeof *header);
  for (unsigned type = 0; type < 20; ++type) {
    const void *payload = nfnetlink_log_nfa_get_ptr(attributes, type);
    if (payload == nullptr) continue;
    read_all(payload, static_cast<const nlattr *>(payload)[-1].nla_len - sizeof(nlattr));
  }
  return group->number == 1 ? 1 : -1;
}

static nfnetlink_log *opened_log() {
  static std::uint16_t table_sizes[] = {3, 100};
  static nfnetlink_log_group groups[2];
  nfnetlink_log *const log = nfnetlink_log_open();
  require(log != nullptr);
  groups[0] = {nullptr, log, 0x0100, read_packet, nullptr};
  groups[1] = {groups, log, 1, read_packet, nullptr};
  log->groups = &groups[1];
  nfnetlink_subsys *subsys = nfnetlink_subsys_open(log->netlink, 1, 2, 0);
  for (int i = 0; i < 2; ++i)
    subsys->callbacks[i] = {read_message, &table_sizes[i], table_sizes[i]};
  return log;
}

static void read_results(const Input &input) {
  for (const char *path : {"/tmp/fuzz-out", "/tmp/fuzz-err", "/tmp/fuzz-status"}) {
    FILE *file = std::fopen(path, "wb");
    std::fwrite(input.data, 1, input.size, file);
    std::fclose(file);
  }
  const std::unique_ptr<tr_hop[]> hops(new tr_hop[9]());
  std::int32_t value = 0;
  ipdiag_tr_formatout("fuzz", hops.get(), 9, &value);
  for (int i = 0; i < 9; ++i)
    for (const char *text : {hops[i].host, hops[i].address, hops[i].times})
      read_all(text, std::strlen(text));
  ipdiag_tr_resptime("fuzz", &value);
  ipdiag_tr_err("fuzz", &value);
}

FUZZ(input) {
  static nfnetlink_log *const log = opened_log();
  const auto datagram = block<std::uint8_t>(input.size);
  std::copy_n(input.data, input.size, datagram.get());
  nfnetlink_msg_unpack(log->netlink, datagram.get(), static_cast<int>(input.size));
  if (input.size > 0 && input.data[0] >= ' ') read_results(input);  // probably a text
}
