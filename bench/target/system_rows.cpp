// Firewall rules, netlink, addresses, and operations on files and sockets, for which a baseline
// makes the same system calls, because only the program's own instructions count.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <sys/mount.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rows.h"
#include "talvera/ccert.h"
#include "talvera/ipc_msgq.h"
#include "talvera/ipdiag.h"
#include "talvera/ipt.h"
#include "talvera/mfg.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"
#include "talvera/of.h"
#include "talvera/utils.h"

// The manufacturing file is in an ordinary folder.
extern "C" int mount(const char *, const char *, const char *, unsigned long,
                     const void *) noexcept {
  return 0;
}
extern "C" int umount2(const char *, int) noexcept {
  return 0;
}

namespace rows {
namespace {

// ---- Firewall rules, vs. one snprintf that composes the same line -------------------------

ipt_rule *dnat_rule() {
  ipt_rule *rule = ipt_rule_init();
  rule->table = IPT_TABLE_NAT;
  rule->chain = IPT_CHAIN_PREROUTING;
  rule->command = IPT_COMMAND_APPEND;
  ipt_rule_add_param(rule, IPT_PARAM_PROTOCOL, 0, strdup("tcp"), IPT_OPTION_DPORT, strdup("80"));
  ipt_rule_add_param(rule, IPT_PARAM_DESTINATION, 0, strdup("10.0.0.1"), IPT_OPTION_NONE, nullptr);
  ipt_rule_add_match(rule, IPT_MATCH_STATE, 0, IPT_OPTION_STATE, strdup("NEW,ESTABLISHED,RELATED"));
  rule->target = IPT_TARGET_DNAT;
  rule->target_argument = strdup("192.168.1.2:80");
  return rule;
}

ipt_rule *rule;

void render() {
  char line[IPT_LINE_SIZE];
  check(ipt_make_rule_string(rule, line) == 0);
  keep(line);
}

const char *volatile texts[] = {
    "nat",  "A",    "PREROUTING",    "p",     "tcp",     "--dport",
    "80",   "d",    "10.0.0.1",      "state", "--state", "NEW,ESTABLISHED,RELATED",
    "DNAT", "--to", "192.168.1.2:80"};

void snprintf_rule() {
  char line[IPT_LINE_SIZE];
  std::snprintf(line, sizeof line,
                "iptables -t %s -%s %s %s -%s %s %s %s -%s %s -m %s %s %s -j %s %s %s", texts[0],
                texts[1], texts[2], "", texts[3], texts[4], texts[5], texts[6], texts[7], texts[8],
                texts[9], texts[10], texts[11], texts[12], texts[13], texts[14]);
  keep(line);
}

// ---- Netlink, vs. a bare walk of the same messages ----------------------------------------

constexpr int kMessages = 64;
constexpr std::uint16_t kAttributes[][2] = {
    {NFULA_PACKET_HDR, 4}, {NFULA_PREFIX, 5},     {NFULA_IFINDEX_OUTDEV, 4}, {NFULA_UID, 4},
    {NFULA_GID, 4},        {NFULA_TIMESTAMP, 16}, {NFULA_PAYLOAD, 100}};
alignas(4) char messages[kMessages * 256];
int messages_size;
nfnetlink_handle netlink;
unsigned byte_sum;

void make_messages() {
  for (int i = 0; i < kMessages; ++i) {
    auto *header = reinterpret_cast<nlmsghdr *>(messages + messages_size);
    header->nlmsg_type = NFNL_SUBSYS_ULOG << 8 | NFULNL_MSG_PACKET;
    int length = sizeof(nlmsghdr) + sizeof(nfgenmsg);
    for (const auto &[type, size] : kAttributes) {
      const nlattr attribute = {static_cast<std::uint16_t>(sizeof attribute + size), type};
      std::memcpy(messages + messages_size + length, &attribute, sizeof attribute);
      length += NLA_ALIGN(attribute.nla_len);
    }
    header->nlmsg_len = static_cast<std::uint32_t>(length);
    messages_size += length;
  }
}

int add_first_byte(const nlmsghdr *, const nlattr *const *attributes, void *) {
  byte_sum += *reinterpret_cast<const unsigned char *>(attributes[NFULA_PAYLOAD - 1] + 1);
  return 1;
}

nfnetlink_callback callback = {add_first_byte, nullptr, NFNETLINK_LOG_ATTRIBUTES};

void dispatch() {
  check(nfnetlink_msg_unpack(&netlink, messages, messages_size) == 1);
}

void bare_walk() {
  const auto *message = reinterpret_cast<const nlmsghdr *>(messages);
  int left = messages_size;
  for (; NLMSG_OK(message, static_cast<unsigned>(left)); message = NLMSG_NEXT(message, left)) {
    const nlattr *table[NFNETLINK_LOG_ATTRIBUTES] = {};
    const char *at = reinterpret_cast<const char *>(message + 1) + sizeof(nfgenmsg);
    int rest = static_cast<int>(NLMSG_PAYLOAD(message, sizeof(nfgenmsg)));
    while (rest >= NLA_HDRLEN) {
      const auto *attribute = reinterpret_cast<const nlattr *>(at);
      if (attribute->nla_len < NLA_HDRLEN || attribute->nla_len > rest) break;
      const int type = attribute->nla_type & NLA_TYPE_MASK;
      if (type > 0 && type <= NFNETLINK_LOG_ATTRIBUTES) table[type - 1] = attribute;
      at += NLA_ALIGN(attribute->nla_len);
      rest -= NLA_ALIGN(attribute->nla_len);
    }
    keep(table);
    byte_sum += *reinterpret_cast<const unsigned char *>(table[NFULA_PAYLOAD - 1] + 1);
  }
}

// ---- Addresses -------------------------------------------------------------------------------

void calculate_network() {
  std::uint32_t result;
  check(netu_calc_network("192.168.1.77", "255.255.255.0", &result) == 0);
  keep(result);
}

void inet_pton_of_both() {
  std::uint32_t address;
  std::uint32_t mask;
  check(inet_pton(AF_INET, "192.168.1.77", &address) == 1 &&
        inet_pton(AF_INET, "255.255.255.0", &mask) == 1);
  const std::uint32_t result = address & mask;
  keep(result);
}

constexpr unsigned char kMac[6] = {0x02, 0x5A, 0x31, 0x00, 0x12, 0xFF};

void mac_text() {
  char text[NETU_MAC_TEXT_SIZE];
  netu_etoa(kMac, text);
  keep(text);
}

void snprintf_mac() {
  char text[NETU_MAC_TEXT_SIZE];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", kMac[0], kMac[1], kMac[2],
                kMac[3], kMac[4], kMac[5]);
  keep(text);
}

constexpr int kHops = 30;
constexpr char kHopFile[] = "/tmp/talvera-bench-out";

void format_hops() {
  static tr_hop hops[kHops + 1];
  std::int32_t count = 0;
  std::memset(hops, 0, sizeof hops);
  check(ipdiag_tr_formatout("talvera-bench", hops, kHops + 1, &count) == 0 && count == kHops);
}

// Reads the lines and splits them into words without examining any.
void cut_hops() {
  FILE *file = std::fopen(kHopFile, "r");
  char line[512];
  while (std::fgets(line, sizeof line, file) != nullptr) {
    char *rest;
    for (char *word = strtok_r(line, ")( ", &rest); word != nullptr;
         word = strtok_r(nullptr, ")( ", &rest))
      keep(*word);
  }
  std::fclose(file);
}

// ---- Manufacturing file and certificate blob, vs. bare accesses ---------------------------

constexpr char kMfgFile[] = "/mfg/mfg.dat";
constexpr long kMfgSize = 131072;
constexpr long kSlot2 = 0x18000;
constexpr unsigned char kBlob[] = {0x0E, 0x0C, 0x0A, 0x08, 2, 4, 6, 7, 0, 0, 0x03, 0x94,
                                   0,    0,    0,    1,    0, 0, 0, 0, 0, 0, 0,    0,
                                   0,    0,    0x03, 0x70, 0, 0, 0, 2, 0, 0, 0,    0};
constexpr std::size_t kBlobSize = sizeof kBlob + 880;

void read_at(long offset, void *buffer, std::size_t size) {
  const int fd = open(kMfgFile, O_RDONLY);
  lseek(fd, offset, SEEK_SET);
  check(read(fd, buffer, size) == static_cast<ssize_t>(size));
  close(fd);
}

void read_info() {
  unsigned char record[MFG_INFO_SIZE];
  check(mfg_info_read(record) == 0);
  keep(record);
}

// Including the checksum, which determines whether the record is valid.
void bare_read_info() {
  unsigned char record[MFG_INFO_SIZE];
  mount("mtd:mfg", "/mfg", "jffs2", MS_RDONLY, nullptr);
  read_at(kMfgSize - MFG_INFO_SIZE, record, sizeof record);
  umount2("/mfg", MNT_DETACH);
  std::uint16_t sum = 0;
  for (unsigned i = 0; i < MFG_INFO_SIZE; i += 2)
    sum = static_cast<std::uint16_t>(sum + (record[i] << 8 | record[i + 1]));
  check(sum == 0);
}

void load_blob() {
  check(ccert_init() == 0 && ccert_get_data_count() == 1);
  ccert_deinit();
}

// The same accesses, copies and erasures.
void bare_load_blob() {
  unsigned char length[4];
  read_at(kSlot2 + 8, length, sizeof length);
  read_at(kSlot2 + 8, length, sizeof length);
  auto *blob = static_cast<unsigned char *>(std::malloc(kBlobSize));
  read_at(kSlot2, blob, kBlobSize);
  auto *copy = static_cast<unsigned char *>(std::malloc(kBlobSize));
  std::memcpy(copy, blob, kBlobSize);
  std::memset(blob, 0, kBlobSize);
  keep(*blob);
  std::free(blob);
  std::memset(copy, 0, kBlobSize);
  keep(*copy);
  std::free(copy);
}

// ---- The database of ordered files, vs. scanf and printf ----------------------------------

constexpr int kPhotos = 50;
constexpr char kFolder[] = "/tmp/talvera-bench";
constexpr char kDatabase[] = "order.db";
constexpr char kDatabasePath[] = "/tmp/talvera-bench/order.db";
of_files_info *photos;

int is_photo(const char *name) {
  return std::strcmp(name, kDatabase) != 0 ? 1 : 0;
}

void write_database() {
  check(of_serialize(photos, kFolder, kDatabase) == 0);
}

void fprintf_database() {
  FILE *file = std::fopen(kDatabasePath, "w+");
  std::fprintf(file, "#%d:%d\n", photos->version, photos->count);
  for (int i = 0; i < photos->count; ++i) {
    const of_file_info &item = photos->items[i];
    std::fprintf(file, "%d:%d:%x:%s\n", item.order, item.enable, item.flags, item.name);
  }
  check(std::fclose(file) == 0);
}

void read_database() {
  of_files_info *set;
  check(of_deserialize(&set, is_photo, kFolder, kDatabase, 0) == 0 && set->count == kPhotos);
  of_free_files_info(&set);
}

void fscanf_database() {
  FILE *file = std::fopen(kDatabasePath, "r");
  int version;
  int count;
  check(std::fscanf(file, "#%d:%d", &version, &count) == 2);
  auto *items = static_cast<of_file_info *>(std::malloc(count * sizeof(of_file_info)));
  for (int i = 0; i < count; ++i) {
    of_file_info &item = items[i];
    check(std::fscanf(file, "%d:%d:%x:%31s", &item.order, &item.enable, &item.flags, item.name) ==
          4);
  }
  std::free(items);
  std::fclose(file);
}

void sync_database() {
  check(of_sync_dbfile(is_photo, kFolder, kDatabase) == 0);
}

void list_and_rewrite() {
  dirent **list = nullptr;
  const int count = uf_get_dirent_list(kFolder, &list);
  uf_free_dirent_list(&list, count);
  fscanf_database();
  fprintf_database();
}

// ---- Queues, vs. the same system calls ----------------------------------------------------

ipc_msgq *receiver;
ipc_msgq *sender;

void pass_message() {
  char buffer[128] = {};
  check(ipc_msgq_send(sender, buffer, 64) == 0);
  check(ipc_msgq_receive(receiver, buffer, sizeof buffer) == 64);
}

void bare_pass_message() {
  char buffer[128] = {};
  const auto *address = reinterpret_cast<const sockaddr *>(&sender->address);
  check(sendto(sender->fd, buffer, 64, 0, address, sizeof(sockaddr_un)) == 64);
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(receiver->fd, &readable);
  check(select(receiver->fd + 1, &readable, nullptr, nullptr, nullptr) == 1);
  sockaddr_un from;
  socklen_t length = sizeof from;
  check(recvfrom(receiver->fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from),
                 &length) == 64);
}

