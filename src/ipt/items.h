// Reading the items of a rule: parameters and matches, which are laid out alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "talvera/ipt.h"

namespace talvera::ipt {

static_assert(sizeof(ipt_param) == sizeof(ipt_match));
static_assert(offsetof(ipt_param, item) == offsetof(ipt_match, item));
static_assert(offsetof(ipt_param, negation) == offsetof(ipt_match, negation));
static_assert(offsetof(ipt_param, value) == offsetof(ipt_match, value));
static_assert(offsetof(ipt_param, option) == offsetof(ipt_match, option));
static_assert(offsetof(ipt_param, option_value) == offsetof(ipt_match, option_value));

// A missing list is an empty one: rules for commands without items have none.
inline std::uint32_t item_count(const list_obj *list) {
  return list == nullptr ? 0 : list_size(list);
}

// A copy of an item of either kind.
inline ipt_param load_item(const void *data) {
  ipt_param item;
  std::memcpy(&item, data, sizeof item);
  return item;
}

// REQUIRES: position < item_count(list)
inline ipt_param item_at(const list_obj *list, std::uint32_t position) {
  return load_item(list_get_at(list, position));
}

}  // namespace talvera::ipt
