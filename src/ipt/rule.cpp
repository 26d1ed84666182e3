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

// Numbers of valid items are below these.
constexpr std::uint32_t kParamItems = IPT_PARAM_FRAGMENT + 1;
constexpr std::uint32_t kMatchItems = IPT_MATCH_TOS + 1;

list_obj *make_list() {
  MallocPtr<list_obj> list(static_cast<list_obj *>(std::calloc(1, sizeof(list_obj))));
  if (list == nullptr || list_init(list.get()) < 0) return nullptr;
  return list.release();
}

// A heap copy of an item, appended to the list in `slot`, which is created if missing. Null on
// failure, which is logged unless it is of the copy.
void *append_copy(list_obj **slot, std::uint32_t valid_items, const char *kind,
                  const ipt_param &item) {
  if (*slot == nullptr) *slot = make_list();
  // Messages about a list or a number have "param", those about an item "parameter".
  const char *message = "ipt: can't initialize %.5s list for item %d";
  if (*slot != nullptr && item.item >= valid_items) {
    message = "ipt: invalid %.5s item specified";
  } else if (*slot != nullptr) {
    MallocPtr<ipt_param> added(static_cast<ipt_param *>(std::calloc(1, sizeof(ipt_param))));
    if (added == nullptr) return nullptr;
    // Copied field by field so that the padding stays zero.
    added->item = item.item;
    added->negation = item.negation;
    added->value = item.value;
    added->option = item.option;
    added->option_value = item.option_value;
    if (list_append(*slot, added.get()) >= 0) return added.release();
    message = "ipt: failed to add a %s to rule";
  }
  sdb_log(SDB_LOG_INFO, message, kind, static_cast<int>(item.item));
  return nullptr;
}

// Appends an item to the list in `slot`, unless that is null. Takes ownership of the item's
// strings, even on failure. Returns the heap copy that the list now holds, or null.
void *add_item(list_obj **slot, std::uint32_t valid_items, const char *kind,
               const ipt_param &item) {
  void *const added = slot != nullptr ? append_copy(slot, valid_items, kind, item) : nullptr;
  if (added == nullptr) {
    const ErrnoSaver saver;
    std::free(item.value);
    std::free(item.option_value);
  }
  return added;
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
  return static_cast<ipt_param *>(add_item(rule != nullptr ? &rule->params : nullptr, kParamItems,
                                           "parameter",
                                           {item, negation, value, option, option_value}));
}

extern "C" ipt_match *ipt_rule_add_match(ipt_rule *rule, uint32_t item, uint8_t negation,
                                         uint32_t option, char *option_value) {
  return static_cast<ipt_match *>(add_item(rule != nullptr ? &rule->matches : nullptr, kMatchItems,
                                           "match",
                                           {item, negation, nullptr, option, option_value}));
}