constexpr Row kRows[] = {
    {"rule with DNAT, vs. one snprintf", render, snprintf_rule},
    {"dispatch of 64 netlink messages, vs. a bare walk", dispatch, bare_walk},
    {"netu_calc_network, vs. inet_pton", calculate_network, inet_pton_of_both},
    {"netu_etoa, vs. snprintf", mac_text, snprintf_mac},
    {"traceroute of 30 hops, vs. fgets and strtok_r", format_hops, cut_hops},
    {"mfg_info_read, vs. bare accesses and the sum", read_info, bare_read_info},
    {"ccert_init and ccert_deinit, vs. bare accesses", load_blob, bare_load_blob},
    {"of_serialize of 50 files, vs. fprintf", write_database, fprintf_database},
    {"of_deserialize of 50 files, vs. fscanf", read_database, fscanf_database},
    {"of_sync_dbfile of 50 files, vs. scandir, fscanf, fprintf", sync_database, list_and_rewrite},
    {"queue message sent and received, vs. bare calls", pass_message, bare_pass_message},
};

void write_file(const char *path, const char *text) {
  FILE *file = std::fopen(path, "w");
  check(file != nullptr && std::fputs(text, file) >= 0 && std::fclose(file) == 0);
}

void make_mfg_file() {
  FILE *file = std::fopen(kMfgFile, "wb");
  check(file != nullptr);
  for (long i = 0; i < kMfgSize; ++i)
    std::fputc(0xFF, file);
  std::fseek(file, kSlot2, SEEK_SET);
  std::fwrite(kBlob, 1, sizeof kBlob, file);
  std::fclose(file);
  unsigned char record[MFG_INFO_SIZE];
  check(mfg_info_read(record) == 0 && mfg_info_write(record) == 0);
}

