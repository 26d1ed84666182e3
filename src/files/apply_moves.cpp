// Computes the result of a sequence of moves in a list, in which each item moves at most once.
//
// The list is an interleaving of two lists: waiting items (not moved yet, or never moved) keep
// their original order; moved items form a list that only grows. A position in the whole list is
// given by a gap (before a waiting item) and a rank among the moved items.
//
// The forward pass determines the gap and rank of each move from the number of moved items in each
// gap. The backward pass reconstructs the final order of the moved items: the item moved last keeps
// its rank, and each earlier item takes its rank among the places still free. Finally, both lists
// are merged by gap.
#include "files/apply_moves.h"

#include <bit>
#include <cstddef>

#include "files/set.h"
#include "internal/owners.h"

namespace talvera::files {
namespace {

// A Fenwick tree (binary indexed tree) of prefix sums over numbers that are all 1 initially.
class FenwickTree {
 public:
  // `tree` holds one entry more than there are numbers; entry 0 is unused.
  explicit FenwickTree(std::span<std::int32_t> tree) : tree_(tree) {
    for (std::size_t i = 1; i < tree_.size(); ++i)
      tree_[i] = static_cast<std::int32_t>(i & -i);
  }

  void add(std::size_t index, std::int32_t number) {
    for (++index; index < tree_.size(); index += index & -index)
      tree_[index] += number;
  }

  // The sum of the first `count` numbers.
  [[nodiscard]] std::int32_t prefix_sum(std::size_t count) const {
    std::int32_t sum = 0;
    for (; count > 0; count &= count - 1)
      sum += tree_[count];
    return sum;
  }

  [[nodiscard]] std::int32_t value(std::size_t index) const {
    return prefix_sum(index + 1) - prefix_sum(index);
  }

  // The index of the number at which the prefix sum reaches `wanted`; one past the last if none.
  [[nodiscard]] std::size_t find(std::int32_t wanted) const {
    std::size_t index = 0;
    for (std::size_t step = std::bit_floor(tree_.size() - 1); step > 0; step /= 2) {
      if (index + step >= tree_.size() || tree_[index + step] >= wanted) continue;
      index += step;
      wanted -= tree_[index];
    }
    return index;
  }

 private:
  std::span<std::int32_t> tree_;
};

// One block of memory from which spans are allocated.
class Arena {
 public:
  explicit Arena(std::size_t numbers)
      : block_(allocate<std::int32_t>(numbers)), rest_(block_.get()) {}

  [[nodiscard]] bool valid() const { return block_ != nullptr; }
  std::span<std::int32_t> take(std::size_t numbers) {
    const std::span taken{rest_, numbers};
    rest_ += numbers;
    return taken;
  }

 private:
  MallocPtr<std::int32_t> block_;
  std::int32_t *rest_;
};

// Fills `list` with the indices of the moves in the final order of their items, from each item's
// rank at the time of its move.
void order_by_ranks(std::span<const std::int32_t> ranks, FenwickTree free_places,
                    std::span<std::int32_t> list) {
  for (std::size_t move = ranks.size(); move-- > 0;) {
    const std::size_t place = free_places.find(ranks[move] + 1);
    free_places.add(place, -1);
    list[place] = static_cast<std::int32_t>(move);
  }
}

}  // namespace

bool apply_moves(std::span<const Move> moves, std::span<of_file_info> items) {
  // A sentinel after the last item always waits, so that the end of the list is a gap, too.
  const std::size_t gaps = items.size() + 1;
  Arena arena(2 * (gaps + 1) + 3 * moves.size() + 1);
  if (!arena.valid()) return false;
  // Per gap: `all` counts its moved items and the waiting item after it, `waiting` only the latter.
  FenwickTree all(arena.take(gaps + 1));
  FenwickTree waiting(arena.take(gaps + 1));
  const auto ranks = arena.take(moves.size());
  const auto moved = arena.take(moves.size());
  const FenwickTree free_places(arena.take(moves.size() + 1));

  for (std::size_t i = 0; i < moves.size(); ++i) {
    const auto item = static_cast<std::size_t>(moves[i].item);
    all.add(item, -1);
    waiting.add(item, -1);
    const std::size_t gap = all.find(moves[i].new_order);
    ranks[i] = moves[i].new_order - 1 - waiting.prefix_sum(gap);
    all.add(gap, 1);
  }
  order_by_ranks(ranks, free_places, moved);

  std::int32_t order = 0;
  std::size_t next_moved = 0;
  for (std::size_t gap = 0; gap < gaps; ++gap) {
    const std::int32_t waits = waiting.value(gap);
    for (std::int32_t left = all.value(gap) - waits; left > 0; --left) {
      items[static_cast<std::size_t>(moves[moved[next_moved++]].item)].order = ++order;
    }
    if (waits != 0 && gap < items.size()) items[gap].order = ++order;
  }
  return true;
}

}  // namespace talvera::files
