// Comparison of two rules.
#include <cstdint>
#include <cstring>

#include "ipt/items.h"
#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

bool same_text(const char *a, const char *b) {
  if (a == b) return true;
  return a != nullptr && b != nullptr && std::strcmp(a, b) == 0;
}

bool same_item(const Item &a, const Item &b) {
  return a.item == b.item && a.negation == b.negation && a.option == b.option &&
         same_text(a.value, b.value) && same_text(a.option_value, b.option_value);
}

bool same_items(const list_obj *list_a, const list_obj *list_b) {
  std::uint32_t left = item_count(list_a);
  if (left != item_count(list_b)) return false;
  if (left == 0) return true;
  const list_elem *a = list_a->head;
  const list_elem *b = list_b->head;
  for (; left > 0; --left) {
    a = a->next;
    b = b->next;
    if (!same_item(item_of(a), item_of(b))) return false;
  }
  return true;
}

bool same_rule(const ipt_rule &a, const ipt_rule &b) {
  return a.table == b.table && a.chain == b.chain && a.command == b.command &&
         same_text(a.command_argument, b.command_argument) && a.target == b.target &&
         a.mask == b.mask && same_text(a.target_argument, b.target_argument) &&
         same_items(a.params, b.params) && same_items(a.matches, b.matches);
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" int ipt_rule_compare(const ipt_rule *rule_a, const ipt_rule *rule_b) {
  if (rule_a == nullptr || rule_b == nullptr) return 1;
  if (rule_a == rule_b) return 0;
  return same_rule(*rule_a, *rule_b) ? 0 : 1;
}
