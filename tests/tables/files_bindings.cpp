// Bindings of the ordered lists of files.
#include <cstring>
#include <random>
#include <span>

#include "runner/bind.h"
#include "talvera/of.h"

FIELDS(of_file_info, &R::name, &R::enable, &R::order, &R::flags);

namespace talvera::test {
namespace {

// ---- Filters ----------------------------------------------------------------------------------

int listed(const char *name) {
  return std::strcmp(name, ".order") != 0 ? -2 : 0;
}
int pictures(const char *name) {
  return std::strstr(name, ".jpg") != nullptr ? 1 : 0;
}
int calls, accept_from, accept_to;
int fickle(const char *) {
  const int call = calls++;
  return accept_from <= call && call < accept_to ? 1 : 0;
}
SYMBOLS(listed, pictures);

// ---- Sets -------------------------------------------------------------------------------------

// A set from a folder's files or, if a name is given, from a database; freed afterwards.
struct Loaded {
  static inline of_files_info *const kUntouched = reinterpret_cast<of_files_info *>(0x10);
  of_files_info *set = kUntouched;
  int result;

  explicit Loaded(of_filter filter, const char *dir, const char *name = nullptr, int create = 0)
      : result(name == nullptr
                   ? of_init_files_info(&set, filter, dir)
                   : of_deserialize(&set, filter, dir, name, static_cast<std::uint8_t>(create))) {}
  ~Loaded() {
    if (result == 0) of_free_files_info(&set);
  }
  // The version, and each item in the format of the file.
  Result shown() {
    if (result != 0) return {result, set == nullptr ? "null" : set == kUntouched ? "" : "set"};
    std::string text = static_cast<void *>(set->items) != set + 1 ? "in another block" : "";
    for (const of_file_info &item : std::span(set->items, static_cast<std::size_t>(set->count))) {
      char line[80];
      std::snprintf(line, sizeof line, "%d:%d:%x:%s", item.order, item.enable, item.flags,
                    item.name);
      text += (text.empty() ? "" : " ") + in_quotes({line, std::strlen(line) + 1});
    }
    return {set->version, text};
  }
};

BIND(of_sync_dbfile, of_set_enable_for_item, of_set_flags_for_item, of_free_files_info);
BIND_AS(of_init_files_info,
        [](of_filter filter, const char *dir) { return Loaded(filter, dir).shown(); });
BIND_AS(of_deserialize, [](of_filter filter, const char *dir, const char *name, int create) {
  return Loaded(filter, dir, name, create).shown();
});
// Reads a set from a file with this content.
BIND_AS(read, [](Call &call, const std::string &content) {
  const TempDir &folder = call.session().folder();
  folder.write(".order", content);
  return Loaded(listed, folder.path().c_str(), ".order", 1).shown();
});
BIND_AS(save, [](Call &call, const std::string &content, const char *dir, const char *name) {
  call.session().folder().write("from", content);
  const Loaded loaded(listed, call.session().folder().path().c_str(), "from");
  return of_serialize(loaded.set, dir, name);
});
// Lists with a filter that accepts a range of its calls.
BIND_AS(list_fickle, [](const char *dir, int from, int to) {
  calls = 0;
  accept_from = from;
  accept_to = to;
  return Loaded(fickle, dir).shown();
});

// ---- Items ------------------------------------------------------------------------------------

std::string index(const of_files_info *set, const of_file_info *item) {
  return item != nullptr ? std::to_string(item - set->items) : "none";
}
// The indices of the items found by name and by order.
BIND_AS(find, [](const char *dir, const char *name, int order) {
  const Loaded loaded(listed, dir, ".order");
  return index(loaded.set, of_get_file_info_from_name(loaded.set, name)) + ' ' +
         index(loaded.set, of_get_file_info_from_order(loaded.set, order));
});
// move (ORDERS) INDEX ORDER: the result and all orders.
BIND_AS(move, [](Call &call) -> Result {
  std::vector<of_file_info> items;
  for (const Value &order : call.take().fields)
    items.push_back({"", 0, static_cast<std::int32_t>(order.number), 0});
  of_files_info set = {1, static_cast<std::int32_t>(items.size()), items.data()};
  of_file_info &item = items[static_cast<std::size_t>(call.take().number)];
  const auto order = static_cast<std::int32_t>(call.take().number);
  const int result = of_set_order_for_item(&set, &item, order);
  std::string orders;
  for (const of_file_info &each : items)
    orders += (orders.empty() ? "" : " ") + std::to_string(each.order);
  return {result, orders};
});

// ---- Synchronisation ----------------------------------------------------------------------------

// sync, sync CONTENT: synchronises the existing or this list, and shows it.
BIND_AS(sync, [](Call &call) {
  const TempDir &folder = call.session().folder();
  if (call.has_more()) folder.write(".order", call.take().bytes.c_str());
  const int result = of_sync_dbfile(listed, folder.path().c_str(), ".order");
  return std::to_string(result) + ' ' + in_quotes(read_file(folder / ".order") + '\0');
});

// The reference implementation: one move after the other.
void move_one_by_one(of_files_info *current, of_files_info *saved) {
  for (const bool known_ones : {true, false}) {
    for (int i = 0; i < current->count; ++i) {
      of_file_info &item = current->items[i];
      const of_file_info *known = of_get_file_info_from_name(saved, item.name);
      if ((known != nullptr) != known_ones) continue;
      of_set_order_for_item(current, &item, known_ones ? known->order : 1);
      item.enable = known_ones ? known->enable : item.enable;
      item.flags = known_ones ? known->flags : item.flags;
    }
  }
}

// Some names share their first 31 characters, which are all that a list stores.
std::string name(unsigned number) {
  return std::string(number % 3 == 0 ? 29 : 3, 'n') + std::to_string(100 + number);
}

// The first of many random lists for which the result differs from sequential moves. Lists contain
// some of the files and others, with orders in and out of range and many duplicates.
BIND_AS(list_that_differs, []() -> std::string {
  std::mt19937 random(11);
  const auto below = [&random](unsigned limit) { return static_cast<int>(random() % limit); };
  for (unsigned files = 1; files <= 40; ++files) {
    const TempDir folder, aside;
    const char *const dir = folder.path().c_str();
    for (unsigned i = 0; i < files; ++i)
      folder.write(name(i), "");
    for (int round = 0; round < 8; ++round) {
      const int lines = below(2 * files + 1);
      std::string list = "#1:" + std::to_string(lines) + '\n';
      for (int line = 1; line <= lines; ++line) {
        for (const int number : {round % 2 == 0 ? line : below(files + 4) - 1, below(3), below(10)})
          list += std::to_string(number) + ':';
        list += name(static_cast<unsigned>(below(files + 3))).substr(0, 31) + '\n';
      }
      folder.write(".order", list);
      const Loaded current(listed, dir), saved(listed, dir, ".order");
      move_one_by_one(current.set, saved.set);
      of_serialize(current.set, aside.path().c_str(), "expected");
      if (of_sync_dbfile(listed, dir, ".order") != 0 ||
          read_file(folder / ".order") != read_file(aside / "expected"))
        return in_quotes(list + '\0');
    }
  }
  return "none";
});

}  // namespace
}  // namespace talvera::test
