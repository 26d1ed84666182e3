// Text from outside through every scanner, splitter and decoder, in blocks of just its size.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/line.h"
#include "talvera/netu.h"
#include "talvera/strutil.h"
#include "talvera/values.h"

namespace {

void scan(const Line &line, int option) {
  char *const s = line.get();
  unsigned long number;
  in_addr ip;
  ether_addr mac;
  char out[17];
  int low, high;
  line.check(getword(s, out, option % 16 + 1));
  line.check(getstring(s, out, option % 17, option));
  line.check(getnum(s, &number, option % 40));
  line.check(getip(s, &ip));
  line.check(get_mac(s, &mac));
  long signed_number;
  unsigned short short_number;
  line.check(gethex(s, &number));
  line.check(getlong(s, &signed_number));
  line.check(getint(s, &low));
  line.check(getushort(s, &short_number));
  line.check(getether(s, &mac));
  line.check(skip_nonblank(skip_blank(skip_nonspace(skip_space(s)))));
  isxstring(s);
  StringIsHexDigits(s);
  str_get_delim(s);
  str_to_port_range(s, &low, &high);
  atm_parse_vi(s, option % 21, &low, &high);
  unsigned char bytes[6];
  parse_macaddr(s, 0, 0, bytes);
}

void split(const std::uint8_t *data, std::size_t size, int option) {
  int count;
  char *words[ARGS_SLOTS + 1];
  str_to_args(Line(data, size).get(), &count, words);
  str_to_args_by_delim(Line(data, size).get(), ", ", &count, words);
  str_to_args_by_delim1(Line(data, size).get(), ",", &count, words, option % ARGS_SLOTS);
  const Line tokens(data, size);
  char *cursor = tokens.get();
  while (cursor != nullptr && token_extract(&cursor) != nullptr) {
  }
  unsigned long number;
  long signed_number;
  ValidateUlong(Line(data, size).get(), &number);
  ValidateLong(Line(data, size).get(), &signed_number);
}

// Texts that are looked for, joined and changed in place.
void edit(const std::uint8_t *data, std::size_t size, int option) {
  Lines lines(data, size);
  const Line text = lines.next();
  const Line other = lines.next();
  char *const s = text.get();
  if (const char *match = strmatch_lowercase(s, other.get())) text.check(match);
  if (const char *match = GN_StrNotInSet(s, other.get())) text.check(match);
  if (const char *match = GN_StrCharInSet(s, other.get())) text.check(match);
  const std::size_t length = std::strlen(s);
  const auto room = static_cast<int>(length) + option;
  const std::unique_ptr<char[]> joined(new char[room + 1]);
  std::memcpy(joined.get(), s, length + 1);
  str_ncat(joined.get(), other.get(), room);
  str_ncat(joined.get(), s, option);
  string_toupper(s);
  strip_trailing_white(s);
  entities_hex_encode_in_place(static_cast<unsigned>(std::strlen(s)) + 1, s);
}

void addresses(const Line &address, const Line &mask) {
  std::uint32_t result;
  unsigned char bytes[16];
  netu_calc_network(address.get(), mask.get(), &result);
  netu_calc_broadcast(address.get(), mask.get(), &result);
  netu_calc_subnet_prefix(mask.get());
  netu_is_empty_ip4addr(address.get());
  netu_atoipv6(address.get(), bytes);
  const std::unique_ptr<unsigned char[]> mac(new unsigned char[6]());
  const std::unique_ptr<char[]> text(new char[NETU_MAC_TEXT_SIZE]);
  netu_etoa(netu_atoe(address.get(), mac.get()), text.get());
}

// Values and their texts, in buffers of just the documented sizes.
void convert(const std::uint8_t *data, std::size_t size, int option) {
  Lines lines(data, size);
  const Line name = lines.next();
  const Line other = lines.next();
  const ust_entry entries[] = {{option, name.get()}, {0, ""}, {1, other.get()}};
  const ust_table table = {entries, 3};
  if (ust_lookup_index_by_name(&table, name.get()) < 0) std::abort();
  if (ust_lookup_index_by_name_i(&table, other.get()) < 0) std::abort();
  ust_longest_strlen(&table);

  long low = 0;
  long high = 0;
  strtol_range(&low, name.get(), -option, 1000000);
  strtol_range(&high, other.get(), 0, 70000);
  const std::unique_ptr<char[]> ports(new char[12]);
  range_to_portstr(ports.get(), static_cast<unsigned>(low), static_cast<unsigned>(high), option);
  const std::unique_ptr<char[]> shown(new char[64]);
  p_time(shown.get(), low);
  p_secs(shown.get(), static_cast<unsigned long>(low), high);

  char *slot = nullptr;
  mkstr_string(&slot, name.get());
  mkstr_string(&slot, slot + std::strlen(slot) / 2);  // a text that lies in the string
  mkstr_long(&slot, low);
  std::free(slot);

  const auto digits = static_cast<int>(std::min<std::size_t>(size * 2, option));
  const std::unique_ptr<char[]> hexadecimal(new char[digits + digits / 2 + 1]);
  hex_to_str_with_delim(data, hexadecimal.get(), ':', digits);
  const std::unique_ptr<char[]> filtered(new char[std::max(option, 1)]);
  strfilt(filtered.get(), name.get(), other.get(), option);
  strncasestr(name.get(), other.get(), option);
}

void encode(const std::uint8_t *data, std::size_t size, int option) {
  const std::unique_ptr<char[]> text(new char[size]);
  std::copy_n(data, size, text.get());
  auto length = static_cast<unsigned>(option);
  const std::unique_ptr<unsigned char[]> bytes(new unsigned char[length]);
  base64_decode(text.get(), static_cast<unsigned>(size), bytes.get(), &length);

  length = (static_cast<unsigned>(size) + 2) / 3 * 4 + 1;
  const std::unique_ptr<char[]> encoded(new char[length]);
  if (base64_encode(data, static_cast<unsigned>(size), encoded.get(), &length) != 0) std::abort();
  const std::unique_ptr<unsigned char[]> back(new unsigned char[size]);
  auto room = static_cast<unsigned>(size);
  if (base64_decode(encoded.get(), length, back.get(), &room) != 0 ||
      !std::equal(data, data + size, back.get())) {
    std::abort();
  }

  room = static_cast<unsigned>(option);
  const std::unique_ptr<char[]> out(new char[room]);
  entities_hex_encode(out.get(), room, Line(data, size).get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  const int option = *data++;
  --size;
  scan(Line(data, size), option);
  split(data, size, option);
  encode(data, size, option);
  convert(data, size, option);
  edit(data, size, option);
  Lines lines(data, size);
  const Line address = lines.next();
  addresses(address, lines.next());
  return 0;
}
