// Computes the result of a sequence of moves in a list, in which each item moves at most once.
//
// Waiting items (not moved yet, or never moved) keep their original order, so that each position in
// the list is in a gap: before one of them, and after the waiting items that precede it. The
// forward pass finds the gap of each move from the number of items in each gap, and from it the
// move's rank: the new position, not counting waiting items that leave their place later. Without
// these the list only grows, starting from the items that never move. So the backward pass finds
// the final places: that of the item moved last is its rank, each earlier item takes its rank among
// the places still free, and the items that never move take the rest.
//
// Items that go to the top leave their places after all others.
#include "files/apply_moves.h"

#include <cstddef>

#include "internal/owners.h"

namespace talvera::files {
namespace {

// How many items are in a range of gaps, waiting or moved, and how many of them leave it later.
struct Count {
  std::int32_t present;
  std::int32_t leaving;
};

// A binary tree of sums: node 1 is the root, the children of node n are 2n and 2n + 1, and the
// second half are the leaves. Fills it with one item in each leaf; those of `items` that stay do
// not count as leaving.
void fill_tree(Count *tree, std::size_t leaves, const of_file_info *items, std::size_t count) {
  for (std::size_t node = 2 * leaves; --node > 0;) {
    if (node >= leaves) {
      const std::size_t leaf = node - leaves;
      tree[node] = {1, leaf >= count || items[leaf].order != kStays};
    } else {
      const Count *const children = tree + 2 * node;
      tree[node] = {children[0].present + children[1].present,
                    children[0].leaving + children[1].leaving};
    }
  }
}

// Adds `change` to those present in the leaf at which their sum reaches `position`. Returns how
// many leave the leaves before it.
std::int32_t change_at(Count *tree, std::size_t leaves, std::int32_t position,
                       std::int32_t change) {
  std::int32_t leaving = 0;
  std::size_t node = 1;
  for (; tree[node].present += change, node < leaves;) {
    node *= 2;
    if (tree[node].present >= position) continue;
    position -= tree[node].present;
    leaving += tree[node].leaving;
    ++node;
  }
  return leaving;
}

}  // namespace

bool apply_moves(of_files_info &set) {
  const auto count = static_cast<std::size_t>(set.count);
  // An imaginary item after the last one always waits, so that the end of the list is a gap as
  // well.
  std::size_t leaves = 1;
  while (leaves <= count)
    leaves *= 2;
  const auto block = allocate<Count>(2 * leaves);
  if (block == nullptr) return false;
  Count *const tree = block.get();

  fill_tree(tree, leaves, set.items, count);
  std::int32_t top = 0;  // number of items that go there
  of_file_info *item = set.items;
  for (std::size_t i = 0; i < count; ++i, ++item) {
    if (item->order == kToTop) ++top;
    if (item->order < 1) continue;
    for (std::size_t node = leaves + i; node > 0; node /= 2) {
      --tree[node].present;
      --tree[node].leaving;
    }
    item->order -= change_at(tree, leaves, item->order, 1);
  }

  // From here on the leaves are the places below the top, and those present are free.
  fill_tree(tree, leaves, nullptr, 0);
  std::int32_t order = 0;
  for (std::size_t i = count; i-- > 0;) {
    --item;
    if (item->order == kToTop) {
      item->order = ++order;
    } else if (item->order > 0) {
      item->order = top + 1 + change_at(tree, leaves, item->order, -1);
    }
  }
  for (std::size_t i = 0; i < count; ++i, ++item) {
    if (item->order == kStays) item->order = top + 1 + change_at(tree, leaves, 1, -1);
  }
  return true;
}

}  // namespace talvera::files
