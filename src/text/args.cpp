// Splitting a string in place at white space or delimiters.
#include "talvera/args.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "talvera/scan.h"

namespace talvera::text {
namespace {

constexpr char kDelimiterPriority[] = " -/";

// Skips an opening quote and returns it; returns NUL if there is none.
[[gnu::always_inline]] inline char take_quote(char *&p) {
  return *p == '"' || *p == '\'' ? *p++ : '\0';
}

// Finds the end of a word: the closing quote if it is quoted, otherwise white space; failing that,
// the terminator.
[[gnu::always_inline]] inline char *word_end(char *word, char quote) {
  return quote != '\0' ? strchrnul(word, quote) : skip_nonspace(word);
}

// A set of characters, including NUL.
class CharacterSet {
 public:
  explicit CharacterSet(const char *characters) {
    do {
      const auto byte = static_cast<std::uint8_t>(*characters);
      bits_[byte / 32] |= 1U << byte % 32;
    } while (*characters++ != '\0');
  }

  [[nodiscard]] bool contains(char c) const {
    const auto byte = static_cast<std::uint8_t>(c);
    return (bits_[byte / 32] >> byte % 32 & 1U) != 0;
  }

 private:
  std::uint32_t bits_[8] = {};
};

// Skips leading white space, then splits the string at delimiters like strtok_r(). Clears `slots`
// entries of `argv`, but intentionally stores up to `slots` + 1 tokens. Returns the first token not
// stored, or null if there is none; stops, also with null, once `enough` tokens are stored (-1: no
// limit).
char *split(char *s, const char *delimiters, int *argc, char *argv[], int slots, int enough) {
  *argc = 0;
  std::fill_n(argv, slots, nullptr);
  const CharacterSet separators(delimiters);
  char *p = skip_space(s);
  while (*argc != enough) {
    for (; separators.contains(*p); ++p) {
      if (*p == '\0') return nullptr;
    }
    char *const token = p;
    while (!separators.contains(*p))
      ++p;
    if (*p != '\0') *p++ = '\0';
    if (*argc > slots) return token;
    argv[(*argc)++] = token;
  }
  return nullptr;
}

}  // namespace
}  // namespace talvera::text

using namespace talvera::text;

extern "C" char *token_extract(char **cursor) {
  char *token = skip_space(*cursor);
  if (*token == '\0') return nullptr;
  const char quote = take_quote(token);
  char *end = word_end(token, quote);
  if (*end == '\0') {
    end = nullptr;
  } else {
    *end++ = '\0';
  }
  *cursor = end;
  return token;
}

extern "C" void str_to_args(char *s, int *argc, char *argv[20]) {
  *argc = 0;
  std::fill_n(argv, ARGS_SLOTS, nullptr);
  for (char *p = skip_space(s); *argc < ARGS_SLOTS && *p != '\0'; p = skip_space(p)) {
    const char quote = take_quote(p);
    argv[(*argc)++] = p;
    p = word_end(p, quote);
    // Intentionally, the character after the closing quote is dropped, whatever it is.
    if (quote != '\0' && *p != '\0') *p++ = '\0';
    if (*p != '\0') *p++ = '\0';
  }
}

extern "C" const char *str_get_delim(const char *s) {
  for (const char *delimiter = kDelimiterPriority; *delimiter != '\0'; ++delimiter) {
    if (std::strchr(s, *delimiter) != nullptr) return delimiter;
  }
  return nullptr;
}

extern "C" char *str_to_args_by_delim(char *s, const char *delims, int *argc, char *argv[]) {
  return split(s, delims, argc, argv, ARGS_SLOTS, ARGS_SLOTS);
}

extern "C" char *str_to_args_by_delim1(char *s, const char *delims, int *argc, char *argv[],
                                       int max) {
  return split(s, delims, argc, argv, max, -1);
}
