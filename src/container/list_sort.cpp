// Sorting a list in place: quicksort with random pivots, selection sort for short ranges. Data
// pointers change places, elements do not.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "container/list_steps.h"
#include "internal/fail.h"
#include "talvera/list.h"

namespace {

using talvera::container::backward;
using talvera::container::forward;

constexpr std::uint32_t kShortRange = 25;  // below this many elements selection sort takes over

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
  // Positive when a's place is before b's.
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

// Splits a range into what goes before a pivot and what goes behind it. What equals the pivot is
// gathered between them, in its final place, so many equal data cost no extra time.
std::pair<Range, Range> Sorter::partition(Range range) const {
  const void *const pivot = random_pivot(range);
  list_elem *equal = range.first;  // the first element known to equal the pivot
  list_elem *next = range.first;   // the first element not looked at
  list_elem *last = range.last;    // the last element not looked at
  Range before{range.first, nullptr, 0};
  Range behind{nullptr, range.last, 0};
  for (std::uint32_t left = range.size; left > 0; --left) {
    // The pivot is in its place whatever the comparator says, so that every pass takes something
    // out.
    const int place = next->data == pivot ? 0 : order(next->data, pivot);
    if (place < 0) {
      std::swap(next->data, last->data);
      last = last->prev;
      ++behind.size;
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
  behind.first = last->next;
  return {before, behind};
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

// Only the smaller part is left to a call of its own, so the calls nest no deeper than log2(size).
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

extern "C" int list_sort(list_obj *list, int direction) {
  if (list->iterating != 0) return talvera::fail(EBUSY);
  if (list->attrs.comparator == nullptr) return talvera::fail(EINVAL);
  const Sorter sorter(list->attrs.comparator, direction);
  sorter.sort({list->head->next, list->tail->prev, list->count});
  return 0;
}
