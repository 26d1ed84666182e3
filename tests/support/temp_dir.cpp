// Temporary directories for tests.
#include "support/temp_dir.h"

#include <ftw.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace talvera::test {

TempDir::TempDir() {
  char name[] = "/tmp/talvera-test-XXXXXX";
  if (mkdtemp(name) == nullptr) {
    std::perror("mkdtemp");
    std::abort();
  }
  path_ = name;
}

TempDir::~TempDir() {
  nftw(
      path_.c_str(), [](const char *path, const struct stat *, int, FTW *) { return remove(path); },
      16, FTW_DEPTH | FTW_PHYS);
}

std::string TempDir::operator/(std::string_view name) const {
  return path_ + '/' + std::string(name);
}

std::string TempDir::write(std::string_view name, std::string_view content) const {
  std::string path = *this / name;
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string read_file(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace talvera::test
