// Lists, digests, the configuration store.
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <list>

#include "rows.h"
#include "talvera/crc.h"
#include "talvera/list.h"
#include "talvera/md5.h"
#include "talvera/nvram.h"

namespace rows {
namespace {

// ---- Lists, vs. std::list and an array of pointers ----------------------------------------

using StdList = std::list<void *>;
constexpr unsigned kElements = 1000;

void *datum(unsigned i) {
  return reinterpret_cast<void *>(static_cast<std::uintptr_t>(i) + 1);
}

list_obj changing;
StdList standard_changing;

void append_and_fetch() {
  for (unsigned i = 0; i < kElements; ++i)
    list_append(&changing, datum(i));
  for (unsigned i = 0; i < kElements; ++i)
    check(list_fetch(&changing) == datum(i));
}

void standard_append_and_fetch() {
  for (unsigned i = 0; i < kElements; ++i)
    standard_changing.push_back(datum(i));
  for (unsigned i = 0; i < kElements; ++i) {
    check(standard_changing.front() == datum(i));
    standard_changing.pop_front();
  }
}

list_obj queue;
StdList standard_queue;

// Takes from the head and appends again, like a work queue; at most four elements are out.
void cycle() {
  void *taken[4];
  for (void *&data : taken)
    data = list_fetch(&queue);
  for (void *data : taken)
    list_append(&queue, data);
}

void standard_cycle() {
  void *taken[4];
  for (void *&data : taken) {
    data = standard_queue.front();
    standard_queue.pop_front();
  }
  for (void *data : taken)
    standard_queue.push_back(data);
}

list_obj filled;
StdList standard_filled;

void iterate() {
  std::uintptr_t sum = 0;
  list_iterator_start(&filled);
  while (list_iterator_hasnext(&filled) != 0)
    sum += reinterpret_cast<std::uintptr_t>(list_iterator_next(&filled));
  list_iterator_stop(&filled);
  keep(sum);
}

void standard_iterate() {
  std::uintptr_t sum = 0;
  for (void *data : standard_filled)
    sum += reinterpret_cast<std::uintptr_t>(data);
  keep(sum);
}

void get_at() {
  for (unsigned i = 0; i < 50; ++i)
    check(list_get_at(&filled, i * 19 + 7) == datum(i * 19 + 7));
}

// From the nearer end.
void plain_get_at() {
  for (unsigned i = 0; i < 50; ++i) {
    const unsigned position = i * 19 + 7;
    auto at = standard_filled.begin();
    if (position < kElements / 2) {
      for (unsigned steps = position; steps > 0; --steps)
        ++at;
    } else {
      at = standard_filled.end();
      for (unsigned steps = kElements - position; steps > 0; --steps)
        --at;
    }
    check(*at == datum(position));
  }
}

std::array<std::int32_t, kElements> numbers;
list_obj sorted;
const std::int32_t *sorted_array[kElements];

void refill() {
  list_elem *element = sorted.head->next;
  for (std::int32_t &number : numbers) {
    element->data = &number;
    element = element->next;
  }
}

void sort_list() {
  refill();
  list_sort(&sorted, 1);
}

int compare_pointers(const void *a, const void *b) {
  return list_comparator_int32_t(*static_cast<const void *const *>(b),
                                 *static_cast<const void *const *>(a));
}

void sort_array() {
  for (unsigned i = 0; i < kElements; ++i)
    sorted_array[i] = &numbers[i];
  std::qsort(sorted_array, kElements, sizeof(void *), compare_pointers);
}

// ---- Digests ---------------------------------------------------------------------------------

constexpr unsigned kBlock = 4096;
unsigned char data[kBlock];

// The table loops of a program without the library.
template <typename Word, bool kMsbFirst, std::uint32_t kPolynomial>
class PlainTable {
 public:
  PlainTable() {
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t crc = kMsbFirst ? i << (kWidth - 8) : i;
      for (int bit = 0; bit < 8; ++bit) {
        const bool out = (crc >> (kMsbFirst ? kWidth - 1 : 0) & 1) != 0;
        crc = (kMsbFirst ? crc << 1 : crc >> 1) ^ (out ? kPolynomial : 0);
      }
      entries_[i] = static_cast<Word>(crc);
    }
  }
  [[gnu::noinline]] Word run(Word crc, const unsigned char *bytes, unsigned size) const {
    for (unsigned i = 0; i < size; ++i) {
      if constexpr (kMsbFirst) {
        crc = static_cast<Word>(entries_[bytes[i] ^ crc >> (kWidth - 8)] ^ crc << 8);
      } else {
        crc = static_cast<Word>(entries_[(crc ^ bytes[i]) & 0xFF] ^ crc >> 8);
      }
    }
    return crc;
  }

