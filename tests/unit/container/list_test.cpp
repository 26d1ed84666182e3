// Elements of a list by position: insertion and removal against a model, spare records, copies,
// refusals, memory that runs out.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <random>

#include "unit/container/list_fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

TEST_F(ListTest, ANewListIsEmptyAndWithoutAttributes) {
  list_obj fresh;
  std::memset(&fresh, 0xA5, sizeof fresh);
  SystemDouble system;
  system.set_time(1'234'567);
  EXPECT_EQ(list_init(&fresh), 0);
  expect_sound(fresh);
  EXPECT_EQ(fresh.mid, nullptr);
  EXPECT_EQ(fresh.count, 0U);
  EXPECT_EQ(fresh.spare_count, 0U);
  EXPECT_EQ(fresh.iterating, 0);
  EXPECT_EQ(fresh.attrs.comparator, nullptr);
  EXPECT_EQ(fresh.attrs.copy_data, 0);

  // The generator that every program shares starts anew from the time.
  const long drawn = random();
  srandom(1'234'567);
  EXPECT_EQ(drawn, random());
  list_destroy(&fresh);
}

TEST_F(ListTest, ResultsHaveTheSenseThatCallersTest) {
  EXPECT_EQ(list_empty(&list), 0);
  EXPECT_EQ(list_append(&list, token(1)), 1);
  EXPECT_EQ(list_empty(&list), 1);
  EXPECT_EQ(list_prepend(&list, token(0)), 1);
  EXPECT_EQ(list_insert_at(&list, token(9), 1), 1);
  EXPECT_EQ(list_insert_at(&list, token(9), 4), -1);
  EXPECT_EQ(list_size(&list), 3U);
  EXPECT_THAT(data_of(list), ElementsAre(token(0), token(9), token(1)));

  for (const std::uint32_t outside : {3U, 4U, UINT32_MAX}) {
    EXPECT_EQ(list_get_at(&list, outside), nullptr);
    EXPECT_EQ(list_extract_at(&list, outside), nullptr);
    EXPECT_EQ(list_delete_at(&list, outside), -1);
    EXPECT_EQ(list_delete_range(&list, 1, outside), -1);
  }
  EXPECT_EQ(list_delete_range(&list, 2, 1), -1);
  EXPECT_EQ(list_extract_at(&list, 1), token(9));
  EXPECT_EQ(list_fetch(&list), token(0));
  EXPECT_EQ(list_delete_at(&list, 0), 0);
  EXPECT_EQ(list_fetch(&list), nullptr);
  expect_sound(list);
}

TEST_F(ListTest, AttributesAreStored) {
  const list_serializer_fn serializer = [](const void *, uint32_t *) -> void * { return nullptr; };
  const list_unserializer_fn unserializer = [](const void *, uint32_t *) -> void * {
    return nullptr;
  };
  const list_seeker_fn seeker = [](const void *, const void *) { return 1; };
  EXPECT_EQ(list_attributes_serializer(&list, serializer), 0);
  EXPECT_EQ(list_attributes_unserializer(&list, unserializer), 0);
  EXPECT_EQ(list_attributes_comparator(&list, list_comparator_int8_t), 0);
  EXPECT_EQ(list_attributes_seeker(&list, seeker), 0);
  EXPECT_EQ(list_attributes_hash_computer(&list, list_hashcomputer_int8_t), 0);
  EXPECT_EQ(list.attrs.serializer, serializer);
  EXPECT_EQ(list.attrs.unserializer, unserializer);

  EXPECT_EQ(list_attributes_copy(&list, list_meter_int16_t, 7), 0);
  EXPECT_EQ(list_attributes_copy(&list, nullptr, 1), -1);
  EXPECT_EQ(list.attrs.meter, list_meter_int16_t);
  EXPECT_EQ(list.attrs.copy_data, 7);
  EXPECT_EQ(list_attributes_copy(&list, nullptr, 0), 0);
  EXPECT_EQ(list.attrs.meter, nullptr);
  EXPECT_EQ(list.attrs.copy_data, 0);
}

