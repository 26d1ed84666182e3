// A temporary directory, removed with its content.
#pragma once

#include <string>
#include <string_view>

namespace talvera::test {

// Base of classes that cannot be copied.
struct NonCopyable {
  NonCopyable() = default;
  NonCopyable(const NonCopyable &) = delete;
  NonCopyable &operator=(const NonCopyable &) = delete;
};

class TempDir : NonCopyable {
 public:
  TempDir();
  ~TempDir();

  [[nodiscard]] const std::string &path() const { return path_; }
  // The path of an entry of the directory.
  [[nodiscard]] std::string operator/(std::string_view name) const;
  // Writes a file in the directory and returns its path.
  std::string write(std::string_view name, std::string_view content) const;

 private:
  std::string path_;
};

// A file's content; empty if it cannot be read.
std::string read_file(const std::string &path);

}  // namespace talvera::test
