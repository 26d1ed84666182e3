// What the tests of lists share: a list beside a model of what it must hold, and a check of every
// link, the middle and the spare records.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/system_double.h"
#include "talvera/list.h"

namespace talvera::test {

using Data = std::vector<const void *>;

inline Data data_of(const list_obj &list) {
  Data data;
  for (const list_elem *element = list.head->next; element != list.tail; element = element->next)
    data.push_back(element->data);
  return data;
}

// What must hold after every operation.
inline void expect_sound(const list_obj &list) {
  ASSERT_EQ(list.head->prev, nullptr);
  ASSERT_EQ(list.head->data, nullptr);
  ASSERT_EQ(list.tail->next, nullptr);
  ASSERT_EQ(list.tail->data, nullptr);
  ASSERT_LE(list.spare_count, 5U);
  const list_elem *middle = nullptr;
  std::uint32_t position = 0;
  const list_elem *element = list.head;
  for (; element->next != list.tail; element = element->next, ++position) {
    ASSERT_LT(position, list.count);
    ASSERT_EQ(element->next->prev, element);
    if (position == (list.count - 1) / 2) middle = element->next;
  }
  ASSERT_EQ(list.tail->prev, element);
  ASSERT_EQ(position, list.count);
  if (list.count > 0) {
    ASSERT_EQ(list.mid, middle);
  }
}

class ListTest : public ::testing::Test {
 protected:
  ListTest() { EXPECT_EQ(list_init(&list), 0); }
  ~ListTest() override { list_destroy(&list); }

  // A datum that is only compared by its address.
  [[nodiscard]] const void *token(std::size_t i) const { return tokens_ + i; }
  void append_tokens(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      ASSERT_EQ(list_append(&list, token(i)), 1);
  }
  // Appends pointers to the numbers, which must outlive the list's use.
  void append(const std::vector<std::int32_t> &numbers) {
    for (const std::int32_t &number : numbers)
      ASSERT_EQ(list_append(&list, &number), 1);
  }
  [[nodiscard]] std::vector<std::int32_t> numbers() const {
    std::vector<std::int32_t> result;
    for (const void *data : data_of(list))
      result.push_back(*static_cast<const std::int32_t *>(data));
    return result;
  }

  list_obj list{};

 private:
  char tokens_[1000] = {};
};

}  // namespace talvera::test
