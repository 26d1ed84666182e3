// Firewall rules with any values and texts, rendered and compared; the texts that rules are made
// of; the captive portal's records. Input: 16 bytes of numbers, then lines of text.
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/line.h"
#include "talvera/ipt.h"
#include "talvera/sdb.h"

extern "C" void sdb_log(int, const char *format, ...) {
  char text[256];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
}

namespace {

constexpr std::size_t kNumbers = 16;

// An empty line stands for no text, or an empty one.
char *heap_text(Lines &lines, unsigned number) {
  const Line line = lines.next();
  return *line.get() == '\0' && (number & 1) != 0 ? nullptr : strdup(line.get());
}

void render(const ipt_rule *rule) {
  const std::unique_ptr<char[]> line(new char[IPT_LINE_SIZE]);
  if (rule == nullptr || ipt_make_rule_string(rule, line.get()) != 0) return;
  if (std::strlen(line.get()) >= IPT_LINE_SIZE) std::abort();
}

ipt_rule *any_rule(const std::uint8_t *numbers, Lines lines) {
  ipt_rule *rule = (numbers[0] & 1) != 0 ? ipt_rule_init() : ipt_simplerule_init();
  rule->table = numbers[1] % 6;
  rule->chain = numbers[2] % 8;
  rule->command = numbers[3] % 12;
  rule->target = numbers[4] % 20;
  rule->mask = numbers[5];
  rule->command_argument = heap_text(lines, numbers[0] >> 1);
  rule->target_argument = heap_text(lines, numbers[0] >> 2);
  for (unsigned i = 6; i + 3 <= kNumbers; i += 3) {
    const std::uint8_t *item = numbers + i;
    char *value = heap_text(lines, item[0] >> 6);
    char *option_value = heap_text(lines, item[0] >> 7);
    if ((item[0] & 0x10) == 0) {
      ipt_rule_add_param(rule, item[0] % 9, item[1], value, item[2] % 20, option_value);
    } else {
      std::free(value);
      ipt_rule_add_match(rule, item[0] % 12, item[1], item[2] % 20, option_value);
    }
  }
  return rule;
}

void make_values(Lines lines, const std::uint8_t *numbers) {
  const Line text = lines.next();
  std::uint8_t mask = 0;
  const char *rest = nullptr;
  ipt_parse_neg_val(numbers[0], &mask, text.get(), &rest);
  text.check(rest);
  std::free(ipt_make_protocol_value(rest));
  wkp_prot_from_name(text.get());
  check_tcp_flags(text.get());
  ipt_check_port_input(text.get());
  const std::size_t room = numbers[1] % 32;
  const std::unique_ptr<char[]> out(new char[room]);
  if (char *ports = ipt_make_port_value(rest)) {
    ipt_calc_portrange(ports, numbers[2] << 8 | numbers[3], out.get(), room);
    std::free(ports);
  }
  ipt_calc_portrange(text.get(), numbers[3], out.get(), room);
  const std::size_t records = std::strlen(text.get()) / 10 + 1;
  captiveportal_make_addrbuf(text.get(), out.get(), room,
                             static_cast<unsigned>(numbers[4] % records));
}

void make_rules(Lines lines, const std::uint8_t *numbers) {
  const Line first = lines.next();
  const Line second = lines.next();
  const Line third = lines.next();
  const Line fourth = lines.next();
  ipt_rule *rules[] = {
      ipt_make_pinhole_rule(numbers[0] % 10, first.get(), second.get(), third.get(), fourth.get(),
                            numbers[1] << 8 | numbers[2]),
      ipt_make_nat_onoff_rule(numbers[0] % 4, first.get()),
      ipt_make_maplist_rule(numbers[0] % 4, first.get(), second.get())};
  for (ipt_rule *rule : rules) {
    render(rule);
    ipt_rule_free(rule);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < kNumbers) return 0;
  const Lines lines(data + kNumbers, size - kNumbers);
  ipt_rule *rule = any_rule(data, lines);
  ipt_rule *same = any_rule(data, lines);
  if (ipt_rule_compare(rule, same) != 0) std::abort();
  render(rule);
  ipt_rule_free(rule);
  ipt_rule_free(same);
  make_values(lines, data);
  make_rules(lines, data);
  return 0;
}
