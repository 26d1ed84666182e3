// The result of a sequence of moves in a set.
#pragma once

#include <cstdint>
#include <span>

#include "talvera/of.h"

namespace talvera::files {

struct Move {
  std::int32_t item;       // index in the array of items
  std::int32_t new_order;  // 1 to the set's count
};

// Sets the orders that calling of_set_order_for_item() for each move in turn would produce, for a
// set whose orders are 1, 2, 3, ... in array order. Takes O((n + m) log n) time for m moves instead
// of O(n m). Each item may be moved at most once. Returns false, with nothing changed, when memory
// runs out.
bool apply_moves(std::span<const Move> moves, std::span<of_file_info> items);

}  // namespace talvera::files
