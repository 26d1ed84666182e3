// Lists against std::list<void *> and GLib's GQueue.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdint>
#include <list>
#include <random>
#include <vector>

#include "talvera/list.h"

namespace {

using StdList = std::list<void *>;

// The same operations on each kind of list.
class Ours {
 public:
  Ours() { list_init(&list_); }
  ~Ours() { list_destroy(&list_); }
  void append(void *data) { list_append(&list_, data); }
  void prepend(void *data) { list_prepend(&list_, data); }
  void *fetch() { return list_fetch(&list_); }
  void *at(unsigned position) { return list_get_at(&list_, position); }
  unsigned visit() {
    unsigned sum = 0;
    list_iterator_start(&list_);
    while (list_iterator_hasnext(&list_)) {
      sum += static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(list_iterator_next(&list_)));
    }
    list_iterator_stop(&list_);
    return sum;
  }

 private:
  list_obj list_{};
};

class Standard {
 public:
  void append(void *data) { list_.push_back(data); }
  void prepend(void *data) { list_.push_front(data); }
  void *fetch() {
    void *data = list_.front();
    list_.pop_front();
    return data;
  }
  unsigned visit() {
    unsigned sum = 0;
    for (void *data : list_) {
      sum += static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(data));
    }
    return sum;
  }

 private:
  StdList list_;
};

class GLibQueue {
 public:
  ~GLibQueue() { g_queue_clear(&queue_); }
  void append(void *data) { g_queue_push_tail(&queue_, data); }
  void prepend(void *data) { g_queue_push_head(&queue_, data); }
  void *fetch() { return g_queue_pop_head(&queue_); }
  void *at(unsigned position) { return g_queue_peek_nth(&queue_, position); }
  unsigned visit() {
    unsigned sum = 0;
    for (GList *link = g_queue_peek_head_link(&queue_); link != nullptr; link = link->next) {
      sum += static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(link->data));
    }
    return sum;
  }

 private:
  GQueue queue_ = G_QUEUE_INIT;
};

void *datum(unsigned i) {
  return reinterpret_cast<void *>(static_cast<std::uintptr_t>(i) + 1);
}

constexpr unsigned kBatch = 1000;

// Fills a list at one end and empties it at the head.
template <typename List>
void append_fetch(benchmark::State &state) {
  List list;
  for (auto _ : state) {
    for (unsigned i = 0; i < kBatch; ++i) {
      list.append(datum(i));
    }
    for (unsigned i = 0; i < kBatch; ++i) {
      benchmark::DoNotOptimize(list.fetch());
    }
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(append_fetch<Ours>);
BENCHMARK(append_fetch<Standard>);
BENCHMARK(append_fetch<GLibQueue>);

template <typename List>
void prepend_fetch(benchmark::State &state) {
  List list;
  for (auto _ : state) {
    for (unsigned i = 0; i < kBatch; ++i) {
      list.prepend(datum(i));
    }
    for (unsigned i = 0; i < kBatch; ++i) {
      benchmark::DoNotOptimize(list.fetch());
    }
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(prepend_fetch<Ours>);
BENCHMARK(prepend_fetch<Standard>);
BENCHMARK(prepend_fetch<GLibQueue>);

// Takes from the head and appends again, like a work queue; at most four elements are out.
template <typename List>
void cycle_within_the_spares(benchmark::State &state) {
  List list;
  for (unsigned i = 0; i < 100; ++i) {
    list.append(datum(i));
  }
  for (auto _ : state) {
    void *taken[4];
    for (void *&data : taken) {
      data = list.fetch();
    }
    for (void *data : taken) {
      list.append(data);
    }
  }
  state.SetItemsProcessed(state.iterations() * 4);
}
BENCHMARK(cycle_within_the_spares<Ours>);
BENCHMARK(cycle_within_the_spares<Standard>);
BENCHMARK(cycle_within_the_spares<GLibQueue>);

template <typename List>
void iterate(benchmark::State &state) {
  List list;
  for (unsigned i = 0; i < kBatch; ++i) {
    list.append(datum(i));
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(list.visit());
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(iterate<Ours>);
BENCHMARK(iterate<Standard>);
BENCHMARK(iterate<GLibQueue>);

// Positions up to half the list from an end, and up to a quarter from ends and middle.
template <typename List>
void get_at_random_positions(benchmark::State &state) {
  List list;
  const auto size = static_cast<unsigned>(state.range(0));
  for (unsigned i = 0; i < size; ++i) {
    list.append(datum(i));
  }
  std::mt19937 generator(1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(list.at(static_cast<unsigned>(generator()) % size));
  }
}
BENCHMARK(get_at_random_positions<Ours>)->Arg(1000)->Arg(100'000);
BENCHMARK(get_at_random_positions<GLibQueue>)->Arg(1000)->Arg(100'000);

enum Shape { kRandom, kSorted, kReversed, kEqual, kFewDistinct };

std::vector<std::int32_t> numbers(Shape shape) {
  std::mt19937 generator(2);
  std::vector<std::int32_t> result(100'000);
  for (std::int32_t i = 0; auto &number : result) {
    const auto drawn = static_cast<std::int32_t>(generator() >> 1);
    const std::int32_t by_shape[] = {drawn, i, -i, 7, drawn % 10};
    number = by_shape[shape];
    ++i;
  }
  return result;
}

void sort_ours(benchmark::State &state) {
  const auto stored = numbers(static_cast<Shape>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    list_obj list;
    list_init(&list);
    list_attributes_comparator(&list, list_comparator_int32_t);
    for (const auto &number : stored) {
      list_append(&list, &number);
    }
    state.ResumeTiming();
    list_sort(&list, 1);
    state.PauseTiming();
    list_destroy(&list);
    state.ResumeTiming();
  }
}
BENCHMARK(sort_ours)
    ->ArgName("shape")
    ->DenseRange(kRandom, kFewDistinct)
    ->Unit(benchmark::kMillisecond);

void sort_standard(benchmark::State &state) {
  auto stored = numbers(static_cast<Shape>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    StdList list;
    for (auto &number : stored) {
      list.push_back(&number);
    }
    state.ResumeTiming();
    list.sort([](const void *a, const void *b) { return list_comparator_int32_t(a, b) > 0; });
    state.PauseTiming();
    list.clear();
    state.ResumeTiming();
  }
}
BENCHMARK(sort_standard)
    ->ArgName("shape")
    ->DenseRange(kRandom, kFewDistinct)
    ->Unit(benchmark::kMillisecond);

}  // namespace
