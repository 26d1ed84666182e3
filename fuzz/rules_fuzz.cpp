// Firewall rules with arbitrary values and texts, rendered and compared; validation of their texts;
// the captive portal's records. Input: 16 bytes of numbers, then lines of text.
#include <cstdarg>
#include <cstdio>

#include "fuzz/fuzz.h"
#include "talvera/ipt.h"
#include "talvera/sdb.h"

extern "C" void sdb_log(int, const char *format, ...) {
  char text[256];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
}

static void render_and_free(ipt_rule *rule) {
  const auto line = block(IPT_LINE_SIZE);
  if (rule != nullptr && ipt_make_rule_string(rule, line.get()) == 0) {
    require(std::strlen(line.get()) < IPT_LINE_SIZE);
  }
  ipt_rule_free(rule);
}

// An empty line means null or an empty text.
static char *heap_text(Input &lines, unsigned number) {
  const Text line = lines.line();
  return *line == '\0' && (number & 1) != 0 ? nullptr : strdup(line);
}

static ipt_rule *any_rule(const std::uint8_t *numbers, Input lines) {
  ipt_rule *rule = (numbers[0] & 1) != 0 ? ipt_rule_init() : ipt_simplerule_init();
  rule->table = numbers[1] % 6;
  rule->chain = numbers[2] % 8;
  rule->command = numbers[3] % 12;
  rule->target = numbers[4] % 20;
  rule->mask = numbers[5];
  rule->command_argument = heap_text(lines, numbers[0] >> 1);
  rule->target_argument = heap_text(lines, numbers[0] >> 2);
  for (unsigned i = 6; i + 3 <= 16; i += 3) {
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

static void use_texts(const std::uint8_t *numbers, Input lines) {
  call_all(lines, numbers[0], check_tcp_flags, wkp_prot_from_name, ipt_check_port_input);
  const Text first = lines.line(), second = lines.line(), third = lines.line(),
             fourth = lines.line();
  std::uint8_t mask = 0;
  const char *rest = nullptr;
  ipt_parse_neg_val(numbers[0], &mask, first, &rest);
  require(first.holds(rest));
  std::free(ipt_make_protocol_value(rest));
  const std::size_t room = numbers[1] % 32;
  char *ports = ipt_make_port_value(rest);
  for (const char *text : {static_cast<const char *>(ports), static_cast<const char *>(first)})
    ipt_calc_portrange(text, numbers[2] << 8 | numbers[3], block(room).get(), room);
  std::free(ports);
  const unsigned record = numbers[4] % (static_cast<unsigned>(first.size()) / 10 + 1);
  captiveportal_make_addrbuf(first, block(room).get(), room, record);

  render_and_free(ipt_make_pinhole_rule(numbers[0] % 10, first, second, third, fourth,
                                        numbers[1] << 8 | numbers[2]));
  render_and_free(ipt_make_nat_onoff_rule(numbers[0] % 4, first));
  render_and_free(ipt_make_maplist_rule(numbers[0] % 4, first, second));
}

FUZZ(input) {
  const std::uint8_t *const numbers = input.data;
  if (input.size < 16) return;
  input.skip(16);
  ipt_rule *rule = any_rule(numbers, input);
  ipt_rule *same = any_rule(numbers, input);
  require(ipt_rule_compare(rule, same) == 0);
  render_and_free(rule);
  ipt_rule_free(same);
  use_texts(numbers, input);
}
