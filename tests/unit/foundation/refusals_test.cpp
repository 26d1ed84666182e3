// The errno of failures that the library itself finds, where no table shows it.
#include <gtest/gtest.h>
#include <sys/shm.h>

#include <cstring>
#include <initializer_list>
#include <string>

#include "support/errors.h"
#include "support/temp_dir.h"
#include "talvera/ipdiag.h"
#include "talvera/ipt.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"
#include "talvera/nvram.h"
#include "talvera/of.h"

namespace talvera::test {
namespace {

// A call that gave -1 or null, by its error.
struct Refusal {
  template <typename Result>
  Refusal(Result result) : error(error_of(result)) {}
  int error;
};

void expect_errors(int expected, std::initializer_list<Refusal> refusals) {
  int number = 0;
  for (const Refusal &refusal : refusals)
    EXPECT_EQ(refusal.error, expected) << "call " << number++;
}

class Refusals : public ::testing::Test {
 protected:
  Refusals() { errno = 0; }
  char text[64] = "x";
};

TEST_F(Refusals, Netlink) {
  nfnetlink_handle handle{};
  nlmsghdr message = {sizeof message, 17 << 8, 0, 0, 0};
  nfnetlink_log_group group{};
  nfnetlink_log log = {&handle, nullptr, &group};
  const nlattr *table[1];
  const nlattr attribute{};
  const auto unpack = [&](unsigned type, unsigned size) {
    char datagram[20] = {};
    message = {size, static_cast<std::uint16_t>(type), 0, 0, 0};
    std::memcpy(datagram, &message, sizeof message);
    return nfnetlink_msg_unpack(&handle, datagram, static_cast<int>(size));
  };
  expect_errors(EINVAL, {nfnetlink_rebind(nullptr),
                         nfnetlink_subsys_open(nullptr, 0, 1, 0),
                         nfnetlink_subsys_open(&handle, 17, 1, 0),
                         nfnetlink_subsys_close(nullptr),
                         nfnetlink_close(nullptr),
                         nfnetlink_msg_pack(nullptr, text, 1),
                         nfnetlink_msg_pack(&message, nullptr, 1),
                         nfnetlink_send(nullptr, &message),
                         nfnetlink_send(&handle, nullptr),
                         nfnetlink_send_wait_ack(nullptr, &message),
                         nfnetlink_send_wait_ack(&handle, nullptr),
                         nfnetlink_receive(nullptr, text, 1),
                         nfnetlink_receive(&handle, nullptr, 1),
                         nfnetlink_msg_parse_attr(nullptr, 1, &attribute, 4),
                         nfnetlink_msg_parse_attr(table, 0, &attribute, 4),
                         nfnetlink_msg_parse_attr(table, 1, nullptr, 4),
                         nfnetlink_msg_unpack(nullptr, &message, 16),
                         nfnetlink_msg_unpack(&handle, nullptr, 16),
                         nfnetlink_log_bind_pf(nullptr, 2),
                         nfnetlink_log_unbind_pf(nullptr, 2),
                         nfnetlink_log_bind_group(nullptr, 0),
                         nfnetlink_log_register_handler(nullptr, nullptr, nullptr),
                         nfnetlink_log_unbind_group(nullptr),
                         nfnetlink_log_setmode(nullptr, 1, 1),
                         netu_ifindex2name(1, nullptr)});
  expect_errors(EBADMSG, {unpack(NLMSG_ERROR, 16), unpack(0, 16)});
  expect_errors(EOPNOTSUPP, {unpack(17 << 8, 20), unpack(0, 20)});
  expect_errors(EBUSY, {nfnetlink_log_bind_group(&log, 0x10000)});
}

TEST_F(Refusals, RulesAndTraceroute) {
  std::int32_t count;
  expect_errors(EINVAL, {ipt_calc_portrange("x", 1, text, sizeof text),
                         ipt_calc_portrange("1-2", 1, text, sizeof text),
                         ipt_calc_portrange("1:x", 2, text, sizeof text), check_tcp_flags(nullptr),
                         check_tcp_flags("SYN"), check_tcp_flags("SYN,SYN ACK"),
                         ipdiag_tr_makeparam(nullptr, "", 0, 0, 0, 0, 0, 0, 0, text, 0, 64)});
  expect_errors(ENAMETOOLONG, {ipdiag_tr_resptime(std::string(64, 'n').c_str(), &count)});
}

TEST_F(Refusals, FilesAndStores) {
  const TempDir dir;
  of_files_info *set = nullptr;
  of_files_info none = {1, 0, nullptr};
  of_file_info item = {};
  shmid_ds status;
  expect_errors(
      EINVAL, {of_init_files_info(&set, nullptr, dir.path().c_str()),
               of_set_order_for_item(&none, &item, 1), nvram_init(nullptr, 1), nvram_open(nullptr),
               nvram_id(nullptr), nvram_detach(nullptr), nvram_exit(nullptr), nvram_stat(&status),
               nvram_lock(), nvram_unlock(), nvram_set(nullptr, text), nvram_unset(nullptr)});
}

}  // namespace
}  // namespace talvera::test
