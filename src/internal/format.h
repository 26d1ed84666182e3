// Text formatted into a buffer of fixed size, truncated if it does not fit.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace talvera {

inline constexpr std::size_t kPathSize = 256;         // a path built from a caller's format
inline constexpr std::size_t kJoinedPathSize = 4096;  // directory, "/" and name
inline constexpr std::size_t kCommandSize = 512;      // a shell command

// Like vsnprintf(), but leaves the text empty on failure.
__attribute__((noinline, format(printf, 3, 0))) inline int format_text(char *text, std::size_t size,
                                                                       const char *format,
                                                                       std::va_list arguments) {
  const int length = std::vsnprintf(text, size, format, arguments);
  if (length < 0) text[0] = '\0';
  return length;
}

template <std::size_t Size>
class FormattedText {
 public:
  // Formats with the caller's argument list, which is indeterminate afterwards; the caller still
  // calls va_end().
  __attribute__((format(printf, 2, 0))) FormattedText(const char *format, std::va_list arguments) {
    length_ = format_text(text_, Size, format, arguments);
  }

  [[nodiscard]] const char *c_str() const { return text_; }
  // The result of vsnprintf(): the untruncated length, or negative on failure.
  [[nodiscard]] int length() const { return length_; }

 private:
  char text_[Size];
  int length_;
};

using FormattedPath = FormattedText<kPathSize>;

}  // namespace talvera
