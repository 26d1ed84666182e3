// Datagrams of netlink messages, work files of traceroute and its options, with any content.
// Whatever a handler is given is read to its last byte.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "talvera/ipdiag.h"
#include "talvera/nfnetlink.h"

namespace {

volatile unsigned sum;

void read_all(const void *data, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i)
    sum = sum + static_cast<const unsigned char *>(data)[i];
}

int read_message(const nlmsghdr *message, const nlattr *const *attributes, void *data) {
  read_all(message, message->nlmsg_len);
  for (std::size_t i = 0; i < *static_cast<std::uint16_t *>(data); ++i) {
    if (attributes[i] != nullptr) read_all(attributes[i], attributes[i]->nla_len);
  }
  return static_cast<int>(message->nlmsg_seq & 3);  // 0 stops
}

int read_packet(nfnetlink_log_group *group, const nfgenmsg *header, const nlattr *const *attributes,
                void *) {
  read_all(header, sizeof *header);
  for (unsigned type = 0; type < 20; ++type) {
    const void *payload = nfnetlink_log_nfa_get_ptr(attributes, type);
    if (payload == nullptr) continue;
    read_all(payload, static_cast<const nlattr *>(payload)[-1].nla_len - sizeof(nlattr));
  }
  return group->number == 1 ? 1 : -1;
}

void dispatch(const std::uint8_t *data, std::size_t size) {
  static nfnetlink_log *const log = nfnetlink_log_open();
  static nfnetlink_log_group groups[] = {{nullptr, log, 0x0100, read_packet, nullptr},
                                         {groups, log, 1, read_packet, nullptr}};
  static std::uint16_t table_sizes[] = {3, 100};
  static bool prepared = false;
  if (log == nullptr) std::abort();
  if (!prepared) {
    prepared = true;
    log->groups = &groups[1];
    nfnetlink_subsys *subsys = nfnetlink_subsys_open(log->netlink, 1, 2, 0);
    for (int i = 0; i < 2; ++i)
      subsys->callbacks[i] = {read_message, &table_sizes[i], table_sizes[i]};
  }
  const std::vector<std::uint8_t> exact(data, data + size);
  nfnetlink_msg_unpack(log->netlink, exact.data(), static_cast<int>(size));
}

void read_results(const std::uint8_t *data, std::size_t size) {
  for (const char *path : {"/tmp/fuzz-out", "/tmp/fuzz-err", "/tmp/fuzz-status"}) {
    FILE *file = std::fopen(path, "wb");
    std::fwrite(data, 1, size, file);
    std::fclose(file);
  }
  std::vector<tr_hop> hops(9);
  std::int32_t value = 0;
  ipdiag_tr_formatout("fuzz", hops.data(), static_cast<std::int32_t>(hops.size()), &value);
  for (const tr_hop &hop : hops) {
    read_all(hop.host, std::strlen(hop.host));
    read_all(hop.address, std::strlen(hop.address));
    read_all(hop.times, std::strlen(hop.times));
  }
  ipdiag_tr_resptime("fuzz", &value);
  ipdiag_tr_err("fuzz", &value);
}

// Texts of the greatest lengths for which the buffer is documented to do.
void make_command(const std::uint8_t *data, std::size_t size) {
  const std::string host(data, data + std::min<std::size_t>(size, 255));
  const std::string interface = host.substr(0, 15);
  std::int32_t numbers[6] = {};
  std::memcpy(numbers, data, std::min(size, sizeof numbers));
  const std::unique_ptr<char[]> line(new char[1024]);
  ipdiag_tr_makeparam(host.c_str(), interface.c_str(), numbers[0], numbers[1], numbers[2],
                      numbers[3], static_cast<std::uint16_t>(numbers[4]), numbers[5], numbers[4],
                      line.get(), static_cast<std::uint16_t>(numbers[0]), 1024);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  dispatch(data, size);
  make_command(data, size);
  if (size > 0 && data[0] >= ' ') read_results(data, size);  // a text, perhaps
  return 0;
}
