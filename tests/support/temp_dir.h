// A directory of a test's own, removed with all that is in it.
#pragma once

#include <string>
#include <string_view>

namespace talvera::test {

// What is not copied.
struct Pinned {
  Pinned() = default;
  Pinned(const Pinned &) = delete;
  Pinned &operator=(const Pinned &) = delete;
};

class TempDir : Pinned {
 public:
  TempDir();
  ~TempDir();

  [[nodiscard]] const std::string &path() const { return path_; }
  // The path of something in the directory.
  [[nodiscard]] std::string operator/(std::string_view name) const;
  // Writes a file in the directory and returns its path.
  std::string write(std::string_view name, std::string_view content) const;

 private:
  std::string path_;
};

// A file's content; empty when it cannot be read.
std::string read_file(const std::string &path);

}  // namespace talvera::test
