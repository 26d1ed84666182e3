// Links in the CA directory: those to certificate files, and the hash links by which OpenSSL finds
// them.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "ssl/nonblocking_file.h"
#include "talvera/sdb.h"
#include "talvera/ssl.h"

namespace talvera::ssl {
namespace {

#define CA_DIRECTORY "/var/etc/ssl"

constexpr std::size_t kDirectoryPrefix = sizeof CA_DIRECTORY "/" - 1;
// Buffer sizes including the terminator; longer text is truncated.
constexpr std::size_t kHashLinkSize = 32;
constexpr std::size_t kEntrySize = 255;

bool target_exists(const char *path) {
  return access(path, F_OK) == 0;
}

// Whether anything exists at the path itself, even a dangling link.
bool is_taken(const char *path) {
  struct stat status;
  return lstat(path, &status) == 0;
}

bool is_dangling_link(const char *path) {
  struct stat status;
  return lstat(path, &status) == 0 && S_ISLNK(status.st_mode) && !target_exists(path);
}

// Intentionally ignores failures and does not number links: an existing link with the same hash
// stays.
void add_hash_link(const char *link_path) {
  char name[kHashLinkSize];
  char target[kEntrySize];
  const char *file = link_path + std::min(kDirectoryPrefix, std::strlen(link_path));
  std::snprintf(name, sizeof name, CA_DIRECTORY "/%08lx.0", hash_of_pem_file(link_path));
  std::snprintf(target, sizeof target, "./%s", file);
  [[maybe_unused]] const int ignored = symlink(target, name);
}

int add_links(const char *cert_path, const char *link_path) {
  if (is_taken(link_path)) return 0;
  if (symlink(cert_path, link_path) != 0) {
    sdb_log(SDB_LOG_ERROR, "SSL_CACERTDIR: failed linking %s", link_path);
    return 0;
  }
  add_hash_link(link_path);
  return 1;
}

void remove_dangling_links() {
  DIR *directory = opendir(CA_DIRECTORY);
  if (directory == nullptr) return;
  while (const dirent *entry = readdir(directory)) {
    char path[kEntrySize];
    const int length = std::snprintf(path, sizeof path, "%s/%s", CA_DIRECTORY, entry->d_name);
    if (length > 0 && is_dangling_link(path)) unlink(path);
  }
  closedir(directory);
}

int remove_links(const char *link_path) {
  if (unlink(link_path) != 0) return 0;
  remove_dangling_links();
  return 1;
}

}  // namespace
}  // namespace talvera::ssl

using namespace talvera::ssl;

extern "C" int SSL_cert_rehash(const char *cert_path, const char *link_path) {
  return target_exists(cert_path) ? add_links(cert_path, link_path) : remove_links(link_path);
}