// Thousands of operations at random positions, of lists that grow and shrink again.
TEST_F(ListTest, HoldsTogetherUnderRandomOperations) {
  std::mt19937 generator(20);
  const auto below = [&](std::size_t limit) {
    return static_cast<std::uint32_t>(generator() % limit);
  };
  Data model;
  std::size_t spares = 0;
  for (int step = 0; step < 12'000; ++step) {
    const auto size = static_cast<std::uint32_t>(model.size());
    const bool growing = step / 200 % 2 == 0;
    const std::uint32_t operation = size < 2 ? 0 : below(growing ? 12 : 22);
    if (operation < 8) {
      const std::uint32_t at = below(size + 1);
      const void *data = token(below(1000));
      ASSERT_EQ(list_insert_at(&list, data, at), 1);
      model.insert(model.begin() + at, data);
      if (spares > 0) --spares;
    } else {
      const std::uint32_t first = below(size);
      std::uint32_t last = first;
      if (operation >= 20) {
        last = std::min({size - 1, first + below(8), first + size - 2});
        ASSERT_EQ(list_delete_range(&list, first, last), 0);
      } else if (operation % 2 == 0) {
        ASSERT_EQ(list_extract_at(&list, first), model[first]);
      } else {
        ASSERT_EQ(list_delete_at(&list, first), 0);
      }
      model.erase(model.begin() + first, model.begin() + last + 1);
      spares = std::min<std::size_t>(5, spares + last - first + 1);
    }
    ASSERT_NO_FATAL_FAILURE(expect_sound(list)) << step;
    ASSERT_EQ(data_of(list), model) << step;
    ASSERT_EQ(list.spare_count, spares) << step;
    for (std::uint32_t i = 0; i < model.size(); ++i)
      ASSERT_EQ(list_get_at(&list, i), model[i]) << step;
  }
}

// All ranges of lists of every small size, so every way of the middle.
TEST_F(ListTest, DeletesEveryRange) {
  for (std::size_t size = 1; size <= 9; ++size) {
    for (std::uint32_t first = 0; first < size; ++first) {
      for (std::uint32_t last = first; last < size; ++last) {
        append_tokens(size);
        Data model = data_of(list);
        model.erase(model.begin() + first, model.begin() + last + 1);
        ASSERT_EQ(list_delete_range(&list, first, last), 0);
        ASSERT_NO_FATAL_FAILURE(expect_sound(list)) << size << ' ' << first << ' ' << last;
        ASSERT_EQ(data_of(list), model);
        list_clear(&list);
        ASSERT_EQ(list.mid, nullptr);
      }
    }
  }
}

// While a position is looked up, every link that is not on the way from the nearest of head, middle
// and tail leads astray.
TEST_F(ListTest, ReachesAPositionWithinAQuarterOfTheList) {
  list_elem trap{};
  trap.next = trap.prev = &trap;
  for (const std::uint32_t size : {1U, 2U, 3U, 7U, 100U, 101U}) {
    append_tokens(size);
    std::vector<list_elem *> elements{list.head};
    while (elements.back() != list.tail)
      elements.push_back(elements.back()->next);
    for (std::uint32_t place = 1; place <= size; ++place) {  // counted with the head sentinel
      const double ratio = 1.0 * place / size;
      const std::uint32_t start = ratio <= 0.25 ? 0 : ratio <= 0.75 ? (size + 1) / 2 : size + 1;
      std::vector<list_elem> saved;
      for (std::uint32_t i = 0; i < elements.size(); ++i) {
        saved.push_back(*elements[i]);
        if (i < start || i >= place) elements[i]->next = &trap;
        if (i <= place || i > start) elements[i]->prev = &trap;
      }
      const void *data = list_get_at(&list, place - 1);
      for (std::uint32_t i = 0; i < elements.size(); ++i)
        *elements[i] = saved[i];
      ASSERT_EQ(data, token(place - 1)) << place << " of " << size;
    }
    list_clear(&list);
  }
}