 private:
  static constexpr unsigned kWidth = sizeof(Word) * 8;
  Word entries_[256];
};

template <auto kFunction, unsigned kSize>
void crc() {
  const auto result = kFunction(0, data, kSize);
  keep(result);
}

template <typename Word, bool kMsbFirst, std::uint32_t kPolynomial, unsigned kSize>
void plain_crc() {
  static const PlainTable<Word, kMsbFirst, kPolynomial> table;
  const Word result = table.run(0, data, kSize);
  keep(result);
}

template <unsigned kSize>
void md5() {
  unsigned char digest[MD5_DIGEST_SIZE];
  MD5_digest(data, kSize, digest);
  keep(digest);
}

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
template <unsigned kSize>
void openssl_md5() {
  unsigned char digest[MD5_DIGEST_SIZE];
  MD5_CTX context;
  MD5_Init(&context);
  MD5_Update(&context, data, kSize);
  MD5_Final(digest, &context);
  keep(digest);
}

// ---- The configuration store, vs. the environment -----------------------------------------

constexpr int kPairs = 100;
constexpr char kAbsent[] = "wan.pppoe.session.absent";
char names[kPairs][32];
char table[NVRAM_SEGMENT_SIZE];

void get_each() {
  for (const char *name : names)
    check(nvram_get(name) != nullptr);
}

void getenv_each() {
  for (const char *name : names)
    check(std::getenv(name) != nullptr);
}

void get_absent() {
  check(nvram_get(kAbsent) == nullptr);
}

void getenv_absent() {
  check(std::getenv(kAbsent) == nullptr);
}

void set_again() {
  check(nvram_set(names[50], "another value") == 0);
}

void setenv_again() {
  check(setenv(names[50], "another value", 1) == 0);
}

constexpr std::uint32_t kPoly32Be = 0x04C11DB7;
constexpr std::uint32_t kPoly32Le = 0xEDB88320;

constexpr Row kRows[] = {
    {"list_append and list_fetch of 1,000, vs. std::list", append_and_fetch,
     standard_append_and_fetch},
    {"4 elements taken and appended again", cycle, standard_cycle},
    {"iteration over 1,000 elements", iterate, standard_iterate},
    {"list_get_at, 50 times of 1,000, vs. std::list", get_at, plain_get_at},
    {"list_sort of 1,000, vs. qsort of pointers", sort_list, sort_array},
    {"crc32_le of 64 bytes, vs. a plain loop", crc<crc32_le, 64>,
     plain_crc<std::uint32_t, false, kPoly32Le, 64>},
    {"crc32_le of 4 KiB", crc<crc32_le, kBlock>,
     plain_crc<std::uint32_t, false, kPoly32Le, kBlock>},
    {"crc32_be of 4 KiB", crc<crc32_be, kBlock>, plain_crc<std::uint32_t, true, kPoly32Be, kBlock>},
    {"crc16_le of 4 KiB", crc<crc16_le, kBlock>, plain_crc<std::uint16_t, false, 0x8408, kBlock>},
    {"crc16_be of 4 KiB", crc<crc16_be, kBlock>, plain_crc<std::uint16_t, true, 0x1021, kBlock>},
    {"crc8 of 4 KiB", crc<crc8, kBlock>, plain_crc<std::uint8_t, true, 0xD5, kBlock>},
    {"MD5 of 64 bytes, vs. OpenSSL", md5<64>, openssl_md5<64>},
    {"MD5 of 4 KiB", md5<kBlock>, openssl_md5<kBlock>},
    {"nvram_get, 100 of 100, vs. getenv", get_each, getenv_each},
    {"nvram_get, absent", get_absent, getenv_absent},
    {"nvram_set of a name that is there, vs. setenv", set_again, setenv_again},
};

}  // namespace

const std::span<const Row> kData = kRows;

void prepare_data() {
  for (list_obj *list : {&changing, &queue, &filled, &sorted})
    check(list_init(list) == 0);
  list_attributes_comparator(&sorted, list_comparator_int32_t);
  std::uint32_t state = 2;
  for (unsigned i = 0; i < 100; ++i) {
    list_append(&queue, datum(i));
    standard_queue.push_back(datum(i));
  }
  for (unsigned i = 0; i < kElements; ++i) {
    list_append(&filled, datum(i));
    standard_filled.push_back(datum(i));
    state = state * 1664525 + 1013904223;
    numbers[i] = static_cast<std::int32_t>(state);
    list_append(&sorted, &numbers[i]);
  }
  for (unsigned i = 0; i < kBlock; ++i)
    data[i] = static_cast<unsigned char>(i * 7);

  static constexpr const char *kPrefixes[] = {"wan.ifname.", "lan.dhcp.lease.", "wl.ssid.",
                                              "system.firmware.", "fw.pinhole.rule."};
  nvram_shmid = -1;  // private memory, without locks
  nvram_hash = table;
  clearenv();
  for (int i = 0; i < kPairs; ++i) {
    std::snprintf(names[i], sizeof names[i], "%s%d", kPrefixes[i % 5], i);
    check(nvram_set(names[i], "value") == 0 && setenv(names[i], "value", 1) == 0);
  }
}

}  // namespace rows
