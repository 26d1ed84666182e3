// External text through every scanner, splitter and decoder, in blocks of exactly its size.
#include "fuzz/fuzz.h"
#include "talvera/netu.h"
#include "talvera/strutil.h"

static void split(const Input &input, int option) {
  int count;
  char *words[ARGS_SLOTS + 1];
  str_to_args(input.rest(), &count, words);
  str_to_args_by_delim(input.rest(), ", ", &count, words);
  str_to_args_by_delim1(input.rest(), ",", &count, words, option % ARGS_SLOTS);
  const Text tokens = input.rest();
  char *cursor = tokens;
  while (cursor != nullptr && token_extract(&cursor) != nullptr) {
  }
}

// Functions that modify a copy of the text.
static void edit(Input input, int option) {
  const Text whole = input.rest();
  require(whole.holds(getword(whole, block(option % 16 + 2).get(), option % 16 + 1)));
  require(whole.holds(getstring(whole, block(option % 17 + 1).get(), option % 17, option)));
  const Text text = input.line(), other = input.line();
  strfilt(block(std::max(option, 1)).get(), text, other, option);
  entities_hex_encode(block(option).get(), static_cast<unsigned>(option), text);
  entities_hex_encode_in_place(static_cast<unsigned>(text.size()) + 1, text);
}

static void read_addresses(Input input) {
  const Text address = input.line();
  parse_macaddr(address, 0, 0, block<unsigned char>(6).get());
  netu_atoipv6(address, block<unsigned char>(16).get());
  const auto mac = std::make_unique<unsigned char[]>(6);
  netu_etoa(netu_atoe(address, mac.get()), block(NETU_MAC_TEXT_SIZE).get());
}

// Encoded data decodes to the original; any text decodes to a buffer of any size.
static void code(const Input &input, unsigned option) {
  const auto size = static_cast<unsigned>(input.size);
  const auto text = block(size);
  std::copy_n(input.data, size, text.get());
  unsigned length = option;
  base64_decode(text.get(), size, block<unsigned char>(length).get(), &length);

  length = (size + 2) / 3 * 4 + 1;
  const auto encoded = block(length);
  require(base64_encode(input.data, size, encoded.get(), &length) == 0);
  const auto back = block<unsigned char>(size);
  unsigned room = size;
  require(base64_decode(encoded.get(), length, back.get(), &room) == 0);
  require(std::equal(back.get(), back.get() + size, input.data));
}

FUZZ(input) {
  const auto option = static_cast<int>(input.byte());
  call_all(input, option, skip_space, skip_blank, skip_nonspace, skip_nonblank, getnum, gethex,
           getlong, getint, getushort, getip, get_mac, getether, ValidateUlong, ValidateLong,
           isxstring, StringIsHexDigits, str_get_delim, str_to_port_range, atm_parse_vi,
           strmatch_lowercase, GN_StrNotInSet, GN_StrCharInSet, string_toupper,
           strip_trailing_white, strncasestr, netu_calc_network, netu_calc_broadcast,
           netu_calc_subnet_prefix, netu_is_empty_ip4addr);
  split(input, option);
  edit(input, option);
  read_addresses(input);
  code(input, static_cast<unsigned>(option));
}
