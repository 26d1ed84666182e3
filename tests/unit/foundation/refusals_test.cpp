// The errno of failures that the library itself finds, in families without tables of their own.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "support/errors.h"
#include "support/temp_dir.h"
#include "talvera/args.h"
#include "talvera/ccert.h"
#include "talvera/encode.h"
#include "talvera/ipc_msgq.h"
#include "talvera/ipdiag.h"
#include "talvera/ipt.h"
#include "talvera/mfg.h"
#include "talvera/scan.h"
#include "talvera/utils.h"

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

TEST_F(Refusals, TextsAndNumbers) {
  int low, high;
  long number;
  unsigned long natural;
  unsigned char bytes[8];
  unsigned int room = 4, decoded = 1;
  expect_errors(
      EINVAL, {ValidateUlong(text, &natural), ValidateLong(text, &number),
               strtol_range(&number, "1x", 0, 9), base64_decode(nullptr, 4, bytes, &room),
               base64_decode("", 0, nullptr, &room), base64_decode("", 0, bytes, nullptr),
               base64_decode("TWE", 3, bytes, &room), entities_hex_encode(text, 0, "a"),
               entities_hex_encode(nullptr, 4, "a"), entities_hex_encode(text, 8, nullptr),
               entities_hex_encode_in_place(0, text), ipt_calc_portrange("x", 1, text, sizeof text),
               ipt_calc_portrange("1-2", 1, text, sizeof text),
               ipt_calc_portrange("1:x", 2, text, sizeof text), check_tcp_flags(nullptr),
               check_tcp_flags("SYN"), check_tcp_flags("SYN,SYN ACK"),
               ipdiag_tr_makeparam(nullptr, "", 0, 0, 0, 0, 0, 0, 0, text, 0, 64)});
  expect_errors(ARGS_ERROR_RANGE,
                {str_to_port_range("2-1", &low, &high), strtol_range(&number, "10", 0, 9)});
  expect_errors(ENOSPC,
                {base64_encode(bytes, 1, text, &room), base64_decode("TWFu", 4, bytes, &decoded),
                 entities_hex_encode(text, 1, ""), entities_hex_encode(text, 3, "abc")});
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
  expect_errors(ENODATA, {filemap_open(empty.c_str(), &map, 0, 0),
                          uf_readall(folder.c_str(), "empty", &block, &length)});
  expect_errors(EINVAL, {file_write_string(empty.c_str(), 1, 0, nullptr),
                         file_append_write("%s", nullptr, empty.c_str()),
                         file_create_write("%s", nullptr, empty.c_str()),
                         ipc_msgq_send(nullptr, text, 1), ipc_msgq_receive(nullptr, text, 1),
                         mfg_wlcal_get(&byte, 1792, 1), mfg_wlcal_set(&byte, 1793, 0),
                         ccert_get_data_from_index(0, &block, &length, nullptr, nullptr)});
  expect_errors(ENOENT, {file_delete(empty.c_str()), ccert_get_client_cert(&block, &length),
                         ccert_get_client_private_key(&block, &length)});
  expect_errors(ENAMETOOLONG, {ipdiag_tr_resptime(std::string(64, 'n').c_str(), &count)});
  expect_errors(EIO, {mfg_ccert_get(nullptr), mfg_ccert_set(nullptr)});
  expect_errors(ENOSYS, {MEAPCA_ExtractBareRSAKeyFromPKCS8(&block, &length), MEAPCA_convertKeyPEM(),
                         MKEY_Decrypt(&byte, 1)});
}

}  // namespace
}  // namespace talvera::test
