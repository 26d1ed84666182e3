// Access to the items of a rule: parameters and matches, which have the same layout.
#pragma once

#include <cstddef>
#include <cstdint>

#include "talvera/ipt.h"

namespace talvera::ipt {

// A parameter or match in a list; may alias either type.
struct [[gnu::may_alias]] Item {
  std::uint32_t item;
  std::uint8_t negation;
  char *value;
  std::uint32_t option;
  char *option_value;
};
static_assert(offsetof(Item, item) == offsetof(ipt_param, item) &&
              offsetof(Item, item) == offsetof(ipt_match, item));
static_assert(offsetof(Item, negation) == offsetof(ipt_param, negation) &&
              offsetof(Item, negation) == offsetof(ipt_match, negation));
static_assert(offsetof(Item, value) == offsetof(ipt_param, value) &&
              offsetof(Item, value) == offsetof(ipt_match, value));
static_assert(offsetof(Item, option) == offsetof(ipt_param, option) &&
              offsetof(Item, option) == offsetof(ipt_match, option));
static_assert(offsetof(Item, option_value) == offsetof(ipt_param, option_value) &&
              offsetof(Item, option_value) == offsetof(ipt_match, option_value));
static_assert(sizeof(Item) == sizeof(ipt_param) && sizeof(Item) == sizeof(ipt_match));

// A null list counts as empty: rules for commands without items have none.
inline std::uint32_t item_count(const list_obj *list) {
  return list == nullptr ? 0 : list->count;
}

inline const Item &item_of(const list_elem *element) {
  return *static_cast<const Item *>(element->data);
}

}  // namespace talvera::ipt
