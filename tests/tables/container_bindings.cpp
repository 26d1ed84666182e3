// Bindings of lists, checksums and digests. Lists store numbers in place of addresses.
#include <algorithm>
#include <climits>
#include <cstdlib>

#include "runner/bind.h"
#include "talvera/crc.h"
#include "talvera/list.h"
#include "talvera/md5.h"

namespace talvera::test {
namespace {

std::intptr_t number(const void *datum) {
  return reinterpret_cast<std::intptr_t>(datum);
}

int sign(int value) {
  return (value > 0) - (value < 0);
}

// ---- Callbacks --------------------------------------------------------------------------------

int comparisons;

// Returns extreme results.
int by_number(const void *a, const void *b) {
  ++comparisons;
  return number(a) == number(b) ? 0 : number(a) < number(b) ? INT_MAX : INT_MIN;
}
int by_tens(const void *a, const void *b) {
  return static_cast<int>(number(b) / 10 - number(a) / 10);
}
int never_equal(const void *, const void *) {
  return -1;
}
int two_below(const void *a, const void *b) {
  return static_cast<int>(number(a) + 2 - number(b));
}
int exceeds(const void *datum, const void *indicator) {
  return number(datum) > number(indicator) ? -1 : 0;
}
std::uint32_t doubled(const void *datum) {
  return static_cast<std::uint32_t>(2 * number(datum));
}
SYMBOLS(by_number, by_tens, never_equal, two_below, exceeds, doubled);

// ---- Lists ------------------------------------------------------------------------------------

bool is_unmade(const list_obj &list) {
  return reinterpret_cast<const char *>(&list)[0] == GuardedBuffer::kFill;
}

// The data, if all links, the count, the middle and the spare elements are consistent.
std::string shown(const list_obj &list) {
  if (is_unmade(list)) return "_";
  if (list.head == nullptr) return "none";
  std::vector<std::string> data;
  const list_elem *middle = list.mid, *element = list.head;
  while (element->next != list.tail && data.size() <= list.count) {
    if (element->next == nullptr || element->next->prev != element) return "wrong link";
    element = element->next;
    if (data.size() == (list.count - 1) / 2) middle = element;
    const void *const datum = element->data;
    const bool copied = list.attrs.copy_data != 0 && datum != nullptr;
    data.push_back(copied ? in_quotes({static_cast<const char *>(datum), list.attrs.meter(datum)})
                          : std::to_string(number(datum)));
  }
  const list_elem &head = *list.head, &tail = *list.tail;
  const bool sound = head.data == nullptr && head.prev == nullptr && tail.data == nullptr &&
                     tail.next == nullptr && tail.prev == element && middle == list.mid &&
                     data.size() == list.count && list.spare_count <= LIST_SPARES_MAX;
  return (sound ? '(' : '!') + collapsed(data, " ") + ')';
}

struct Destroy {
  void operator()(list_obj *list) const {
    if (!is_unmade(*list)) list_destroy(list);
    std::memset(list, GuardedBuffer::kFill, sizeof *list);
  }
};

}  // namespace

// A temporary list, (by_tens 1 2) with comparator and data; an object of the group, $list; or
// uninitialised memory, _. Shown when changed.
template <typename T>
requires std::same_as<std::remove_const_t<T>, list_obj>
class Arg<T *> {
 public:
  explicit Arg(Call &call) {
    const Value &value = call.take();
    if (value.kind == Value::kNull) return;
    Memory memory(call, value, sizeof(list_obj), alignof(list_obj), false);
    list_ = reinterpret_cast<list_obj *>(memory.data());
    if (value.kind != Value::kObject) own_.reset(list_);
    if (value.kind == Value::kRecord) list_init(list_);
    for (const Value &datum : value.fields) {
      if (datum.kind == Value::kName) {
        void *const comparator = const_cast<void *>(symbol(datum.bytes));
        list_attributes_comparator(list_, reinterpret_cast<list_comparator_fn>(comparator));
      } else {
        list_append(list_, memory_of(call, datum));
      }
    }
    before_ = shown(*list_);
  }
  T *pass() { return list_; }
  void print(Call &call) {
    if (list_ != nullptr && shown(*list_) != before_) call.print(shown(*list_));
  }

 private:
  list_obj *list_ = nullptr;
  std::unique_ptr<list_obj, Destroy> own_;
  std::string before_;
};

}  // namespace talvera::test

FIELDS(list_attrs, &R::comparator, &R::seeker, &R::meter, &R::copy_data, &R::hash_computer,
       &R::serializer, &R::unserializer);

