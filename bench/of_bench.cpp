// Synchronising an ordered folder of 100, 1,000 and 10,000 files, against only listing them.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "talvera/of.h"
#include "talvera/utils.h"

namespace {

constexpr char kDatabase[] = "order.db";

int is_photo(const char *name) {
  return std::strcmp(name, kDatabase) != 0 ? 1 : 0;
}

// A folder of photos whose database has them in the user's order.
class Folder {
 public:
  explicit Folder(int photos) : photos_(photos) {
    char name[] = "/tmp/talvera-bench-XXXXXX";
    path_ = mkdtemp(name);
    for (int i = 0; i < photos_; ++i)
      std::fclose(std::fopen(photo(i).c_str(), "w"));
    FILE *database = std::fopen((path_ + '/' + kDatabase).c_str(), "w");
    std::fprintf(database, "#1:%d\n", photos_);
    for (int i = 0; i < photos_; ++i) {
      const int order = static_cast<int>(i * 7919LL % photos_) + 1;  // coprime: each order once
      std::fprintf(database, "%d:1:0:%s\n", order, photo(i).c_str() + path_.size() + 1);
    }
    std::fclose(database);
  }
  ~Folder() {
    for (int i = 0; i < photos_; ++i)
      unlink(photo(i).c_str());
    unlink((path_ + '/' + kDatabase).c_str());
    rmdir(path_.c_str());
  }
  [[nodiscard]] const char *path() const { return path_.c_str(); }

 private:
  [[nodiscard]] std::string photo(int number) const {
    return path_ + "/photo" + std::to_string(100000 + number) + ".jpg";
  }

  int photos_;
  std::string path_;
};

void sync_dbfile(benchmark::State &state) {
  const Folder folder(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    if (of_sync_dbfile(is_photo, folder.path(), kDatabase) != 0) std::abort();
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(sync_dbfile)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);

void listing_alone(benchmark::State &state) {
  const Folder folder(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    dirent **list = nullptr;
    const int count = uf_get_dirent_list(folder.path(), &list);
    uf_free_dirent_list(&list, count);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(listing_alone)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
