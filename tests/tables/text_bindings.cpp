// Bindings of the text functions.
#include "runner/addresses.h"
#include "talvera/args.h"
#include "talvera/encode.h"
#include "talvera/scan.h"
#include "talvera/strutil.h"
#include "talvera/values.h"

namespace talvera::test {
namespace {

BIND(strfilt, str_cat, strcatdest, str_ncat, strncatdest, str_nfill, strnfilldest, string_toupper,
     put_str, hex, GN_HexToString, hex_to_str_with_delim, hex_to_str, strncasestr, strnstr_nocase,
     strmatch_lowercase, GN_StrNotInSet, GN_StrCharInSet);
BIND(skip_space, skip_blank, skipwhitespace, skip_nonspace, skip_nonblank, skipnonwhitespace,
     getword, get_word, getstring, get_string, strip_trailing_white, getnum, get_number, gethex,
     get_hex, getlong, get_long, getint, get_int, getushort, get_ushort, ValidateUlong,
     ValidateLong, getip, get_ip, get_mac, getether, isxstring, StringIsHexDigits);
BIND_AS(getword_in_place, [](char *s, int size) { return in_quotes(getword(s, s, size)); });
BIND(base64_encode, base64_decode, entities_hex_encode, entities_hex_encode_in_place,
     parse_macaddr);
BIND(str_get_delim, str_to_port_range, strtol_range, range_to_portstr, atm_parse_vi);
BIND(str_to_args, str_to_args_by_delim, str_to_args_by_delim1);
BIND(ust_lookup_name_by_value, ust_lookup_index_by_value, ust_lookup_value_by_index,
     ust_lookup_index_by_name, ust_lookup_index_by_name_i, ust_longest_strlen, p_bool, p_int,
     p_time, p_secs, p_enum, mkstr_date, mkstr_long, mkstr_ulong, mkstr_string);
BIND_AS(is_encoded, [](const char *text) {
  char out[64];
  return entities_hex_encode(out, sizeof out, text) != 0 || std::strcmp(out, text) != 0;
});
BIND_AS(decode_in_place, [](char *text) {
  auto size = static_cast<unsigned>(std::strlen(text));
  const int result = base64_decode(text, size, reinterpret_cast<unsigned char *>(text), &size);
  return std::to_string(result) + ' ' + in_quotes({text, size});
});
// All tokens of a text, and the final cursor.
BIND_AS(token_extract, [](Call &call, char *text) {
  std::string tokens;
  char *cursor = text;
  while (cursor != nullptr) {
    const char *const token = token_extract(&cursor);
    if (token == nullptr) break;
    tokens += call.pointer(token, true) + ' ';
  }
  return tokens + call.pointer(cursor, true);
});
BIND_AS(p_ipad, [](char *buffer, in_addr address) { return p_ipad(buffer, address.s_addr); });

constexpr ust_entry kEntries[] = {{6, "TCP"},          {17, "udp"}, {-5, "less"},
                                  {6, "transmission"}, {1, "udp"},  {2, "tcp"}};
constexpr ust_table kProtocols = {kEntries, 6}, kEmpty = {nullptr, 0};
SYMBOLS(kProtocols, kEmpty, enum_ad_states);

}  // namespace
}  // namespace talvera::test
