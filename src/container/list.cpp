// List life cycle, attributes, positional insertion and removal, and the spare elements.
#include "talvera/list.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <utility>

#include "container/list_walk.h"
#include "internal/fail.h"

namespace talvera::container {
namespace {

// Sizes on the 32-bit target.
static_assert(sizeof(void *) != 4 || (sizeof(list_obj) == 64 && sizeof(list_elem) == 12));

list_elem *allocate_element() {
  return static_cast<list_elem *>(std::malloc(sizeof(list_elem)));
}

list_elem *take_element(list_obj &list) {
  if (list.spare_count > 0) return list.spares[--list.spare_count];
  return allocate_element();
}

void join(list_elem *left, list_elem *right) {
  left->next = right;
  right->prev = left;
}

// Removes the elements between `before` and `after`: recycles or frees them, and frees their data
// if the list owns copies.
void drop_between(list_obj &list, list_elem *before, list_elem *after) {
  while (before->next != after) {
    list_elem *const element = before->next;
    before->next = element->next;
    --list.count;
    if (list.attrs.copy_data != 0) std::free(element->data);
    if (list.spare_count < LIST_SPARES_MAX) {
      list.spares[list.spare_count++] = element;
    } else {
      std::free(element);
    }
  }
  after->prev = before;
}

void insert_between(list_elem *left, list_elem *element, list_elem *right) {
  join(left, element);
  join(element, right);
}

std::uint32_t middle_position(std::uint32_t count) {
  return (count - 1) / 2;
}

// The element at a position, reached from the nearest of head, middle and tail. Position -1 is the
// head sentinel, even in an empty list: an insertion at 0 goes after it.
list_elem *element_at(const list_obj &list, std::uint32_t position) {
  const std::uint32_t from_head = position + 1;
  const std::uint32_t from_tail = list.count - position;
  list_elem *start = list.mid;
  std::uint32_t steps = position - middle_position(list.count);  // negative: backward
  if (from_head <= list.count / 4) {
    start = list.head;
    steps = from_head;
  } else if (from_tail <= list.count / 4) {
    start = list.tail;
    steps = 0 - from_tail;
  }
  return static_cast<std::int32_t>(steps) < 0 ? backward(start, 0 - steps) : forward(start, steps);
}

// A heap copy of a datum; null when memory runs out.
[[gnu::always_inline]] inline void *copy(const list_obj &list, const void *data) {
  const std::uint32_t size = list.attrs.meter(data);
  void *const block = std::malloc(size > 0 ? size : 1);
  return block != nullptr ? std::memcpy(block, data, size) : nullptr;
}

// Inserts a datum at `position`, after the element `left`.
[[gnu::noinline]] int insert_after(list_obj &list, list_elem *left, const void *data,
                                   std::uint32_t position) {
  if (list.iterating != 0) return fail(EBUSY);
  void *stored = const_cast<void *>(data);
  if (list.attrs.copy_data != 0 && data != nullptr) {
    stored = copy(list, data);
    if (stored == nullptr) return -1;
  }
  list_elem *element = take_element(list);
  if (element == nullptr) {
    if (list.attrs.copy_data != 0) std::free(stored);
    return fail(ENOMEM);
  }
  element->data = stored;
  insert_between(left, element, left->next);

  const std::uint32_t half = list.count / 2;
  ++list.count;
  if (list.count == 1) {
    list.mid = element;
  } else if (list.count % 2 != 0) {
    if (position >= half) list.mid = list.mid->next;
  } else {
    if (position <= half) list.mid = list.mid->prev;
  }
  return 1;
}

void remove_element(list_obj &list, list_elem *element, std::uint32_t position) {
  const std::uint32_t half = list.count / 2;
  if (list.count % 2 == 0) {
    if (position < half) list.mid = list.mid->next;
  } else {
    if (position >= half) list.mid = list.mid->prev;
  }
  drop_between(list, element->prev, element->next);
}

void *extract_element(list_obj &list, list_elem *element, std::uint32_t position) {
  void *data = std::exchange(element->data, nullptr);  // now owned by the caller
  remove_element(list, element, position);
  return data;
}

template <typename Function>
int set_attribute(list_obj *list, Function list_attrs::*attribute, Function value) {
  if (list == nullptr) return fail(EINVAL);
  list->attrs.*attribute = value;
  return 0;
}

}  // namespace
}  // namespace talvera::container

using namespace talvera::container;

extern "C" int list_init(list_obj *list) {
  if (list == nullptr) return talvera::fail(EINVAL);
  srandom(static_cast<unsigned>(std::time(nullptr)));
  *list = {};
  list_elem *const head = allocate_element();
  list_elem *const tail = allocate_element();
  auto *const spares =
      static_cast<list_elem **>(std::malloc(LIST_SPARES_MAX * sizeof(list_elem *)));
  if (head == nullptr || tail == nullptr || spares == nullptr) {
    std::free(spares);
    std::free(tail);
    std::free(head);
    return talvera::fail(ENOMEM);
  }
  *head = {nullptr, tail, nullptr};
  *tail = {nullptr, nullptr, head};
  list->head = head;
  list->tail = tail;
  list->spares = spares;
  return 0;
}

