// Bindings of the manufacturing store, the platform device and the client certificate blob.
#include <fcntl.h>

#include <cstdlib>

#include "runner/bind.h"
#include "support/blob.h"
#include "talvera/ccert.h"
#include "talvera/mfg.h"

namespace talvera::test {

template <>
inline constexpr auto kFields<mfg_ccert_set_info> = std::tuple(&mfg_ccert_set_info::data,
                                                               &mfg_ccert_set_info::len,
                                                               &mfg_ccert_set_info::slot);

namespace {

constexpr std::size_t kFileSize = 0x20000, kRecord = kFileSize - 256;
constexpr std::size_t kSlots[] = {0, 0x1C000, 0x18000};

// ---- The flash partition and the driver ---------------------------------------------------------

void patch(Call &call, std::size_t offset, const std::string &bytes) {
  const std::string path = call.session().system.platform().flash_directory() + "/mfg.dat";
  std::string content = read_file(path);
  content.resize(std::max(content.size(), kFileSize), '\xFF');
  content.replace(offset, bytes.size(), bytes);
  std::FILE *const file = std::fopen(path.c_str(), "wb");
  std::fwrite(content.data(), 1, content.size(), file);
  std::fclose(file);
}
// flash 0x1C000 b"bytes": puts them into the factory file, which is erased elsewhere.
DIRECTIVE(flash, [](Call &call, std::size_t offset) { patch(call, offset, call.take().bytes); });
// record b"bytes": an info record that begins with them, its checksum right.
DIRECTIVE(record, [](Call &call) {
  std::string record = call.take().bytes;
  record.resize(256);
  unsigned sum = 0;
  for (std::size_t i = 0; i < record.size(); ++i)
    sum += static_cast<unsigned char>(record[i]) * (i % 2 == 0 ? 256U : 1U);
  record[254] = static_cast<char>(-sum >> 8);
  record[255] = static_cast<char>(-sum);
  patch(call, kRecord, record);
});
// All of the file.
DIRECTIVE(stored, [](Call &call) {
  return quoted(read_file(call.session().system.platform().flash_directory() + "/mfg.dat"), true);
});
// Somebody else mounts the partition.
DIRECTIVE(mount, [](Call &call) {
  call.session().system.platform().mount("mtd:mfg", "/mfg", "jffs2", 0);
});
DIRECTIVE(is_mounted, [](Call &call) { return call.session().system.platform().mounted(); });
// What the driver has: calibration and identity.
DIRECTIVE(give_driver, [](Call &call) {
  const std::string &bytes = call.take().bytes;
  call.session().system.platform().calibration.emplace(bytes.begin(), bytes.end());
});
DIRECTIVE(driver, [](Call &call) {
  const auto &held = call.session().system.platform().calibration;
  return held ? quoted(std::string(held->begin(), held->end()), true) : "nothing";
});
DIRECTIVE(identity, [](Call &call) {
  const auto &held = call.session().system.platform().identity;
  if (!held) return std::string("none");
  return std::to_string(held->device_type) + ' ' + quoted({held->serial, sizeof held->serial}) +
         ' ' + quoted({reinterpret_cast<const char *>(held->mac), 6}, true) + ' ' +
         std::to_string(held->mac_count);
});

// ---- The manufacturing file ---------------------------------------------------------------------

CONSTANTS(TVRA_WLCAL_SET);

BIND(mfg_init, mfg_info_read, mfg_info_write, mfg_get_macaddr, mfg_num_macaddr, mfg_wlcal_get,
     mfg_wlcal_set, mfg_wlcal_clear, tvra_close, tvra_ioctl);
// Of the record as it is read.
BIND_AS(read_serial, [] {
  unsigned char record[MFG_INFO_SIZE];
  mfg_info_read(record);
  return std::string(reinterpret_cast<const char *>(record + MFG_INFO_SERIAL));
});
// For the outcome of a write, whatever the record.
BIND_AS(write_zeros, [] {
  unsigned char record[MFG_INFO_SIZE] = {};
  return mfg_info_write(record);
});
BIND_AS(tvra_open, [](Call &call) -> std::string {
  const int fd = tvra_open();
  if (fd < 0) {
    call.failed();
    return std::to_string(fd);
  }
  const int mode = fcntl(fd, F_GETFL);
  return std::string(tvra_open() == fd ? "" : "another ") +
         ((mode & O_ACCMODE) == O_RDWR ? "read-write" : "") +
         ((mode & O_NONBLOCK) != 0 ? " non-blocking" : "") +
         (fcntl(fd, F_GETFD) == FD_CLOEXEC ? " closed on exec" : "");
});

BIND(mfg_ccert_set);
BIND_AS(mfg_ccert_get, [](unsigned char *data, std::uint32_t *length, std::uint32_t slot) {
  mfg_ccert_get_info info = {data != nullptr ? &data : nullptr, length, slot};
  return mfg_ccert_get(&info);
});
// With an address that holds none; without a record.
BIND_AS(mfg_ccert_get_nowhere, [](std::uint32_t *length, std::uint32_t slot) {
  unsigned char *nowhere = nullptr;
  mfg_ccert_get_info info = {&nowhere, length, slot};
  return mfg_ccert_get(&info);
});
BIND_AS(mfg_ccert_get_null, [] { return mfg_ccert_get(nullptr); });

// ---- The client certificate blob ----------------------------------------------------------------

BIND(ccert_location, ccert_get_location, ccert_init, ccert_deinit, ccert_get_data_count,
     ccert_extract_certblob_total_length, ccert_get_mac_address, ccert_get_cert_common_name,
     MEAPCA_ExtractBareRSAKeyFromPKCS8, MEAPCA_convertKeyPEM, MKEY_Decrypt);

// blob name (b"data" TYPE FLAGS)...: "$name" is a blob of these items.
DIRECTIVE(blob, [](Call &call, const std::string &name) {
  std::vector<BlobItem> items;
  while (call.has_more()) {
    const std::vector<Value> &fields = call.take().fields;
    items.push_back({fields.at(0).bytes, static_cast<std::uint32_t>(fields.at(1).number),
                     static_cast<std::uint32_t>(fields.at(2).number)});
  }
  const std::string blob = make_blob(items);
  blob.copy(call.session().object(name, blob.size(), 1, false).data, blob.size());
});
// A copy of a blob, in memory of its size, with the fields changed that the row lists: OFFSET
// VALUE.
Guarded &changed(Call &call, const unsigned char *blob) {
  Guarded &copy = call.memory(ccert_extract_certblob_total_length(blob), 1);
  std::memcpy(copy.data(), blob, copy.size());
  while (call.has_more()) {
    const auto offset = static_cast<std::size_t>(to_number(call, call.take()));
    put_field(copy.data(), offset, static_cast<std::uint32_t>(to_number(call, call.take())));
  }
  return copy;
}
BIND_AS(install, [](Call &call, unsigned slot, const unsigned char *blob) {
  const Guarded &copy = changed(call, blob);
  return ccert_install_cert_blob(reinterpret_cast<unsigned char *>(copy.data()), slot);
});
// Puts it into a slot and loads it: result, location, number of items.
std::string load(Call &call, unsigned slot, const std::string &blob) {
  {
    const Quiet quiet;
    patch(call, kSlots[slot], blob);
  }
  const int result = ccert_init();
  if (result != 0) call.failed();
  return std::to_string(result) + ' ' + std::to_string(ccert_get_location()) + ' ' +
         std::to_string(ccert_get_data_count());
}
BIND_AS(load, [](Call &call, unsigned slot, const unsigned char *blob) {
  return load(call, slot, changed(call, blob).content());
});
// As load, but another blob takes its place after its size is known, before it is read.
std::function<void()> rewrite;
BIND_AS(load_rewritten, [](Call &call, const unsigned char *blob, const unsigned char *after) {
  rewrite = [&, after] { patch(call, kSlots[1], changed(call, after).content()); };
  call.session().system.before(
      "mount", [] { rewrite(); }, 3);
  return load(call, 1, changed(call, blob).content());
});

std::string shown(const unsigned char *data, std::uint32_t length) {
  if (data == nullptr) return "null " + std::to_string(length);
  return quoted({reinterpret_cast<const char *>(data), length});
}
unsigned char *const kNowhere = reinterpret_cast<unsigned char *>(1);
// Data, type, flags, and the offset in the copy.
BIND_AS(ccert_get_data_from_index, [](Call &call, unsigned index) -> std::string {
  unsigned char *data = nullptr, *again = nullptr;
  std::uint32_t length = 99, type = 99, flags = 99;
  const int result = ccert_get_data_from_index(index, &data, &length, &type, &flags);
  const ccert_toc_item *const item = ccert_get_toc_item_from_index(index);
  if (result != 0) {
    call.failed();
    const bool none = item == nullptr && ccert_get_data_from_toc_item(item) == nullptr;
    return std::to_string(result) + ' ' + shown(data, length) + (none ? "" : " an item");
  }
  const std::string text = shown(data, length) + ' ' + std::to_string(type) + ' ' +
                           std::to_string(flags) + ' ' + std::to_string(item->offset);
  const bool same = item->length == length && item->type == type && item->flags == flags &&
                    ccert_get_data_from_toc_item(item) == data &&
                    ccert_get_data_from_index(index, &again, &length, nullptr, nullptr) == 0 &&
                    again == data;
  return same ? text : text + ", differs";
});
// The words before the table of contents, from which offsets count.
BIND_AS(copy_header, [] {
  const ccert_toc_item *const item = ccert_get_toc_item_from_index(0);
  std::uint32_t words[3];
  std::memcpy(words, ccert_get_data_from_toc_item(item) - item->offset, sizeof words);
  const bool follows = reinterpret_cast<const unsigned char *>(item) + item->offset - 12 ==
                       ccert_get_data_from_toc_item(item);
  return std::to_string(words[0]) + ' ' + std::to_string(words[1]) + ' ' +
         std::to_string(words[2]) + (follows ? "" : ", no table behind it");
});
BIND_AS(ccert_get_client_cert, [](Call &call) {
  unsigned char *data = kNowhere;
  std::uint32_t length = 99;
  const int result = ccert_get_client_cert(&data, &length);
  if (result != 0) call.failed();
  return std::to_string(result) + ' ' + shown(data, length);
});
BIND_AS(ccert_get_client_private_key, [](Call &call) {
  unsigned char *key = kNowhere;
  std::uint32_t length = 99;
  const int result = ccert_get_client_private_key(&key, &length);
  const int error = errno;
  if (result != 0) call.failed();
  std::string text = std::to_string(result) + ' ' + shown(key, length);
  std::free(key);
  errno = error;
  return text;
});
BIND_AS(ccert_get_ccertblob, [](Call &call, unsigned slot) {
  unsigned char *blob = nullptr;
  std::uint32_t length = 99;
  const int result = ccert_get_ccertblob(&length, &blob, slot);
  const int error = errno;
  if (result != 0) call.failed();
  std::string text = std::to_string(result) + ' ' +
                     (blob != nullptr ? quoted({reinterpret_cast<char *>(blob), length}, true)
                                      : shown(blob, length));
  std::free(blob);
  errno = error;
  return text;
});
// Addresses in the copy stay good when another one takes its place, which by design does not
// release it. What the first item of the old copy holds then; releases it.
BIND_AS(replace_by, [](Call &call, const unsigned char *blob) {
  unsigned char *data = nullptr;
  std::uint32_t length = 0;
  const unsigned count = ccert_get_data_count();
  if (ccert_get_data_from_index(0, &data, &length, nullptr, nullptr) != 0)
    return std::string("none");
  std::string text = load(call, 1, changed(call, blob).content());
  text += ", old " + shown(data, length);
  std::free(data - (12 + 16 * count));
  return text;
});

}  // namespace
}  // namespace talvera::test
