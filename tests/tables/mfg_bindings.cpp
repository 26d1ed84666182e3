// Bindings of the manufacturing data, the platform device and the client certificate blob.
#include <cstdlib>
#include <fstream>

#include "runner/bind.h"
#include "support/blob.h"
#include "talvera/ccert.h"
#include "talvera/mfg.h"

FIELDS(mfg_ccert_set_info, &R::data, &R::len, &R::slot);
FIELDS(mfg_ccert_get_info, &R::data, &R::len, &R::slot);

namespace talvera::test {
namespace {

constexpr std::size_t kFileSize = 0x20000, kRecord = kFileSize - 256;
constexpr std::size_t kSlots[] = {0, 0x1C000, 0x18000};

// ---- The flash partition and the driver ---------------------------------------------------------

void patch(Call &call, std::size_t offset, const std::string &bytes) {
  const std::string path = call.session().system.platform().flash_directory() + "/mfg.dat";
  std::string content = read_file(path);
  content.resize(std::max(content.size(), kFileSize), '\xFF');
  content.replace(offset, bytes.size(), bytes);
  std::ofstream(path, std::ios::binary) << content;
}
// flash 0x1C000 b"bytes": writes them to an otherwise erased manufacturing file.
DIRECTIVE(flash, [](Call &call, std::size_t offset) { patch(call, offset, call.take().bytes); });
// record b"bytes": writes an info record that begins with them and has a valid checksum.
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
// The content of the file.
DIRECTIVE(stored, [](Call &call) {
  return in_quotes(read_file(call.session().system.platform().flash_directory() + "/mfg.dat"),
                   true);
});
// Mounts the partition from outside the library.
DIRECTIVE(mount, [](Call &call) {
  call.session().system.platform().mount("mtd:mfg", "/mfg", "jffs2", 0);
});
DIRECTIVE(is_mounted, [](Call &call) { return call.session().system.platform().mounted(); });
// The driver's calibration and identity.
DIRECTIVE(give_driver, [](Call &call) {
  const std::string &bytes = call.take().bytes;
  call.session().system.platform().calibration.emplace(bytes.begin(), bytes.end());
});
DIRECTIVE(driver, [](Call &call) {
  const auto &held = call.session().system.platform().calibration;
  return held ? in_quotes(std::string(held->begin(), held->end()), true) : "nothing";
});
DIRECTIVE(identity, [](Call &call) {
  const auto &held = call.session().system.platform().identity;
  if (!held) return std::string("none");
  return std::to_string(held->device_type) + ' ' + in_quotes({held->serial, sizeof held->serial}) +
         ' ' + in_quotes({reinterpret_cast<const char *>(held->mac), 6}, true) + ' ' +
         std::to_string(held->mac_count);
});

// ---- The manufacturing file ---------------------------------------------------------------------

CONSTANTS(TVRA_WLCAL_SET);

BIND(mfg_init, mfg_info_read, mfg_info_write, mfg_get_macaddr, mfg_num_macaddr, mfg_wlcal_get,
     mfg_wlcal_set, mfg_wlcal_clear, tvra_open, tvra_close, tvra_ioctl);
// The serial number of the record as read.
BIND_AS(read_serial, [] {
  unsigned char record[MFG_INFO_SIZE];
  mfg_info_read(record);
  return std::string(reinterpret_cast<const char *>(record + MFG_INFO_SERIAL));
});
// The outcome of a write of any record.
BIND_AS(write_zeros, [] {
  unsigned char record[MFG_INFO_SIZE] = {};
  return mfg_info_write(record);
});

BIND(mfg_ccert_set);
BIND_AS(mfg_ccert_get, [](const mfg_ccert_get_info *info) {
  return mfg_ccert_get(const_cast<mfg_ccert_get_info *>(info));
});
// slot_get BUFFER LENGTH SLOT: the length is shown when it has changed.
BIND_AS(slot_get, [](unsigned char *data, std::uint32_t length, std::uint32_t slot) -> Result {
  std::uint32_t stored = length;
  mfg_ccert_get_info info = {data != nullptr ? &data : nullptr, &stored, slot};
  const int result = mfg_ccert_get(&info);
  return {result, stored != length ? std::to_string(stored) : ""};
});

// ---- The client certificate blob ----------------------------------------------------------------

BIND(ccert_location, ccert_get_location, ccert_init, ccert_deinit, ccert_get_data_count,
     ccert_extract_certblob_total_length, ccert_get_mac_address, ccert_get_cert_common_name,
     ccert_get_toc_item_from_index, ccert_get_data_from_toc_item, MEAPCA_ExtractBareRSAKeyFromPKCS8,
     MEAPCA_convertKeyPEM, MKEY_Decrypt);

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
// A copy of a blob, in a buffer of exactly its size, with fields changed: OFFSET VALUE.
GuardedBuffer &changed(Call &call, const unsigned char *blob) {
  GuardedBuffer &copy = call.memory(ccert_extract_certblob_total_length(blob), 1);
  std::memcpy(copy.data(), blob, copy.size());
  while (call.has_more()) {
    const auto offset = static_cast<std::size_t>(to_number(call, call.take()));
    put_field(copy.data(), offset, static_cast<std::uint32_t>(to_number(call, call.take())));
  }
  return copy;
}
BIND_AS(install, [](Call &call, unsigned slot, const unsigned char *blob) {
  const GuardedBuffer &copy = changed(call, blob);
  return ccert_install_cert_blob(reinterpret_cast<unsigned char *>(copy.data()), slot);
});
// Writes a blob to a slot and loads it: result, location, number of items.
Result load(Call &call, unsigned slot, const std::string &blob) {
  bypass([&] { patch(call, kSlots[slot], blob); });
  const int result = ccert_init();
  return {result,
          std::to_string(ccert_get_location()) + ' ' + std::to_string(ccert_get_data_count())};
}
BIND_AS(load, [](Call &call, unsigned slot, const unsigned char *blob) {
  return load(call, slot, changed(call, blob).content());
});
// Like load, but another blob replaces it between the reads of its size and content.
std::function<void()> rewrite;
BIND_AS(load_rewritten, [](Call &call, const unsigned char *blob, const unsigned char *after) {
  rewrite = [&, after] { patch(call, kSlots[1], changed(call, after).content()); };
  call.session().system.before("mount", [] { rewrite(); }).after(3);
  return load(call, 1, changed(call, blob).content());
});

BIND_AS(ccert_get_client_cert,
        [](OutBytes<false> &to) { return ccert_get_client_cert(&to.data, &to.length); });
BIND_AS(ccert_get_client_private_key,
        [](OutBytes<true> &to) { return ccert_get_client_private_key(&to.data, &to.length); });
BIND_AS(ccert_get_ccertblob, [](unsigned slot, OutBytes<true> &to) {
  return ccert_get_ccertblob(&to.length, &to.data, slot);
});
// The key of a blob with one item, and errno after success.
BIND_AS(key_of, [](Call &call, std::uint32_t type, std::uint32_t flags, OutBytes<true> &to) {
  bypass([&] { load(call, 1, make_blob({{call.take().bytes, type, flags}})); });
  errno = 0;
  const int result = ccert_get_client_private_key(&to.data, &to.length);
  const int error = errno;
  ccert_deinit();
  errno = error;
  return Result{result, result == 0 && error != 0 ? error_name(error) : ""};
});
// Access through the item must agree.
BIND_AS(ccert_get_data_from_index,
        [](unsigned index, OutBytes<false> &to, std::uint32_t *type,
           std::uint32_t *flags) -> Result {
          const int result = ccert_get_data_from_index(index, &to.data, &to.length, type, flags);
          const ccert_toc_item *const item = ccert_get_toc_item_from_index(index);
          const bool same = item == nullptr ||
                            (ccert_get_data_from_toc_item(item) == to.data &&
                             item->length == to.length && (type == nullptr || item->type == *type));
          return {result, same ? "" : "differs"};
        });

// The loaded blob that contains an item: header words and item data, whose offsets count from the
// header.
BIND_AS(copy_of, [](const ccert_toc_item *items) {
  const char *const start = reinterpret_cast<const char *>(items) - 12;
  std::uint32_t words[3];
  std::memcpy(words, start, sizeof words);
  std::string text = std::to_string(words[0]) + ' ' + std::to_string(words[2]);
  for (std::uint32_t i = 0; i < words[1]; ++i)
    text += ' ' + in_quotes({start + items[i].offset, items[i].length});
  return text;
});
BIND_AS(free_copy, [](ccert_toc_item *items) { std::free(reinterpret_cast<char *>(items) - 12); });

}  // namespace
}  // namespace talvera::test
