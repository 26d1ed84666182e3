// Text from outside through every scanner, splitter and decoder, in blocks of just its size.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "talvera/strutil.h"

namespace {

// A terminated copy, which the functions may cut.
class Line {
 public:
  Line(const std::uint8_t *data, std::size_t size) : text_(new char[size + 1]) {
    std::copy_n(data, size, text_.get());
    text_[size] = '\0';
    end_ = text_.get() + std::strlen(text_.get());
  }
  [[nodiscard]] char *get() const { return text_.get(); }
  // Where a scanner stopped must be inside.
  void check(const char *p) const {
    if (p < text_.get() || p > end_) std::abort();
  }

 private:
  std::unique_ptr<char[]> text_;
  const char *end_;
};

void scan(const Line &line, int option) {
  char *const s = line.get();
  unsigned long number;
  in_addr ip;
  ether_addr mac;
  char out[17];
  line.check(getword(s, out, option % 16 + 1));
  line.check(getstring(s, out, option % 17, option));
  line.check(getnum(s, &number, option % 40));
  line.check(getip(s, &ip));
  line.check(get_mac(s, &mac));
  isxstring(s);
  str_get_delim(s);
  int low, high;
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
  ValidateUlong(Line(data, size).get(), &number);
}

void encode(const std::uint8_t *data, std::size_t size, int option) {
  const std::unique_ptr<char[]> text(new char[size]);
  std::copy_n(data, size, text.get());
  auto length = static_cast<unsigned>(option);
  const std::unique_ptr<unsigned char[]> bytes(new unsigned char[length]);
  base64_decode(text.get(), static_cast<unsigned>(size), bytes.get(), &length);

  const auto room = static_cast<unsigned>(option);
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
  return 0;
}
