// Bindings of the firewall rules.
#include "talvera/ipt.h"

#include <sstream>

#include "runner/bind.h"

FIELDS(ipt_param, &R::item, &R::negation, &R::value, &R::option, &R::option_value);

namespace talvera::test {
namespace {

struct RuleDeleter {
  void operator()(ipt_rule *rule) const { ipt_rule_free(rule); }
};
using RulePtr = std::unique_ptr<ipt_rule, RuleDeleter>;

// Fields from the following numbers and texts of a row; missing ones keep their values.
template <Integer T>
void fill(Call &call, T &field) {
  const Value *const next = call.peek();
  if (next != nullptr && next->kind == Value::kNumber) field = static_cast<T>(call.take().number);
}
void fill(Call &call, char *&field) {
  const Value *const next = call.peek();
  if (next == nullptr || (next->kind != Value::kBytes && next->kind != Value::kNull)) return;
  field = call.take().kind == Value::kNull ? nullptr : strdup(next->bytes.c_str());
}
template <typename... T>
void fill_all(Call &call, T &...fields) {
  (fill(call, fields), ...);
}

// Adds the rest of a row to a rule:
//   param ITEM NEGATION "value" OPTION "option value"    match ITEM NEGATION OPTION "option value"
//   argument "of the command"    target NUMBER "argument"    mask NUMBER
// field NUMBER "value" changes the previous item as no library function would. Returns the last
// item.
ipt_param *extend(Call &call, ipt_rule *rule) {
  ipt_param *last = nullptr;
  while (call.has_more()) {
    const std::string word = call.take().bytes;
    ipt_param i = {};
    if (word == "param" || word == "match") {
      fill_all(call, i.item, i.negation, i.value, i.option, i.option_value);
    }
    if (word == "param") {
      last = ipt_rule_add_param(rule, i.item, i.negation, i.value, i.option, i.option_value);
    } else if (word == "match") {
      last = reinterpret_cast<ipt_param *>(
          ipt_rule_add_match(rule, i.item, i.negation, i.option, i.option_value));
    } else if (word == "argument") {
      fill(call, rule->command_argument);
    } else if (word == "target") {
      fill_all(call, rule->target, rule->target_argument);
    } else if (word == "mask") {
      fill(call, rule->mask);
    } else {
      fill_all(call, last->item, last->value);
    }
  }
  return last;
}

// A rule from table, chain, command and the rest of the row.
RulePtr rule_of(Call &call) {
  RulePtr rule(ipt_rule_init());
  fill_all(call, rule->table, rule->chain, rule->command);
  extend(call, rule.get());
  return rule;
}

// COUNT words of the command line from word FIRST on, or the result of a failure. Checks that the
// buffer is terminated.
std::string words(Call &call, const ipt_rule *rule, std::size_t first, std::size_t count) {
  const GuardedBuffer &buffer = call.memory(IPT_LINE_SIZE, 1);
  const int result = ipt_make_rule_string(rule, buffer.data());
  if (strnlen(buffer.data(), IPT_LINE_SIZE) == IPT_LINE_SIZE) return "unterminated";
  if (result != 0) return std::to_string(result);
  std::istringstream line(std::string(buffer.data()) + ' ');
  std::string found, word;
  for (std::size_t i = 0; std::getline(line, word, ' '); ++i)
    if (i >= first && i - first < count) found += (i > first ? " " : "") + word;
  return in_quotes(found + '\0');
}

BIND(ipt_simplerule_init, ipt_rule_init, ipt_rule_free, ipt_rule_compare, ipt_target_string,
     ipt_process_rule, ipt_flush_chain, ipt_set_chain_policy);
BIND(ipt_parse_neg_val, ipt_check_port_input, ipt_calc_portrange, check_tcp_flags,
     wkp_prot_from_name, captiveportal_make_addrbuf);
BIND_AS(rule, [](Call &call) { return rule_of(call).release(); });
BIND_AS(render, [](Call &call) { return words(call, rule_of(call).get(), 0, SIZE_MAX); });
BIND_AS(words, [](Call &call, std::size_t first, std::size_t count) {
  return words(call, rule_of(call).get(), first, count);
});
BIND_AS(line, [](Call &call, const ipt_rule *rule) { return words(call, rule, 0, SIZE_MAX); });
// Whether the last item was added with zero padding.
BIND_AS(add, [](Call &call, ipt_rule *rule) {
  const ipt_param *const item = extend(call, rule);
  return item != nullptr && std::memcmp(&item->negation + 1, "\0\0", 3) == 0;
});
BIND_AS(iterate, [](ipt_rule *rule) {
  return list_iterator_start(rule->params) + list_iterator_start(rule->matches);
});
// Compares with the rest of the row, in both directions.
BIND_AS(compare, [](Call &call, const ipt_rule *rule) {
  const RulePtr other = rule_of(call);
  const int result = ipt_rule_compare(rule, other.get());
  return ipt_rule_compare(other.get(), rule) == result ? result : -1;
});
// The command line of a rule from a library function.
template <typename... A>
auto made_by(ipt_rule *(*make)(A...)) {
  return [=](Call &call, A... arguments) {
    const RulePtr rule(make(arguments...));
    return rule != nullptr ? words(call, rule.get(), 0, SIZE_MAX) : "null";
  };
}
BIND_AS(ipt_make_pinhole_rule, made_by(ipt_make_pinhole_rule));
BIND_AS(ipt_make_nat_onoff_rule, made_by(ipt_make_nat_onoff_rule));
BIND_AS(ipt_make_maplist_rule, made_by(ipt_make_maplist_rule));
// The parameters and the target argument of a pinhole.
BIND_AS(pinhole, [](Call &call, const char *destination, const char *protocol, const char *port,
                    const char *host, int internal_port) {
  const RulePtr rule(ipt_make_pinhole_rule(1, destination, protocol, port, host, internal_port));
  if (rule == nullptr) return std::string("null");
  return show(call, *static_cast<ipt_param *>(list_get_at(rule->params, 0))) + ' ' +
         show(call, *static_cast<ipt_param *>(list_get_at(rule->params, 1))) + ' ' +
         rule->target_argument;
});
DIRECTIVE(print_when_run,
          [](Call &call) { call.session().system.before("system", [] { std::puts("run"); }); });

// A heap text, which is freed.
std::string taken(char *text) {
  const std::string shown = text != nullptr ? in_quotes(std::string(text) + '\0') : "null";
  std::free(text);
  return shown;
}
BIND_AS(ipt_make_protocol_value, [](const char *t) { return taken(ipt_make_protocol_value(t)); });
BIND_AS(ipt_make_port_value, [](const char *t) { return taken(ipt_make_port_value(t)); });
BIND_AS(tcp_flags, [] {
  std::ostringstream table;
  for (const ipt_tcp_flag &flag : flags)
    table << flag.name << ' ' << unsigned{flag.value} << ' ';
  return trimmed(table.str());
});
BIND_AS(chain_names, [] {
  std::string names;
  for (const char *name : {nm_tai_mangle_prerouting_chain_name, nm_tai_filter_sbl_chain_name,
                           nm_tai_filter_input_chain_name, nm_tai_filter_forward_chain_name,
                           nm_tai_nat_prerouting_chain_name})
    names += std::string(name) + ' ';
  return trimmed(names);
});

}  // namespace
}  // namespace talvera::test