extern "C" void list_destroy(list_obj *list) {
  if (list->head == nullptr) return;  // list_init() failed
  list->iterating = 0;
  list_clear(list);
  while (list->spare_count > 0) {
    std::free(list->spares[--list->spare_count]);
  }
  std::free(list->spares);
  std::free(list->head);
  std::free(list->tail);
}

extern "C" int list_attributes_comparator(list_obj *list, list_comparator_fn comparator) {
  return set_attribute(list, &list_attrs::comparator, comparator);
}

extern "C" int list_attributes_seeker(list_obj *list, list_seeker_fn seeker) {
  return set_attribute(list, &list_attrs::seeker, seeker);
}

extern "C" int list_attributes_copy(list_obj *list, list_meter_fn meter, int copy_data) {
  if (list == nullptr || (meter == nullptr && copy_data != 0)) return talvera::fail(EINVAL);
  list->attrs.meter = meter;
  list->attrs.copy_data = copy_data;
  return 0;
}

extern "C" int list_attributes_hash_computer(list_obj *list, list_hashcomputer_fn hash_computer) {
  return set_attribute(list, &list_attrs::hash_computer, hash_computer);
}

extern "C" int list_attributes_serializer(list_obj *list, list_serializer_fn serializer) {
  return set_attribute(list, &list_attrs::serializer, serializer);
}

extern "C" int list_attributes_unserializer(list_obj *list, list_unserializer_fn unserializer) {
  return set_attribute(list, &list_attrs::unserializer, unserializer);
}

extern "C" int list_insert_at(list_obj *list, const void *data, uint32_t position) {
  if (position > list->count) return talvera::fail(EINVAL);
  return insert_after(*list, element_at(*list, position - 1), data, position);
}

extern "C" int list_append(list_obj *list, const void *data) {
  return insert_after(*list, list->tail->prev, data, list->count);
}

extern "C" int list_prepend(list_obj *list, const void *data) {
  return insert_after(*list, list->head, data, 0);
}

extern "C" void *list_get_at(const list_obj *list, uint32_t position) {
  if (position >= list->count) return nullptr;
  return element_at(*list, position)->data;
}

extern "C" void *list_extract_at(list_obj *list, uint32_t position) {
  if (list->iterating != 0 || position >= list->count) return nullptr;
  return extract_element(*list, element_at(*list, position), position);
}

extern "C" void *list_fetch(list_obj *list) {
  if (list->iterating != 0 || list->count == 0) return nullptr;
  return extract_element(*list, list->head->next, 0);
}

extern "C" int list_delete_at(list_obj *list, uint32_t position) {
  if (list->iterating != 0) return talvera::fail(EBUSY);
  if (position >= list->count) return talvera::fail(EINVAL);
  remove_element(*list, element_at(*list, position), position);
  return 0;
}

extern "C" int list_delete_range(list_obj *list, uint32_t first, uint32_t last) {
  if (list->iterating != 0) return talvera::fail(EBUSY);
  if (last < first || last >= list->count) return talvera::fail(EINVAL);
  const std::uint32_t removed = last - first + 1;
  const std::uint32_t left = list->count - removed;
  if (left == 0) return list_clear(list);

  // Both lookups by position precede any unlinking.
  list_elem *element = element_at(*list, first);
  const std::uint32_t middle = middle_position(left);
  list->mid = element_at(*list, middle < first ? middle : middle + removed);

  drop_between(*list, element->prev, forward(element, removed));
  return 0;
}

extern "C" int list_clear(list_obj *list) {
  if (list->iterating != 0) return talvera::fail(EBUSY);
  drop_between(*list, list->head, list->tail);
  list->mid = nullptr;
  return 0;
}

extern "C" int list_concat(const list_obj *first, const list_obj *second, list_obj *destination) {
  if (first == nullptr || second == nullptr) return talvera::fail(EINVAL);
  if (destination == first || destination == second) return talvera::fail(EINVAL);
  if (list_init(destination) != 0) return -1;  // also for a null destination
  const std::uint32_t middle = middle_position(first->count + second->count);
  list_elem *last = destination->head;
  for (const list_obj *source : {first, second}) {
    for (const list_elem *from = source->head->next; from != source->tail; from = from->next) {
      list_elem *element = allocate_element();
      if (element == nullptr) {
        join(last, destination->tail);
        list_clear(destination);
        return talvera::fail(ENOMEM);
      }
      element->data = from->data;
      join(last, element);
      if (destination->count++ == middle) destination->mid = element;
      last = element;
    }
  }
  join(last, destination->tail);
  return 0;
}
