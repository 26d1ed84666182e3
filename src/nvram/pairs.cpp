// Pairs of the configuration store: a fixed-size hash table in shared memory whose chains continue
// in overflow entries.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "internal/big_endian.h"
#include "internal/fail.h"
#include "internal/owners.h"
#include "talvera/nvram.h"

void *nvram_hash = nullptr;

namespace talvera::nvram {
namespace {

constexpr int kBuckets = 256;
constexpr int kFirstBucket = 1;
constexpr int kFirstOverflow = kFirstBucket + kBuckets;

struct Entry {
  char name[NVRAM_NAME_SIZE];
  char value[NVRAM_VALUE_SIZE];
  std::uint8_t used;
  std::uint8_t next[2];
};
static_assert(sizeof(Entry) == NVRAM_ENTRY_SIZE && alignof(Entry) == 1);

void link(Entry &entry, int next) {
  store_be16(entry.next, static_cast<std::uint16_t>(next));
}

// The attached table, or null. A program may have stored the failure value of shmat(), -1.
Entry *table() {
  return reinterpret_cast<std::intptr_t>(nvram_hash) != -1 ? static_cast<Entry *>(nvram_hash)
                                                           : nullptr;
}

// The next entry of the chain; null at the end and for a corrupt link that leads out of the table.
[[gnu::noinline]] Entry *next_of(Entry *entries, const Entry &entry) {
  const unsigned int index = load_be16(entry.next);  // a negative index is too large, too
  if (index == 0 || index >= NVRAM_ENTRIES) return nullptr;
  return entries[index].used != 0 ? entries + index : nullptr;
}

// Looks up a name. Locks the segment in memory as long as it exists; the unlock preserves errno.
class Lookup {
 public:
  [[gnu::noinline]] explicit Lookup(const char *name);
  [[gnu::noinline]] ~Lookup() {
    if (nvram_shmid < 0) return;
    const ErrnoSaver saver;
    nvram_unlock();
  }
  Lookup(const Lookup &) = delete;
  Lookup &operator=(const Lookup &) = delete;

  Entry *entries = table();
  Entry *bucket = nullptr;    // of the name; null without a table or a name
  Entry *entry = nullptr;     // of the name, if there is one
  Entry *previous = nullptr;  // the entry before it, or the last of the chain if there is none
  // Steps left on the chain: as many as the table has entries, in case a corrupt chain is circular.
  int left = NVRAM_ENTRIES;
};

Lookup::Lookup(const char *name) {
  if (nvram_shmid >= 0) nvram_lock();
  if (entries == nullptr || name == nullptr) return;
  std::uint32_t hash = 0;
  // The signedness of char does not affect the bucket: it cancels out modulo 256.
  const auto *const start = reinterpret_cast<const std::uint8_t *>(name);
  const std::uint8_t *end = start;
  for (; *end != 0; ++end)
    hash = hash * 31 + *end;
  bucket = entries + kFirstBucket + hash % kBuckets;
  // Compares the terminator too if it fits the field, so that a longer stored name does not match.
  const auto size = std::min<std::size_t>(end - start + 1, NVRAM_NAME_SIZE);
  Entry *next = bucket->used != 0 ? bucket : nullptr;
  while (next != nullptr && std::memcmp(next->name, name, size) != 0) {
    previous = next;
    next = --left > 0 ? next_of(entries, *next) : nullptr;
  }
  entry = next;
}

// Copies at most `size` characters and pads with NULs, without a terminator at full length. The
// text may be part of the field.
[[gnu::noinline]] void store_text(char *field, std::size_t size, const char *text) {
  const std::size_t length = strnlen(text, size);
  std::memmove(field, text, length);
  std::memset(field + length, 0, size - length);
}

// Names and values remain in released entries.
void release(Entry &entry) {
  entry.used = 0;
  link(entry, 0);
}

// Index of a free overflow entry, or 0.
int free_overflow_entry(const Entry *entries) {
  for (int index = kFirstOverflow; index < NVRAM_ENTRIES; ++index) {
    if (entries[index].used == 0) return index;
  }
  return 0;
}

// The first entry of a chain is at a fixed index: the second entry moves there.
void remove_first(Entry *entries, Entry &bucket) {
  Entry *second = next_of(entries, bucket);
  if (second == nullptr) return release(bucket);
  bucket = *second;
  release(*second);
}

}  // namespace
}  // namespace talvera::nvram

using namespace talvera::nvram;

extern "C" char *nvram_get(const char *name) {
  const Lookup found(name);
  return found.entry != nullptr ? found.entry->value : nullptr;
}

extern "C" int nvram_set(const char *name, const char *value) {
  const Lookup found(name);
  if (found.bucket == nullptr || value == nullptr) return talvera::fail(EINVAL);
  if (found.left == 0) return talvera::fail(ELOOP);
  Entry *entry = found.entry;
  int index = 0;
  if (found.entry == nullptr) {
    entry = found.bucket;
    if (found.previous != nullptr) {
      index = free_overflow_entry(found.entries);
      if (index == 0) {
        std::fputs("NVRAM runs out of space!\n", stderr);
        (void)talvera::fail(ENOMEM);
        return NVRAM_FULL;
      }
      entry = found.entries + index;
    }
    store_text(entry->name, sizeof entry->name, name);
  }
  store_text(entry->value, sizeof entry->value, value);
  if (found.entry == nullptr) {
    link(*entry, 0);
    entry->used = 1;
    if (found.previous != nullptr) link(*found.previous, index);  // to a complete entry
  }
  return 0;
}

extern "C" int nvram_unset(const char *name) {
  const Lookup found(name);
  if (found.bucket == nullptr) return talvera::fail(EINVAL);
  if (found.entry == nullptr) return 0;
  if (found.previous == nullptr) {
    remove_first(found.entries, *found.entry);
  } else {
    std::memcpy(found.previous->next, found.entry->next, sizeof found.entry->next);
    release(*found.entry);
  }
  return 0;
}

extern "C" void nvram_show_all(void) {
  Entry *entries = table();
  if (entries == nullptr) return;
  for (int bucket = kFirstBucket; bucket < kFirstOverflow; ++bucket) {
    const Entry *entry = entries[bucket].used != 0 ? entries + bucket : nullptr;
    for (int left = NVRAM_ENTRIES; entry != nullptr && left > 0; --left) {
      std::printf("%.*s: %.*s\n", NVRAM_NAME_SIZE, entry->name, NVRAM_VALUE_SIZE, entry->value);
      entry = next_of(entries, *entry);
    }
  }
}
