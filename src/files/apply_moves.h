// The result of a sequence of moves in a set.
#pragma once

#include <cstdint>

#include "talvera/of.h"

namespace talvera::files {

// Where an item is to go, in place of its order.
inline constexpr std::int32_t kToTop = 0;
inline constexpr std::int32_t kStays = -1;

// Moves the items of a set whose orders are 1, 2, 3, ... in array order. An item's order is to be
// replaced before by its new position, 1 to the set's count, or by one of the constants above. Sets
// the orders that of_set_order_for_item() produces when it is called in array order for each item
// with a position, then for each item that goes to the top. Takes O(n log n) time instead of
// O(n^2). Returns false when memory runs out.
bool apply_moves(of_files_info &set);

}  // namespace talvera::files
