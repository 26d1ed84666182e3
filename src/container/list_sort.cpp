// In-place list sort: quicksort with random pivots, selection sort for short ranges. Swaps data
// pointers, not elements.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "container/list_walk.h"
#include "internal/fail.h"
#include "talvera/list.h"

namespace talvera::container {
namespace {

constexpr std::uint32_t kShortRange = 25;  // ranges with fewer elements use selection sort

struct Range {
  list_elem *first;
  list_elem *last;
  std::uint32_t size;
};

class Sorter {
 public:
  Sorter(list_comparator_fn comparator, int direction)
      : comparator_(comparator), sign_((direction > 0) - (direction < 0)) {}

  void sort(Range range) const;

 private:
  // Positive if a belongs before b.
  [[nodiscard]] int order(const void *a, const void *b) const {
    const int result = comparator_(a, b);
    return ((result > 0) - (result < 0)) * sign_;
  }
  void selection_sort(Range range) const;
  [[nodiscard]] std::pair<Range, Range> partition(Range range) const;

  list_comparator_fn comparator_;
  int sign_;
};

const void *random_pivot(Range range) {
  const std::uint32_t index = static_cast<std::uint32_t>(random()) % range.size;
  const list_elem *element = index < range.size / 2 ? forward(range.first, index)
                                                    : backward(range.last, range.size - 1 - index);
  return element->data;
}

// Three-way partition into data before and after the pivot. Data equal to the pivot end up between
// them in their final place, so that many equal data cost no extra time.
std::pair<Range, Range> Sorter::partition(Range range) const {
  const void *const pivot = random_pivot(range);
  list_elem *equal = range.first;  // start of the run equal to the pivot, which may be empty
  list_elem *next = range.first;   // the first unvisited element
  list_elem *last = range.last;    // the last unvisited element
  Range before{range.first, nullptr, 0};
  Range after{nullptr, range.last, 0};
  for (std::uint32_t left = range.size; left > 0; --left) {
    // The pivot equals itself whatever the comparator says, so that every pass makes progress.
    const int place = next->data == pivot ? 0 : order(next->data, pivot);
    if (place < 0) {
      std::swap(next->data, last->data);
      last = last->prev;
      ++after.size;
      continue;
    }
    if (place > 0) {
      std::swap(next->data, equal->data);
      equal = equal->next;
      ++before.size;
    }
    next = next->next;
  }
  before.last = equal->prev;
  after.first = last->next;
  return {before, after};
}

void Sorter::selection_sort(Range range) const {
  for (list_elem *place = range.first; place != range.last; place = place->next) {
    list_elem *candidate = place;
    for (list_elem *other = place->next; other != range.last->next; other = other->next) {
      if (order(candidate->data, other->data) < 0) candidate = other;
    }
    std::swap(place->data, candidate->data);
  }
}

// Recurses only into the smaller part, which limits the recursion depth to log2(size).
void Sorter::sort(Range range) const {
  while (range.size >= kShortRange) {
    auto [smaller, larger] = partition(range);
    if (smaller.size > larger.size) std::swap(smaller, larger);
    sort(smaller);
    range = larger;
  }
  if (range.size >= 2) selection_sort(range);
}

}  // namespace
}  // namespace talvera::container

using namespace talvera::container;

extern "C" int list_sort(list_obj *list, int direction) {
  if (list->iterating != 0) return talvera::fail(EBUSY);
  if (list->attrs.comparator == nullptr) return talvera::fail(EINVAL);
  const Sorter sorter(list->attrs.comparator, direction);
  sorter.sort({list->head->next, list->tail->prev, list->count});
  return 0;
}
