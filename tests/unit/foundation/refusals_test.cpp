// The errno of every failure that the library itself finds, through all families but TLS.
#include <gtest/gtest.h>
#include <sys/shm.h>

#include <cstring>
#include <string>

#include "support/errors.h"
#include "support/temp_dir.h"
#include "talvera/args.h"
#include "talvera/ccert.h"
#include "talvera/encode.h"
#include "talvera/ipc_msgq.h"
#include "talvera/ipdiag.h"
#include "talvera/ipt.h"
#include "talvera/list.h"
#include "talvera/mfg.h"
#include "talvera/netu.h"
#include "talvera/nfnetlink.h"
#include "talvera/nvram.h"
#include "talvera/of.h"
#include "talvera/scan.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

struct Refusal {
  const char *call;
  int error;
  int expected;
};
#define REFUSAL(call, expected)     \
  Refusal {                         \
#call, error_of(call), expected \
  }

template <std::size_t Size>
void check(const Refusal (&refusals)[Size]) {
  for (const Refusal &refusal : refusals)
    EXPECT_EQ(refusal.error, refusal.expected) << refusal.call;
}

class Refusals : public ::testing::Test {
 protected:
  Refusals() { errno = 0; }
  char text[64] = "x";
};

TEST_F(Refusals, Lists) {
  list_obj list, open, other;
  for (list_obj *made : {&list, &open}) {
    list_init(made);
    list_append(made, text);
    list_append(made, text);
  }
  list_attributes_comparator(&open, list_comparator_string);
  list_iterator_start(&open);
  check({
      REFUSAL(list_init(nullptr), EINVAL),
      REFUSAL(list_attributes_comparator(nullptr, nullptr), EINVAL),
      REFUSAL(list_attributes_seeker(nullptr, nullptr), EINVAL),
      REFUSAL(list_attributes_copy(nullptr, nullptr, 0), EINVAL),
      REFUSAL(list_attributes_copy(&list, nullptr, 1), EINVAL),
      REFUSAL(list_attributes_hash_computer(nullptr, nullptr), EINVAL),
      REFUSAL(list_attributes_serializer(nullptr, nullptr), EINVAL),
      REFUSAL(list_attributes_unserializer(nullptr, nullptr), EINVAL),
      REFUSAL(list_insert_at(&list, text, 3), EINVAL),
      REFUSAL(list_insert_at(&open, text, 0), EBUSY),
      REFUSAL(list_append(&open, text), EBUSY),
      REFUSAL(list_prepend(&open, text), EBUSY),
      REFUSAL(list_delete_at(&list, 2), EINVAL),
      REFUSAL(list_delete_at(&open, 0), EBUSY),
      REFUSAL(list_delete_range(&list, 1, 0), EINVAL),
      REFUSAL(list_delete_range(&list, 0, 2), EINVAL),
      REFUSAL(list_delete_range(&open, 0, 0), EBUSY),
      REFUSAL(list_clear(&open), EBUSY),
      REFUSAL(list_sort(&list, 1), EINVAL),
      REFUSAL(list_sort(&open, 1), EBUSY),
      REFUSAL(list_concat(nullptr, &list, &other), EINVAL),
      REFUSAL(list_concat(&list, nullptr, &other), EINVAL),
      REFUSAL(list_concat(&list, &open, nullptr), EINVAL),
      REFUSAL(list_concat(&list, &open, &list), EINVAL),
      REFUSAL(list_concat(&list, &open, &open), EINVAL),
  });
  list_destroy(&list);
  list_destroy(&open);
}

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
  check({
      REFUSAL(nfnetlink_rebind(nullptr), EINVAL),
      REFUSAL(nfnetlink_subsys_open(nullptr, 0, 1, 0), EINVAL),
      REFUSAL(nfnetlink_subsys_open(&handle, 17, 1, 0), EINVAL),
      REFUSAL(nfnetlink_subsys_close(nullptr), EINVAL),
      REFUSAL(nfnetlink_close(nullptr), EINVAL),
      REFUSAL(nfnetlink_msg_pack(nullptr, text, 1), EINVAL),
      REFUSAL(nfnetlink_msg_pack(&message, nullptr, 1), EINVAL),
      REFUSAL(nfnetlink_send(nullptr, &message), EINVAL),
      REFUSAL(nfnetlink_send(&handle, nullptr), EINVAL),
      REFUSAL(nfnetlink_send_wait_ack(nullptr, &message), EINVAL),
      REFUSAL(nfnetlink_send_wait_ack(&handle, nullptr), EINVAL),
      REFUSAL(nfnetlink_receive(nullptr, text, 1), EINVAL),
      REFUSAL(nfnetlink_receive(&handle, nullptr, 1), EINVAL),
      REFUSAL(nfnetlink_msg_parse_attr(nullptr, 1, &attribute, 4), EINVAL),
      REFUSAL(nfnetlink_msg_parse_attr(table, 0, &attribute, 4), EINVAL),
      REFUSAL(nfnetlink_msg_parse_attr(table, 1, nullptr, 4), EINVAL),
      REFUSAL(nfnetlink_msg_unpack(nullptr, &message, 16), EINVAL),
      REFUSAL(nfnetlink_msg_unpack(&handle, nullptr, 16), EINVAL),
      REFUSAL(unpack(NLMSG_ERROR, 16), EBADMSG),
      REFUSAL(unpack(0, 16), EBADMSG),
      REFUSAL(unpack(17 << 8, 20), EOPNOTSUPP),
      REFUSAL(unpack(0, 20), EOPNOTSUPP),
      REFUSAL(nfnetlink_log_bind_pf(nullptr, 2), EINVAL),
      REFUSAL(nfnetlink_log_unbind_pf(nullptr, 2), EINVAL),
      REFUSAL(nfnetlink_log_bind_group(nullptr, 0), EINVAL),
      REFUSAL(nfnetlink_log_bind_group(&log, 0x10000), EBUSY),
      REFUSAL(nfnetlink_log_register_handler(nullptr, nullptr, nullptr), EINVAL),
      REFUSAL(nfnetlink_log_unbind_group(nullptr), EINVAL),
      REFUSAL(nfnetlink_log_setmode(nullptr, 1, 1), EINVAL),
      REFUSAL(netu_ifindex2name(1, nullptr), EINVAL),
  });
}

