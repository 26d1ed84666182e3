// Splitting a string in place at white space or delimiters.
#include "talvera/args.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "talvera/scan.h"

namespace talvera::text {
namespace {

constexpr char kDelimiterPriority[] = " -/";

bool is_quote(char c) {
  return c == '"' || c == '\'';
}

// The end of a quoted word: the closing quote or the terminator.
char *quoted_end(char *p, char quote) {
  while (*p != '\0' && *p != quote)
    ++p;
  return p;
}

// Splits a string like strtok_r(), but tests each character in constant time.
class Tokenizer {
 public:
  Tokenizer(char *s, const char *delimiters) : position_(s) {
    for (; *delimiters != '\0'; ++delimiters)
      add(*delimiters);
  }

  // The next token, terminated in place; null at the end.
  char *next() {
    while (*position_ != '\0' && contains(*position_))
      ++position_;
    if (*position_ == '\0') return nullptr;
    char *const token = position_;
    while (*position_ != '\0' && !contains(*position_))
      ++position_;
    if (*position_ != '\0') *position_++ = '\0';
    return token;
  }

 private:
  void add(char c) {
    const auto byte = static_cast<std::uint8_t>(c);
    set_[byte / 32] |= 1U << byte % 32;
  }
  [[nodiscard]] bool contains(char c) const {
    const auto byte = static_cast<std::uint8_t>(c);
    return (set_[byte / 32] >> byte % 32 & 1U) != 0;
  }

  char *position_;
  std::uint32_t set_[8] = {};  // one bit per byte value
};

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *token_extract(char **cursor) {
  char *token = skip_space(*cursor);
  if (*token == '\0') return nullptr;
  char *const end = is_quote(*token) ? quoted_end(token + 1, *token) : skip_nonspace(token);
  if (is_quote(*token)) ++token;
  if (*end == '\0') {
    *cursor = nullptr;
  } else {
    *end = '\0';
    *cursor = end + 1;
  }
  return token;
}

extern "C" void str_to_args(char *s, int *argc, char *argv[20]) {
  *argc = 0;
  std::fill_n(argv, ARGS_SLOTS, nullptr);
  char *p = skip_space(s);
  while (*argc < ARGS_SLOTS && *p != '\0') {
    char *end;
    if (is_quote(*p)) {
      argv[*argc] = p + 1;
      end = quoted_end(p + 1, *p);
      if (*end != '\0')
        *end++ = '\0';  // intentionally, the character after the closing quote is dropped
    } else {
      argv[*argc] = p;
      end = skip_nonspace(p);
    }
    if (*end != '\0') *end++ = '\0';
    p = skip_space(end);
    ++*argc;
  }
}

extern "C" const char *str_get_delim(const char *s) {
  for (const char *delimiter = kDelimiterPriority; *delimiter != '\0'; ++delimiter) {
    if (std::strchr(s, *delimiter) != nullptr) return delimiter;
  }
  return nullptr;
}

extern "C" char *str_to_args_by_delim(char *s, const char *delims, int *argc, char *argv[]) {
  *argc = 0;
  std::fill_n(argv, ARGS_SLOTS, nullptr);
  Tokenizer tokens(skip_space(s), delims);
  while (*argc < ARGS_SLOTS) {
    char *const token = tokens.next();
    if (token == nullptr) break;
    argv[(*argc)++] = token;
  }
  return nullptr;
}

extern "C" char *str_to_args_by_delim1(char *s, const char *delims, int *argc, char *argv[],
                                       int max) {
  *argc = 0;
  std::fill_n(argv, std::max(max, 0), nullptr);
  Tokenizer tokens(skip_space(s), delims);
  char *token;
  while ((token = tokens.next()) != nullptr && *argc <= max)
    argv[(*argc)++] = token;
  return token;
}
