// Lookups in tables of values and their names.
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

#include "talvera/values.h"

namespace talvera::text {
namespace {

std::span<const ust_entry> entries(const ust_table &table) {
  return {table.entries, table.count};
}

// The index of the first matching entry, or -1. A plain loop is smaller than std::find_if(), which
// is unrolled four times.
template <typename Match>
int first_index(const ust_table &table, Match match) {
  for (const ust_entry &entry : entries(table)) {
    if (match(entry)) return static_cast<int>(&entry - table.entries);
  }
  return -1;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" const char *ust_lookup_name_by_value(const ust_table *table, int value) {
  const int index = ust_lookup_index_by_value(table, value);
  return index >= 0 ? table->entries[index].name : nullptr;
}

extern "C" int ust_lookup_index_by_value(const ust_table *table, int value) {
  return first_index(*table, [=](const ust_entry &entry) { return entry.value == value; });
}

extern "C" int ust_lookup_value_by_index(const ust_table *table, unsigned int index) {
  return index < table->count ? table->entries[index].value : -1;
}

extern "C" int ust_lookup_index_by_name(const ust_table *table, const char *name) {
  return first_index(*table,
                     [=](const ust_entry &entry) { return std::strcmp(entry.name, name) == 0; });
}

extern "C" int ust_lookup_index_by_name_i(const ust_table *table, const char *name) {
  return first_index(*table,
                     [=](const ust_entry &entry) { return strcasecmp(entry.name, name) == 0; });
}

extern "C" unsigned int ust_longest_strlen(const ust_table *table) {
  std::size_t longest = 0;
  for (const ust_entry &entry : entries(*table)) {
    longest = std::max(longest, std::strlen(entry.name));
  }
  return static_cast<unsigned>(longest);
}
