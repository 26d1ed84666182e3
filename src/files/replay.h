// Where the items of a set end up after a row of moves.
#pragma once

#include <cstdint>
#include <span>

#include "talvera/of.h"

namespace talvera::files {

struct Move {
  std::int32_t item;       // index in the set
  std::int32_t new_order;  // 1 to the set's count
};

// Sets the orders that of_set_order_for_item() for each move in turn would leave in a set whose
// orders are 1, 2, 3 ... in the order of the array; in n log n steps instead of its n for each
// move. No item may be moved twice. False, with nothing changed, when memory runs out.
bool replay(std::span<const Move> moves, std::span<of_file_info> items);

}  // namespace talvera::files
