// Bindings of files, commands, console, attributes, random numbers and host names.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cwchar>

#include "runner/bind.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

constexpr int kWriteNew = O_WRONLY | O_CREAT, kReadWriteNew = O_RDWR | O_CREAT;
constexpr int kReadWrite = PROT_READ | PROT_WRITE;
CONSTANTS(O_RDONLY, O_WRONLY, O_RDWR, kWriteNew, kReadWriteNew, PROT_READ, kReadWrite, F_OK, R_OK,
          X_OK);

BIND(dir_exists, uf_path_exists, uf_open, uf_fsize, uf_full_read, uf_full_write, file_diff,
     file_write_string, file_delete, rand_read, urand_read, rand_generate_uint32,
     urand_generate_uint32, hostname_to_addr);
DIRECTIVE(umask, [](unsigned mask) { umask(static_cast<mode_t>(mask)); });

// ---- Formatted texts: each binding has a format with several arguments --------------------------

BIND_AS(sdb_system, [](const char *command) { return sdb_system("%s%s", command, ""); });
BIND_AS(sdb_system_character, [](unsigned character) {
  return sdb_system("rm -r /tmp/%lc", static_cast<std::wint_t>(character));
});
BIND_AS(cons_printk, [](const char *text, int number) { return cons_printk(text, number); });
BIND_AS(file_access,
        [](const char *dir, int mode) { return file_access("%s/file%d", mode, dir, 7); });
BIND_AS(file_append_write, [](const char *dir, const char *text) {
  return file_append_write("%s/file%d", text, dir, 7);
});
BIND_AS(file_create_write, [](const char *dir, const char *text) {
  return file_create_write("%s/file%d", text, dir, 7);
});
BIND_AS(sysfs_get_attr, [](const char *dir, char *buffer, std::size_t size) {
  return sysfs_get_attr("%s/file%d", buffer, size, dir, 7);
});
BIND_AS(sysfs_set_attr, [](const char *dir, const char *text) {
  return sysfs_set_attr("%s/file%d", text, dir, 7);
});

// ---- Lists of files -----------------------------------------------------------------------------

struct List {
  dirent **entries = reinterpret_cast<dirent **>(0x10);
  int count = 0;
};
BIND_AS(uf_get_dirent_list, [](Call &call, const char *dir) -> Result {
  auto &list = call.session().state<List>();
  list.count = uf_get_dirent_list(dir, &list.entries);
  std::string names;
  for (int i = 0; i < list.count; ++i)
    names += (i > 0 ? " " : "") + std::string(list.entries[i]->d_name);
  return {list.count, list.count > 0 || list.entries == nullptr ? names : "and no null"};
});
BIND_AS(uf_contains_file_by_name, [](Call &call, int count, const char *name) {
  return uf_contains_file_by_name(call.session().state<List>().entries, count, name);
});
// Counts names that begin with "a".
BIND_AS(uf_filtered_file_count, [](Call &call, int count) {
  return uf_filtered_file_count(call.session().state<List>().entries, count,
                                [](const char *name) { return name[0] == 'a' ? -7 : 0; });
});
BIND_AS(uf_free_dirent_list, [](Call &call) {
  auto &list = call.session().state<List>();
  uf_free_dirent_list(&list.entries, list.count);
  uf_free_dirent_list(&list.entries, 0);
  uf_free_dirent_list(nullptr, 0);
  return list.entries == nullptr ? "null" : "not null";
});

// ---- Files --------------------------------------------------------------------------------------

BIND_AS(uf_readall, [](const char *dir, const char *name, OutBytes<true> &to) {
  return uf_readall(dir, name, &to.data, &to.length);
});

// Size and last byte of the record, which is overwritten if writable; checks the closed record.
BIND_AS(filemap_open, [](const char *path, int flags, int protection) -> Result {
  filemap file = {7, nullptr, nullptr, 7};
  const int result = filemap_open(path, &file, flags, protection);
  std::string text;
  if (result == 0) {
    char &last = static_cast<char *>(file.map)[file.size - 1];
    text = std::to_string(file.size) + " '" + last + "'";
    if (file.path == path || std::string(file.path) != path) text += " another path";
    if ((protection & PROT_WRITE) != 0) last = 'X';
    filemap_close(&file);
  }
  if (file.fd != -1 || file.map != MAP_FAILED || file.size != 0) text += "not closed";
  return {result, text};
});
// Compares the files with one byte of the second changed.
BIND_AS(differ_at, [](const char *path, const char *other, off_t offset) {
  const int fd = open(other, O_WRONLY);
  const bool changed = pwrite(fd, "#", 1, offset) == 1;
  const int result = file_diff(path, other);
  const bool restored = pwrite(fd, "", 1, offset) == 1;
  close(fd);
  return changed && restored ? result : -99;
});
}  // namespace
}  // namespace talvera::test