TEST_F(Refusals, TextsAndNumbers) {
  int low, high;
  long number;
  unsigned long natural;
  unsigned char bytes[8];
  unsigned int room = 4, decoded = 1;
  check({
      REFUSAL(ValidateUlong(text, &natural), EINVAL),
      REFUSAL(ValidateLong(text, &number), EINVAL),
      REFUSAL(str_to_port_range("2-1", &low, &high), ARGS_ERROR_RANGE),
      REFUSAL(strtol_range(&number, "1x", 0, 9), EINVAL),
      REFUSAL(strtol_range(&number, "10", 0, 9), ARGS_ERROR_RANGE),
      REFUSAL(base64_encode(bytes, 1, text, &room), ENOSPC),
      REFUSAL(base64_decode(nullptr, 4, bytes, &room), EINVAL),
      REFUSAL(base64_decode("", 0, nullptr, &room), EINVAL),
      REFUSAL(base64_decode("", 0, bytes, nullptr), EINVAL),
      REFUSAL(base64_decode("TWFu", 4, bytes, &decoded), ENOSPC),
      REFUSAL(base64_decode("TWE", 3, bytes, &room), EINVAL),
      REFUSAL(entities_hex_encode(text, 0, "a"), EINVAL),
      REFUSAL(entities_hex_encode(text, 8, nullptr), EINVAL),
      REFUSAL(entities_hex_encode(text, 1, ""), ENOSPC),
      REFUSAL(entities_hex_encode(text, 3, "abc"), ENOSPC),
      REFUSAL(entities_hex_encode_in_place(0, text), EINVAL),
      REFUSAL(ipt_calc_portrange("x", 1, text, sizeof text), EINVAL),
      REFUSAL(ipt_calc_portrange("1-2", 1, text, sizeof text), EINVAL),
      REFUSAL(ipt_calc_portrange("1:x", 2, text, sizeof text), EINVAL),
      REFUSAL(check_tcp_flags(nullptr), EINVAL),
      REFUSAL(check_tcp_flags("SYN"), EINVAL),
      REFUSAL(check_tcp_flags("SYN,SYN ACK"), EINVAL),
      REFUSAL(ipdiag_tr_makeparam(nullptr, "", 0, 0, 0, 0, 0, 0, 0, text, 0, 64), EINVAL),
  });
}

