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

// The index of the first entry whose name compares equal, or -1.
int first_index(const ust_table &table, const char *name, int compare(const char *, const char *)) {
  if (table.count == 0) return -1;
  const ust_entry *entry = table.entries;
  const ust_entry *const end = entry + table.count;
  while (compare(entry->name, name) != 0) {
    if (++entry == end) return -1;
  }
  return static_cast<int>(entry - table.entries);
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" const char *ust_lookup_name_by_value(const ust_table *table, int value) {
  for (const ust_entry &entry : entries(*table)) {
    if (entry.value == value) return entry.name;
  }
  return nullptr;
}

extern "C" int ust_lookup_index_by_value(const ust_table *table, int value) {
  for (const ust_entry &entry : entries(*table)) {
    if (entry.value == value) return static_cast<int>(&entry - table->entries);
  }
  return -1;
}

extern "C" int ust_lookup_value_by_index(const ust_table *table, unsigned int index) {
  return index < table->count ? table->entries[index].value : -1;
}

extern "C" int ust_lookup_index_by_name(const ust_table *table, const char *name) {
  return first_index(*table, name, std::strcmp);
}

extern "C" int ust_lookup_index_by_name_i(const ust_table *table, const char *name) {
  return first_index(*table, name, strcasecmp);
}

extern "C" unsigned int ust_longest_strlen(const ust_table *table) {
  std::size_t longest = 0;
  for (const ust_entry &entry : entries(*table)) {
    longest = std::max(longest, std::strlen(entry.name));
  }
  return static_cast<unsigned>(longest);
}