namespace talvera::test {
namespace {

BIND(list_init, list_concat, list_attributes_comparator, list_attributes_seeker,
     list_attributes_copy, list_attributes_hash_computer, list_attributes_serializer,
     list_attributes_unserializer, list_insert_at, list_append, list_prepend, list_get_at,
     list_extract_at, list_fetch, list_delete_at, list_delete_range, list_clear, list_size,
     list_empty, list_locate, list_contains, list_seek, list_get_max, list_get_min, list_sort,
     list_hash, list_iterator_start, list_iterator_next, list_iterator_hasnext, list_iterator_stop,
     free);
BIND_AS(list_destroy, [](list_obj *list) { Destroy()(list); });
BIND_AS(attributes, [](Call &call, const list_obj *list) { return show(call, list->attrs); });

// Whether the shared random number generator is in the state after this seed.
BIND_AS(is_seeded, [](unsigned seed) {
  const long drawn = random();
  srandom(seed);
  return drawn == random();
});

// Looks up a position while only the links between two elements, counted from the head (0), are
// intact.
BIND_AS(get_within, [](list_obj *list, unsigned first, unsigned last, unsigned position) {
  std::vector<std::pair<list_elem *, list_elem>> saved;
  for (list_elem *element = list->head; element != nullptr; element = element->next)
    saved.emplace_back(element, *element);
  for (unsigned i = 0; i < saved.size(); ++i) {
    if (i < first || i >= last) saved[i].first->next = nullptr;
    if (i <= first || i > last) saved[i].first->prev = nullptr;
  }
  void *const datum = list_get_at(list, position);
  for (const auto &[element, content] : saved)
    *element = content;
  return datum;
});

// Sorts the numbers i * step % modulus.
BIND_AS(sorts, [](list_comparator_fn comparator, int size, int direction, int step, int modulus) {
  list_obj list;
  list_init(&list);
  list_attributes_comparator(&list, comparator);
  std::vector<std::intptr_t> expected, sorted;
  for (int i = 0; i < size; ++i) {
    expected.push_back(i * step % modulus);
    list_append(&list, reinterpret_cast<const void *>(expected.back()));
  }
  std::sort(expected.begin(), expected.end());
  if (direction < 0) std::reverse(expected.begin(), expected.end());
  comparisons = 0;
  list_sort(&list, direction);
  for (int i = 0; i < size; ++i)
    sorted.push_back(number(list_fetch(&list)));
  list_destroy(&list);
  if (comparisons > 60 * size) return std::string("slow");
  if (sorted == expected) return std::string("sorted");
  std::sort(sorted.begin(), sorted.end());
  return std::string(sorted == expected ? "unsorted" : "lost");
});

// ---- Predefined comparators, meters and hash functions ----------------------------------------

#define TYPE(type)                                                              \
  BIND_AS(list_comparator_##type,                                               \
          [](type a, type b) { return sign(list_comparator_##type(&a, &b)); }); \
  BIND_AS(list_hashcomputer_##type, [](type value) { return list_hashcomputer_##type(&value); })
TYPE(int8_t);
TYPE(int16_t);
TYPE(int32_t);
TYPE(int64_t);
TYPE(uint8_t);
TYPE(uint16_t);
TYPE(uint32_t);
TYPE(uint64_t);
TYPE(float);
TYPE(double);
BIND(list_meter_int8_t, list_meter_uint8_t, list_meter_int16_t, list_meter_uint16_t,
     list_meter_int32_t, list_meter_uint32_t, list_meter_float, list_meter_int64_t,
     list_meter_uint64_t, list_meter_double, list_meter_string, list_hashcomputer_string);
BIND_AS(list_comparator_string,
        [](const char *a, const char *b) { return sign(list_comparator_string(a, b)); });

// ---- Checksums and digests --------------------------------------------------------------------

const unsigned char *bytes(const std::string &text) {
  return reinterpret_cast<const unsigned char *>(text.data());
}

BIND(crc32_be, crc32_le, crc16_be, crc16_le, crc8);
// Published check values: hexadecimal, with the final exclusive-or.
BIND_AS(check,
        [](decltype(crc8) *crc, unsigned start, const std::string &text, unsigned inversion) {
          char digits[9];
          const auto size = static_cast<unsigned>(text.size());
          std::snprintf(digits, sizeof digits, "%X", crc(start, bytes(text), size) ^ inversion);
          return std::string(digits);
        });

BIND(UTIL_MD5, MD5_digest, MD5CInit, MD5CUpdate, MD5CFinal);
BIND_AS(md5_bits, [](const md5_context *context) {
  return context->count[0] | std::uint64_t{context->count[1]} << 32;
});
BIND_AS(md5_in_pieces, [](unsigned char *digest, const std::string &text, unsigned piece) {
  md5_context context;
  const md5_context cleared{};
  MD5CInit(&context);
  for (unsigned at = 0; at < text.size(); at += piece)
    MD5CUpdate(&context, bytes(text) + at,
               std::min(piece, static_cast<unsigned>(text.size()) - at));
  MD5CFinal(digest, &context);
  return std::memcmp(&context, &cleared, sizeof context);
});

}  // namespace
}  // namespace talvera::test
