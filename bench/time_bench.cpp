// Conversion of seconds and dates against the C library's.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <ctime>

#include "talvera/time.h"

namespace {

constexpr std::size_t kDates = 1024;

// Seconds from 1970 to 2038, in an order that a branch predictor cannot learn.
std::array<std::int32_t, kDates> all_seconds() {
  std::array<std::int32_t, kDates> seconds;
  std::uint32_t state = 1;
  for (std::int32_t &second : seconds) {
    state = state * 1664525 + 1013904223;
    second = static_cast<std::int32_t>(state >> 1);
  }
  return seconds;
}

template <typename Convert>
void run(benchmark::State &state, Convert convert) {
  const auto seconds = all_seconds();
  for (auto _ : state) {
    for (const std::int32_t second : seconds)
      convert(second);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kDates));
}

void seconds_to_date(benchmark::State &state) {
  run(state, [](std::int32_t second) {
    datetime dt;
    stod(second, &dt);
    benchmark::DoNotOptimize(dt);
  });
}
BENCHMARK(seconds_to_date);

void seconds_to_date_gmtime_r(benchmark::State &state) {
  run(state, [](std::int32_t second) {
    const std::time_t when = second;
    std::tm dt;
    gmtime_r(&when, &dt);
    benchmark::DoNotOptimize(dt);
  });
}
BENCHMARK(seconds_to_date_gmtime_r);

void there_and_back(benchmark::State &state) {
  run(state, [](std::int32_t second) {
    datetime dt;
    stod(second, &dt);
    benchmark::DoNotOptimize(dtos(&dt));
  });
}
BENCHMARK(there_and_back);

void there_and_back_gmtime_r_timegm(benchmark::State &state) {
  run(state, [](std::int32_t second) {
    const std::time_t when = second;
    std::tm dt;
    gmtime_r(&when, &dt);
    benchmark::DoNotOptimize(timegm(&dt));
  });
}
BENCHMARK(there_and_back_gmtime_r_timegm);

}  // namespace
