// String functions against plain C.
#include <benchmark/benchmark.h>
#include <strings.h>

#include <cstdio>
#include <cstring>

#include "talvera/strutil.h"

namespace {

constexpr char kText[] =
    "Mozilla/5.0 (X11; Linux mips) Gateway/1.0 administration page, session 42";

void find_nocase(benchmark::State &state) {
  const char *text = kText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(strncasestr(text, "SESSION", 1024));
  }
}
BENCHMARK(find_nocase);

void plain_find_nocase(benchmark::State &state) {
  const char *text = kText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    const char *match = nullptr;
    for (const char *p = text; *p != '\0' && match == nullptr; ++p) {
      if (strncasecmp(p, "SESSION", 7) == 0) match = p;
    }
    benchmark::DoNotOptimize(match);
  }
}
BENCHMARK(plain_find_nocase);

// A line of eight words in a buffer of 128 bytes.
void append(benchmark::State &state) {
  char line[128];
  for (auto _ : state) {
    line[0] = '\0';
    char *end = line;
    for (int i = 0; i < 8; ++i)
      end = str_ncat(end, "value, ", static_cast<int>(sizeof line - 1 - (end - line)));
    benchmark::DoNotOptimize(line);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(append);

void plain_append(benchmark::State &state) {
  char line[128];
  for (auto _ : state) {
    line[0] = '\0';
    for (int i = 0; i < 8; ++i)
      strncat(line, "value, ", sizeof line - 1 - std::strlen(line));
    benchmark::DoNotOptimize(line);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(plain_append);

constexpr unsigned char kDigest[16] = {0xD4, 0x1D, 0x8C, 0xD9, 0x8F, 0x00, 0xB2, 0x04,
                                       0xE9, 0x80, 0x09, 0x98, 0xEC, 0xF8, 0x42, 0x7E};

void digest_text(benchmark::State &state) {
  char text[33];
  for (auto _ : state) {
    hex_to_str(kDigest, text, 32);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(digest_text);

void plain_digest_text(benchmark::State &state) {
  char text[33];
  for (auto _ : state) {
    for (int i = 0; i < 16; ++i)
      std::snprintf(text + 2 * i, 3, "%02x", kDigest[i]);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(plain_digest_text);

}  // namespace
