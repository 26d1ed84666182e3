// List queries: size, search, minimum and maximum, hash, iteration.
#include <cstdint>

#include "talvera/list.h"

namespace talvera::container {
namespace {

// Returns the greatest or smallest datum. A later datum replaces the candidate only if the
// comparator places it strictly beyond, so the first of equal data wins.
void *extreme(const list_obj &list, bool greatest) {
  if (list.attrs.comparator == nullptr || list.count == 0) return nullptr;
  const list_elem *element = list.head->next;
  void *candidate = element->data;
  while ((element = element->next) != list.tail) {
    const int order = list.attrs.comparator(candidate, element->data);
    if (order != 0 && (order > 0) == greatest) candidate = element->data;
  }
  return candidate;
}

}  // namespace
}  // namespace talvera::container

using namespace talvera::container;

extern "C" uint32_t list_size(const list_obj *list) {
  return list->count;
}

// Intentionally 1 when the list is not empty: callers rely on the inverted sense.
extern "C" int list_empty(const list_obj *list) {
  return list->count > 0 ? 1 : 0;
}

extern "C" int list_locate(const list_obj *list, const void *data) {
  const list_comparator_fn comparator = list->attrs.comparator;
  int position = 0;
  for (const list_elem *element = list->head->next; element != list->tail;
       element = element->next) {
    const bool match =
        comparator != nullptr ? comparator(data, element->data) == 0 : data == element->data;
    if (match) return position;
    ++position;
  }
  return -1;
}

extern "C" int list_contains(const list_obj *list, const void *data) {
  return list_locate(list, data) >= 0 ? 1 : 0;
}

extern "C" void *list_seek(const list_obj *list, const void *indicator) {
  const list_seeker_fn seeker = list->attrs.seeker;
  if (seeker == nullptr) return nullptr;
  for (const list_elem *element = list->head->next; element != list->tail;
       element = element->next) {
    if (seeker(element->data, indicator) != 0) return element->data;
  }
  return nullptr;
}

extern "C" void *list_get_max(const list_obj *list) {
  return extreme(*list, true);
}

extern "C" void *list_get_min(const list_obj *list) {
  return extreme(*list, false);
}

extern "C" uint32_t list_hash(const list_obj *list) {
  const list_hashcomputer_fn hash_computer = list->attrs.hash_computer;
  std::uint32_t hash = 2 * list->count + 100;
  for (const list_elem *element = list->head->next; element != list->tail;
       element = element->next) {
    const std::uint32_t value =
        hash_computer != nullptr
            ? hash_computer(element->data)
            : static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(element->data));
    const std::uint32_t mixed = (hash ^ value) + hash;
    hash = mixed % list->count + mixed;
  }
  return hash;
}

extern "C" int list_iterator_start(list_obj *list) {
  if (list->iterating != 0) return 0;
  list->iterating = 1;
  list->iter_position = 0;
  list->iter_cursor = list->head->next;
  return 1;
}

extern "C" void *list_iterator_next(list_obj *list) {
  list_elem *element = list->iter_cursor;
  // After the last element, one call returns the tail sentinel's datum, null, and leaves the cursor
  // null.
  if (list->iterating == 0 || element == nullptr) return nullptr;
  list->iter_cursor = element->next;
  ++list->iter_position;
  return element->data;
}

extern "C" int list_iterator_hasnext(const list_obj *list) {
  return list->iterating != 0 && list->iter_position < list->count ? 1 : 0;
}

extern "C" int list_iterator_stop(list_obj *list) {
  if (list->iterating == 0) return 0;
  list->iterating = 0;
  return 1;
}
