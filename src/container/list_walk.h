// Walks along the elements of a list.
#pragma once

#include <cstdint>

#include "talvera/list.h"

namespace talvera::container {

inline list_elem *forward(list_elem *element, std::uint32_t steps) {
  for (; steps > 0; --steps)
    element = element->next;
  return element;
}

inline list_elem *backward(list_elem *element, std::uint32_t steps) {
  for (; steps > 0; --steps)
    element = element->prev;
  return element;
}

}  // namespace talvera::container
