// The rule record: creation, adding items, destruction.
#include <cstdint>
#include <cstdlib>

#include "internal/owners.h"
#include "ipt/items.h"
#include "ipt/rule_ptr.h"
#include "talvera/ipt.h"
#include "talvera/list.h"
#include "talvera/sdb.h"

namespace talvera::ipt {
namespace {

static_assert(sizeof(void *) != 4 || (sizeof(ipt_rule) == 36 && sizeof(ipt_param) == 20));

// Exclusive upper bounds of item numbers.
constexpr std::uint32_t kParamItems = IPT_PARAM_FRAGMENT + 1;
constexpr std::uint32_t kMatchItems = IPT_MATCH_TOS + 1;

// Differences between parameters and matches.
struct ItemKind {
  std::uint32_t count;  // exclusive upper bound of item numbers
  const char *label;    // in messages about a list or a number
  const char *name;     // in messages about an item
};

list_obj *make_list() {
  MallocPtr<list_obj> list(static_cast<list_obj *>(std::calloc(1, sizeof(list_obj))));
  if (list == nullptr || list_init(list.get()) < 0) return nullptr;
  return list.release();
}

// Appends an item to the list in `slot`, which is created if missing. Takes ownership of the item's
// strings, even on failure. Returns the heap copy that the list now holds, or null.
void *add_item(list_obj **slot, const ItemKind &kind, const ipt_param &item) {
  MallocPtr<char> value(item.value);
  MallocPtr<char> option_value(item.option_value);
  if (slot == nullptr) return nullptr;
  if (*slot == nullptr) *slot = make_list();
  if (*slot == nullptr) {
    sdb_log(SDB_LOG_INFO, "ipt: can't initialize %s list for item %d", kind.label,
            static_cast<int>(item.item));
    return nullptr;
  }
  if (item.item >= kind.count) {
    sdb_log(SDB_LOG_INFO, "ipt: invalid %s item specified", kind.label);
    return nullptr;
  }
  MallocPtr<ipt_param> added(static_cast<ipt_param *>(std::calloc(1, sizeof(ipt_param))));
  if (added == nullptr) return nullptr;
  // Copied field by field so that the padding stays zero.
  added->item = item.item;
  added->negation = item.negation;
  added->value = item.value;
  added->option = item.option;
  added->option_value = item.option_value;
  if (list_append(*slot, added.get()) < 0) {
    sdb_log(SDB_LOG_INFO, "ipt: failed to add a %s to rule", kind.name);
    return nullptr;
  }
  (void)value.release();
  (void)option_value.release();
  return added.release();
}

void free_items(list_obj *list) {
  if (list == nullptr) return;
  for (const list_elem *element = list->head->next; element != list->tail;
       element = element->next) {
    const Item &item = item_of(element);
    std::free(item.value);
    std::free(item.option_value);
    std::free(element->data);
  }
  list_destroy(list);
  std::free(list);
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" ipt_rule *ipt_simplerule_init(void) {
  return static_cast<ipt_rule *>(std::calloc(1, sizeof(ipt_rule)));
}

extern "C" ipt_rule *ipt_rule_init(void) {
  RulePtr rule(ipt_simplerule_init());
  if (rule == nullptr) return nullptr;
  rule->params = make_list();
  rule->matches = make_list();
  return rule->params != nullptr && rule->matches != nullptr ? rule.release() : nullptr;
}

extern "C" void ipt_rule_free(ipt_rule *rule) {
  if (rule == nullptr) return;
  const talvera::ErrnoSaver saver;
  std::free(rule->command_argument);
  free_items(rule->params);
  free_items(rule->matches);
  std::free(rule->target_argument);
  std::free(rule);
}

extern "C" ipt_param *ipt_rule_add_param(ipt_rule *rule, uint32_t item, uint8_t negation,
                                         char *value, uint32_t option, char *option_value) {
  return static_cast<ipt_param *>(add_item(rule != nullptr ? &rule->params : nullptr,
                                           {kParamItems, "param", "parameter"},
                                           {item, negation, value, option, option_value}));
}

extern "C" ipt_match *ipt_rule_add_match(ipt_rule *rule, uint32_t item, uint8_t negation,
                                         uint32_t option, char *option_value) {
  return static_cast<ipt_match *>(add_item(rule != nullptr ? &rule->matches : nullptr,
                                           {kMatchItems, "match", "match"},
                                           {item, negation, nullptr, option, option_value}));
}
