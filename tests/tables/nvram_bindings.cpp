// Bindings of the configuration store.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "runner/bind.h"
#include "talvera/nvram.h"

namespace talvera::test {
namespace {

// An entry of the table, without the NUL padding of its texts.
struct Entry {
  char name[NVRAM_NAME_SIZE], value[NVRAM_VALUE_SIZE];
  std::uint8_t used, next[2];
};

// Restores the library's variables at the end of the group.
struct Variables {
  static inline const std::int32_t kShmid = nvram_shmid;
  ~Variables() {
    nvram_shmid = kShmid;
    nvram_hash = nullptr;
  }
};

Entry *entries() {
  return static_cast<Entry *>(nvram_hash);
}

std::string shown(const char *field, std::size_t size) {
  const std::string_view bytes(field, size);
  return in_quotes(std::string(bytes.substr(0, bytes.find_last_not_of('\0') + 1)) + '\0');
}

BIND(nvram_init, nvram_open, nvram_id, nvram_attach, nvram_detach, nvram_exit, nvram_stat,
     nvram_lock, nvram_unlock, nvram_set, nvram_get, nvram_unset, nvram_show_all);
BIND_AS(get, [](const char *name) {
  const char *const value = nvram_get(name);
  return value == nullptr ? "none" : in_quotes({value, strnlen(value, NVRAM_VALUE_SIZE)});
});
// Sets a pair to its own value from character `from` on.
BIND_AS(set_own,
        [](const char *name, int from) { return nvram_set(name, nvram_get(name) + from); });
BIND_AS(lines_shown, [](Call &call) {
  nvram_show_all();
  const std::string shown = call.session().effects().at(0);
  return std::count(shown.begin(), shown.end(), '\\');  // the escaped line feeds
});

constexpr int kRounds = 300, kNames = 40;

// Sets each name in turn under a lock, and checks that its value has not changed since.
bool hammer(const std::string &lock, const std::string &prefix) {
  const int turn = open(lock.c_str(), O_RDONLY);
  bool well = true;
  for (int i = 0; i < kRounds * kNames; ++i) {
    const std::string name = prefix + std::to_string(i % kNames);
    flock(turn, LOCK_EX);
    const char *const value = nvram_get(name.c_str());
    well = well && (value != nullptr ? value == std::to_string(i / kNames - 1) : i < kNames);
    if (i % 3 == 1) nvram_unset(name.c_str());
    well = well && nvram_set(name.c_str(), std::to_string(i / kNames).c_str()) == 0;
    flock(turn, LOCK_UN);
  }
  return well;
}
// Two writers, whose names share chains, with a lock of their own, and a reader without a lock: how
// many processes fail, and the last values.
BIND_AS(writers, [](Call &call) {
  const Bypass guard;
  const std::string lock = call.session().folder().write("lock", "");
  call.session().state<Variables>();
  nvram_hash =
      mmap(nullptr, NVRAM_SEGMENT_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  for (const char *prefix : {"Aa.", "BB."})
    if (fork() == 0) std::_Exit(hammer(lock, prefix) ? 0 : 1);
  if (fork() == 0) {
    for (int i = 0; i < 100000; ++i)
      nvram_get(("Aa." + std::to_string(i % kNames)).c_str());
    std::_Exit(0);
  }
  int failed = 0;
  for (int status; wait(&status) > 0;)
    failed += status != 0;
  return failed;
});

// Creates an empty table, "$store", or sets the table's address.
DIRECTIVE(store, [](Call &call) {
  call.session().state<Variables>();
  nvram_hash = call.has_more() ? reinterpret_cast<void *>(to_number(call, call.take()))
                               : call.session().object("store", NVRAM_SEGMENT_SIZE, 1, true).data;
});
DIRECTIVE(shmid, [](Call &call, int id) {
  call.session().state<Variables>();
  nvram_shmid = id;
});
DIRECTIVE(variables,
          [] { return std::to_string(nvram_shmid) + (nvram_hash == nullptr ? " null" : " set"); });
// put INDEX NAME VALUE USED NEXT: writes an entry as another program might.
DIRECTIVE(put,
          [](int index, const std::string &name, const std::string &value, int used, int next) {
            Entry &entry = entries()[index];
            entry = {};
            name.copy(entry.name, sizeof entry.name);
            value.copy(entry.value, sizeof entry.value);
            entry.used = static_cast<std::uint8_t>(used);
            entry.next[0] = static_cast<std::uint8_t>(next >> 8);
            entry.next[1] = static_cast<std::uint8_t>(next);
          });
DIRECTIVE(entry, [](int index) {
  const Entry &entry = entries()[index];
  return shown(entry.name, sizeof entry.name) + ' ' + shown(entry.value, sizeof entry.value) + ' ' +
         std::to_string(entry.used) + ' ' + std::to_string(entry.next[0] << 8 | entry.next[1]);
});
// The indices of the entries in use.
DIRECTIVE(used, [] {
  std::string found;
  for (int i = 0; i < NVRAM_ENTRIES; ++i)
    if (entries()[i].used != 0) found += (found.empty() ? "" : " ") + std::to_string(i);
  return found.empty() ? "none" : found;
});

}  // namespace
}  // namespace talvera::test