TEST_F(Refusals, FilesAndStores) {
  const TempDir dir;
  const std::string folder = dir.path();
  const std::string empty = dir.write("empty", "");
  filemap map;
  unsigned char byte = 0;
  unsigned char *block;
  unsigned int length;
  std::int32_t count;
  of_files_info *set = nullptr;
  of_files_info none = {1, 0, nullptr};
  of_file_info item = {};
  shmid_ds status;
  check({
      REFUSAL(filemap_open(empty.c_str(), &map, 0, 0), ENODATA),
      REFUSAL(uf_readall(folder.c_str(), "empty", &block, &length), ENODATA),
      REFUSAL(file_write_string(empty.c_str(), 1, 0, nullptr), EINVAL),
      REFUSAL(file_append_write("%s", nullptr, empty.c_str()), EINVAL),
      REFUSAL(file_create_write("%s", nullptr, empty.c_str()), EINVAL),
      REFUSAL(file_delete(empty.c_str()), ENOENT),
      REFUSAL(of_init_files_info(&set, nullptr, folder.c_str()), EINVAL),
      REFUSAL(of_set_order_for_item(&none, &item, 1), EINVAL),
      REFUSAL(ipdiag_tr_resptime(std::string(64, 'n').c_str(), &count), ENAMETOOLONG),
      REFUSAL(ipc_msgq_send(nullptr, text, 1), EINVAL),
      REFUSAL(ipc_msgq_receive(nullptr, text, 1), EINVAL),
      REFUSAL(nvram_init(nullptr, 1), EINVAL),
      REFUSAL(nvram_open(nullptr), EINVAL),
      REFUSAL(nvram_id(nullptr), EINVAL),
      REFUSAL(nvram_detach(nullptr), EINVAL),
      REFUSAL(nvram_exit(nullptr), EINVAL),
      REFUSAL(nvram_stat(&status), EINVAL),
      REFUSAL(nvram_lock(), EINVAL),
      REFUSAL(nvram_unlock(), EINVAL),
      REFUSAL(nvram_set(nullptr, text), EINVAL),
      REFUSAL(nvram_unset(nullptr), EINVAL),
      REFUSAL(mfg_wlcal_get(&byte, 1792, 1), EINVAL),
      REFUSAL(mfg_wlcal_set(&byte, 1793, 0), EINVAL),
      REFUSAL(mfg_ccert_get(nullptr), EIO),
      REFUSAL(mfg_ccert_set(nullptr), EIO),
      REFUSAL(ccert_get_data_from_index(0, &block, &length, nullptr, nullptr), EINVAL),
      REFUSAL(ccert_get_client_cert(&block, &length), ENOENT),
      REFUSAL(ccert_get_client_private_key(&block, &length), ENOENT),
      REFUSAL(MEAPCA_ExtractBareRSAKeyFromPKCS8(&block, &length), ENOSYS),
      REFUSAL(MEAPCA_convertKeyPEM(), ENOSYS),
      REFUSAL(MKEY_Decrypt(&byte, 1), ENOSYS),
  });
}

}  // namespace
}  // namespace talvera::test
