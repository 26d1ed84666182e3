// Replays a row of moves in a list, each item being moved at most once.
//
// The list is seen as two that are shuffled together: the items that wait (not moved yet, or never)
// stay in their original order, and the moved items form a list that only grows. A place in the
// whole list is therefore a gap before one of the waiting items and a rank among the moved ones.
//
// Forward, move by move: how many moved items stand in each gap gives the gap and the rank of the
// next one. Backward: the item moved last keeps its rank; the one before takes its rank among the
// places that are left, and so on, which gives the final list of moved items. The gaps then tell
// how the two lists lie together.
#include "files/replay.h"

#include <bit>

#include "files/set.h"

namespace talvera::files {
namespace {

// Numbers by index, all 1 at first, with their sums from the first on: a binary indexed tree.
class Sums {
 public:
  // `tree` has room for one number more than there are.
  explicit Sums(std::span<std::int32_t> tree) : tree_(tree) {
    for (std::size_t i = 1; i < tree_.size(); ++i)
      tree_[i] = static_cast<std::int32_t>(i & -i);
  }

  void add(std::size_t index, std::int32_t number) {
    for (++index; index < tree_.size(); index += index & -index)
      tree_[index] += number;
  }

  // The sum of the first `count` numbers.
  [[nodiscard]] std::int32_t first(std::size_t count) const {
    std::int32_t sum = 0;
    for (; count > 0; count &= count - 1)
      sum += tree_[count];
    return sum;
  }

  [[nodiscard]] std::int32_t number(std::size_t index) const {
    return first(index + 1) - first(index);
  }

  // The index of the number with which the sum reaches `wanted`; one past the last if none does.
  [[nodiscard]] std::size_t reaches(std::int32_t wanted) const {
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

// One block of memory, handed out in parts.
class Workspace {
 public:
  explicit Workspace(std::size_t numbers)
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

// Fills `list` with the moves in the final order of their items, from the rank that each item had
// when it was placed.
void order_by_ranks(std::span<const std::int32_t> ranks, Sums free_places,
                    std::span<std::int32_t> list) {
  for (std::size_t move = ranks.size(); move-- > 0;) {
    const std::size_t place = free_places.reaches(ranks[move] + 1);
    free_places.add(place, -1);
    list[place] = static_cast<std::int32_t>(move);
  }
}

}  // namespace

bool replay(std::span<const Move> moves, std::span<of_file_info> items) {
  // A mark behind the last item always waits, so that the end of the list is a gap as well.
  const std::size_t gaps = items.size() + 1;
  Workspace space(2 * (gaps + 1) + 3 * moves.size() + 1);
  if (!space.valid()) return false;
  Sums all(space.take(gaps + 1));  // for each gap: the items in it and the waiting one behind it
  Sums waiting(space.take(gaps + 1));
  const auto ranks = space.take(moves.size());
  const auto moved = space.take(moves.size());
  const Sums free_places(space.take(moves.size() + 1));

  for (std::size_t i = 0; i < moves.size(); ++i) {
    const auto item = static_cast<std::size_t>(moves[i].item);
    all.add(item, -1);
    waiting.add(item, -1);
    const std::size_t gap = all.reaches(moves[i].new_order);
    ranks[i] = moves[i].new_order - 1 - waiting.first(gap);
    all.add(gap, 1);
  }
  order_by_ranks(ranks, free_places, moved);

  std::int32_t order = 0;
  std::size_t next_moved = 0;
  for (std::size_t gap = 0; gap < gaps; ++gap) {
    const std::int32_t waits = waiting.number(gap);
    for (std::int32_t left = all.number(gap) - waits; left > 0; --left) {
      items[static_cast<std::size_t>(moves[moved[next_moved++]].item)].order = ++order;
    }
    if (waits != 0 && gap < items.size()) items[gap].order = ++order;
  }
  return true;
}

}  // namespace talvera::files
