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

// Locks the segment in memory during an operation. The unlock preserves the operation's errno.
class Pin {
 public:
  Pin() {
    if (nvram_shmid >= 0) nvram_lock();
  }
  ~Pin() {
    if (nvram_shmid < 0) return;
    const ErrnoSaver saver;
    nvram_unlock();
  }
  Pin(const Pin &) = delete;
  Pin &operator=(const Pin &) = delete;
};

// The attached table, or null. A program may have stored the failure value of shmat(), -1.
Entry *table() {
  return reinterpret_cast<std::intptr_t>(nvram_hash) != -1 ? static_cast<Entry *>(nvram_hash)
                                                           : nullptr;
}

// A name with its length and hash, computed in one pass.
class Name {
 public:
  explicit Name(const char *text) : text_(text) {
    const char *end = text;
    // The signedness of char does not affect the bucket: it cancels out modulo 256.
    for (; *end != '\0'; ++end)
      hash_ = hash_ * 31 + static_cast<std::uint8_t>(*end);
    length_ = static_cast<std::size_t>(end - text);
  }

  [[nodiscard]] int bucket() const { return static_cast<int>(hash_ % kBuckets) + kFirstBucket; }
  // Compares the terminator too if it fits the field, so that a longer stored name does not match.
  [[nodiscard]] bool matches(const Entry &entry) const {
    return std::memcmp(entry.name, text_, std::min<std::size_t>(length_ + 1, NVRAM_NAME_SIZE)) == 0;
  }
  [[nodiscard]] const char *text() const { return text_; }

 private:
  const char *text_;
  std::size_t length_;
  std::uint32_t hash_ = 0;
};

void link(Entry &entry, int next) {
  store_be16(entry.next, static_cast<std::uint16_t>(next));
}

// The next entry of the chain; null at the end, which is a link to an unused entry, and for a
// corrupt link, which leads out of the table.
Entry *next_of(Entry *entries, const Entry &entry) {
  // Read as unsigned, a negative index is also too large.
  const unsigned int index = load_be16(entry.next);
  if (index == 0 || index >= NVRAM_ENTRIES) return nullptr;
  return entries[index].used != 0 ? entries + index : nullptr;
}

// Iterates over the chain of a bucket. Ends after as many steps as the table has entries, in case a
// corrupt chain is circular.
class Chain {
 public:
  Chain(Entry *entries, int bucket) : entries_(entries), entry_(entries + bucket) {
    if (entry_->used == 0) entry_ = nullptr;
  }

  [[nodiscard]] Entry *entry() const { return entry_; }        // null past the end
  [[nodiscard]] Entry *previous() const { return previous_; }  // null at the first entry
  [[nodiscard]] bool is_circular() const { return left_ == 0; }
  void advance() {
    previous_ = entry_;
    entry_ = --left_ > 0 ? next_of(entries_, *entry_) : nullptr;
  }
  // Advances to the entry of a name; null if there is none.
  [[gnu::noinline]] Entry *find(const Name &name) {
    while (entry_ != nullptr && !name.matches(*entry_))
      advance();
    return entry_;
  }

 private:
  Entry *entries_;
  Entry *entry_;
  Entry *previous_ = nullptr;
  int left_ = NVRAM_ENTRIES;
};

// Copies at most `size` characters and pads with NULs, without a terminator at full length. The
// text may be part of the field.
[[gnu::noinline]] void store_text(char *field, std::size_t size, const char *text) {
  const std::size_t length = strnlen(text, size);
  std::memmove(field, text, length);
  std::memset(field + length, 0, size - length);
}

void fill(Entry &entry, const Name &name, const char *value) {
  store_text(entry.name, sizeof entry.name, name.text());
  store_text(entry.value, sizeof entry.value, value);
  link(entry, 0);
  entry.used = 1;
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

int append(Entry *entries, Entry &last, const Name &name, const char *value) {
  const int index = free_overflow_entry(entries);
  if (index == 0) {
    std::fputs("NVRAM runs out of space!\n", stderr);
    errno = ENOMEM;
    return NVRAM_FULL;
  }
  fill(entries[index], name, value);
  link(last, index);
  return 0;
}

// A chain's first entry has a fixed index, so the second entry moves there.
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
  const Pin pin;
  Entry *entries = table();
  if (entries == nullptr || name == nullptr) return nullptr;
  const Name wanted(name);
  Entry *found = Chain(entries, wanted.bucket()).find(wanted);
  return found != nullptr ? found->value : nullptr;
}

extern "C" int nvram_set(const char *name, const char *value) {
  const Pin pin;
  Entry *entries = table();
  if (entries == nullptr || name == nullptr || value == nullptr) return talvera::fail(EINVAL);
  const Name wanted(name);
  Chain chain(entries, wanted.bucket());
  if (Entry *found = chain.find(wanted)) {
    store_text(found->value, sizeof found->value, value);
    return 0;
  }
  if (chain.is_circular()) return talvera::fail(ELOOP);
  if (chain.previous() != nullptr) return append(entries, *chain.previous(), wanted, value);
  fill(entries[wanted.bucket()], wanted, value);
  return 0;
}

extern "C" int nvram_unset(const char *name) {
  const Pin pin;
  Entry *entries = table();
  if (entries == nullptr || name == nullptr) return talvera::fail(EINVAL);
  const Name wanted(name);
  Chain chain(entries, wanted.bucket());
  Entry *found = chain.find(wanted);
  if (found == nullptr) return 0;
  if (chain.previous() == nullptr) {
    remove_first(entries, *found);
  } else {
    std::memcpy(chain.previous()->next, found->next, sizeof found->next);
    release(*found);
  }
  return 0;
}

extern "C" void nvram_show_all(void) {
  Entry *entries = table();
  if (entries == nullptr) return;
  for (int bucket = kFirstBucket; bucket < kFirstOverflow; ++bucket) {
    for (Chain chain(entries, bucket); chain.entry() != nullptr; chain.advance()) {
      const Entry &entry = *chain.entry();
      std::printf("%.*s: %.*s\n", NVRAM_NAME_SIZE, entry.name, NVRAM_VALUE_SIZE, entry.value);
    }
  }
}