TEST_F(ListTest, ReusesElementRecordsBeforeItAllocates) {
  append_tokens(8);
  std::vector<list_elem *> elements;
  for (list_elem *element = list.head->next; element != list.tail; element = element->next)
    elements.push_back(element);
  SystemDouble system;
  EXPECT_EQ(list_delete_range(&list, 1, 6), 0);
  EXPECT_EQ(list.spare_count, 5U);
  system.fail("malloc", ENOMEM, 0, kAlways);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(list_insert_at(&list, nullptr, 1), 1);
    // The record freed last comes back first.
    EXPECT_EQ(list.head->next->next, elements[5 - static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ(list.spare_count, 0U);
  EXPECT_EQ(list_append(&list, nullptr), -1);
  system.forget();
  EXPECT_EQ(list_size(&list), 7U);
  expect_sound(list);
}

TEST_F(ListTest, KeepsCopiesWhenAsked) {
  ASSERT_EQ(list_attributes_copy(&list, list_meter_string, 1), 0);
  char text[] = "lan0";
  for (; text[3] <= '9'; ++text[3])
    ASSERT_EQ(list_append(&list, text), 1);
  EXPECT_EQ(list_append(&list, nullptr), 1);
  std::memset(text, 'x', sizeof text - 1);

  // What is taken out is the caller's; the rest goes with the list or before, which a leak checker
  // tells.
  char *taken = static_cast<char *>(list_extract_at(&list, 3));
  EXPECT_EQ(list_delete_at(&list, 0), 0);
  EXPECT_EQ(list_delete_range(&list, 1, 2), 0);
  EXPECT_STREQ(taken, "lan3");
  std::free(taken);
  EXPECT_STREQ(static_cast<char *>(list_get_at(&list, 1)), "lan5");

  // Exactly the metered bytes are read.
  EXPECT_EQ(list_clear(&list), 0);
  ASSERT_EQ(list_attributes_copy(&list, list_meter_int16_t, 1), 0);
  auto *number = static_cast<std::int16_t *>(std::malloc(sizeof(std::int16_t)));
  *number = -2;
  list_append(&list, number);
  std::free(number);
  EXPECT_EQ(*static_cast<std::int16_t *>(list_get_at(&list, 0)), -2);
  // An open iteration does not keep the data from being released.
  EXPECT_EQ(list_iterator_start(&list), 1);
}

TEST_F(ListTest, ConcatenatesListsOfEverySize) {
  list_attributes_comparator(&list, list_comparator_string);
  list_attributes_copy(&list, list_meter_int8_t, 1);
  list_obj second;
  list_init(&second);
  list_obj both;
  for (std::size_t m = 0; m <= 7; ++m) {
    list_clear(&list);
    append_tokens(m);
    list_clear(&second);
    for (std::size_t n = 0; n <= 7; ++n) {
      SCOPED_TRACE(testing::Message() << m << ' ' << n);
      Data model = data_of(list);
      const Data rest = data_of(second);
      model.insert(model.end(), rest.begin(), rest.end());
      SystemDouble system;
      system.set_time(77);
      ASSERT_EQ(list_concat(&list, &second, &both), 0);
      const long drawn = random();
      srandom(77);
      EXPECT_EQ(drawn, random());
      ASSERT_NO_FATAL_FAILURE(expect_sound(both));
      ASSERT_EQ(data_of(both), model);
      EXPECT_EQ(both.attrs.comparator, nullptr);
      EXPECT_EQ(both.attrs.copy_data, 0);
      EXPECT_EQ(both.mid == nullptr, model.empty());
      list_destroy(&both);
      list_append(&second, token(100 + n));
    }
  }
  EXPECT_EQ(list_concat(&second, &second, &both), 0);
  EXPECT_EQ(list_size(&both), 16U);
  list_destroy(&both);

  list_destroy(&second);
}

TEST_F(ListTest, RefusesChangesWhileIterating) {
  const std::vector<std::int32_t> stored{3, 1, 2};
  append(stored);
  list_attributes_comparator(&list, list_comparator_int32_t);
  EXPECT_EQ(list_iterator_hasnext(&list), 0);
  EXPECT_EQ(list_iterator_next(&list), nullptr);
  EXPECT_EQ(list_iterator_stop(&list), 0);
  EXPECT_EQ(list_iterator_start(&list), 1);
  EXPECT_EQ(list_iterator_next(&list), &stored[0]);
  EXPECT_EQ(list_iterator_start(&list), 0);  // and the open one goes on

  EXPECT_EQ(list_append(&list, &stored[0]), -1);
  EXPECT_EQ(list_prepend(&list, &stored[0]), -1);
  EXPECT_EQ(list_insert_at(&list, &stored[0], 1), -1);
  EXPECT_EQ(list_extract_at(&list, 0), nullptr);
  EXPECT_EQ(list_fetch(&list), nullptr);
  EXPECT_EQ(list_delete_at(&list, 0), -1);
  EXPECT_EQ(list_delete_range(&list, 0, 1), -1);
  EXPECT_EQ(list_clear(&list), -1);
  EXPECT_EQ(list_sort(&list, 1), -1);
  EXPECT_THAT(numbers(), ElementsAre(3, 1, 2));
  EXPECT_EQ(list.spare_count, 0U);

  EXPECT_EQ(list_locate(&list, &stored[2]), 2);
  EXPECT_EQ(list_iterator_next(&list), &stored[1]);
  EXPECT_EQ(list_iterator_hasnext(&list), 1);
  EXPECT_EQ(list_iterator_next(&list), &stored[2]);
  EXPECT_EQ(list_iterator_hasnext(&list), 0);
  EXPECT_EQ(list_iterator_next(&list), nullptr);
  EXPECT_EQ(list_iterator_next(&list), nullptr);
  EXPECT_EQ(list_iterator_hasnext(&list), 0);
  EXPECT_EQ(list_iterator_stop(&list), 1);

  EXPECT_EQ(list_sort(&list, 1), 0);
  EXPECT_EQ(list_iterator_start(&list), 1);  // from the first element again
  EXPECT_EQ(list_iterator_hasnext(&list), 1);
  EXPECT_EQ(list_iterator_next(&list), &stored[1]);
}

}  // namespace
}  // namespace talvera::test