void make_photos() {
  mkdir(kFolder, 0700);
  for (int i = 0; i < kPhotos; ++i) {
    char path[64];
    std::snprintf(path, sizeof path, "%s/photo%d.jpg", kFolder, 100000 + i);
    write_file(path, "");
  }
  check(of_init_files_info(&photos, is_photo, kFolder) == 0);
  write_database();
}

}  // namespace

const std::span<const Row> kSystem = kRows;

void prepare_system() {
  rule = dnat_rule();
  make_messages();
  netlink.subsystems[NFNL_SUBSYS_ULOG] = {&netlink, 0, NFNL_SUBSYS_ULOG, 1, &callback};
  FILE *hops = std::fopen(kHopFile, "w");
  std::fputs("traceroute to far.example (198.51.100.2), 30 hops max, 60 byte packets\n", hops);
  for (int i = 1; i <= kHops; ++i)
    std::fprintf(hops, "%2d  hop%d.example (192.0.2.%d)  0.512 ms  0.400 ms  0.380 ms\n", i, i, i);
  std::fclose(hops);
  make_mfg_file();
  make_photos();
  receiver = ipc_msgq_createByName("/tmp/talvera-bench-queue");
  sender = ipc_msgq_GetByName("/tmp/talvera-bench-queue");
  check(receiver != nullptr && sender != nullptr);
}

}  // namespace rows
