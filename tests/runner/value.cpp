// Parsing and formatting of values.
#include "runner/value.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace talvera::test {
namespace {

// ---- Texts ------------------------------------------------------------------------------------

// The end of the quoted literal or bracketed part that begins at `at`.
std::size_t end_of_part(std::string_view text, std::size_t at) {
  if (text[at] == '"' || text[at] == '\'') {
    const char quote = text[at];
    for (++at; at < text.size() && text[at] != quote; ++at)
      if (text[at] == '\\') ++at;
  } else if (text[at] == '(' || text[at] == '{') {
    const char close = text[at] == '(' ? ')' : '}';
    for (++at; at < text.size() && text[at] != close;)
      at = end_of_part(text, at);
  }
  return std::min(at + 1, text.size());
}

bool is_name_character(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.';
}

// ---- Values -----------------------------------------------------------------------------------

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::vector<Value> values(char close) {
    std::vector<Value> found;
    for (;;) {
      while (peek() == ' ')
        ++at_;
      if (peek() == close) break;
      found.push_back(value());
    }
    return found;
  }

 private:
  [[nodiscard]] char peek(std::size_t ahead = 0) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
  }
  [[nodiscard]] bool at_end() const { return peek() == '\0' || peek() == ' ' || peek() == ')'; }
  [[noreturn]] void fail() const {
    throw TableError("cannot read " + std::string(text_.substr(at_)));
  }

  std::int64_t number() {
    const std::string rest(text_.substr(at_));
    char *end;
    const auto value = static_cast<std::int64_t>(
        rest[0] == '-' ? std::strtoll(rest.c_str(), &end, 0)
                       : static_cast<long long>(std::strtoull(rest.c_str(), &end, 0)));
    if (end == rest.c_str()) fail();
    at_ += static_cast<std::size_t>(end - rest.c_str());
    return value;
  }

  std::string name() {
    const std::size_t start = at_;
    while (is_name_character(peek()))
      ++at_;
    return std::string(text_.substr(start, at_ - start));
  }

  char character() {
    const char c = peek();
    ++at_;
    if (c != '\\') return c;
    const char escape = peek();
    ++at_;
    static constexpr char kEscapes[] = "n\nt\tr\rv\vf\f0\0";
    for (const char *p = kEscapes; p < std::end(kEscapes) - 1; p += 2)
      if (escape == *p) return p[1];
    return escape == 'x' ? hex_byte() : escape;
  }

  char hex_byte() {
    const std::string digits(text_.substr(std::min(at_, text_.size()), 2));
    at_ += 2;
    return static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16));
  }

  // A literal, from its opening quote.
  std::string literal(bool hex) {
    const char quote = peek();
    std::string bytes;
    for (++at_; peek() != quote;) {
      if (at_ >= text_.size()) fail();
      if (hex && peek() == ' ') {
        ++at_;
      } else {
        bytes += hex ? hex_byte() : character();
      }
    }
    ++at_;
    return bytes;
  }

  // u16(1), be32(2): an integer in native or big-endian byte order.
  std::string integer(const std::string &type) {
    ++at_;  // "("
    const auto value = static_cast<std::uint64_t>(
        std::isalpha(static_cast<unsigned char>(peek())) != 0 ? constant(name()) : number());
    if (peek() != ')') fail();
    ++at_;
    const std::size_t size = type.ends_with("16") ? 2 : type.ends_with("32") ? 4 : 8;
    const bool little = type[0] == 'u' && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i)
      bytes += static_cast<char>(value >> 8 * (little ? i : size - 1 - i));
    return bytes;
  }

  Value value() {
    Value result;
    if (peek() == '(') {
      ++at_;
      result.kind = Value::kRecord;
      result.fields = values(')');
      ++at_;
    } else if (peek() == '#') {
      ++at_;
      result.kind = Value::kSize;
      if (peek() == '+') ++at_;
      if (!at_end()) result.number = number();
    } else if (peek() == '$') {
      ++at_;
      result.kind = Value::kObject;
      result.bytes = name();
    } else {
      parts(result);
    }
    if (!at_end()) fail();
    return result;
  }

  // Concatenated parts of a buffer; or a number or a name.
  void parts(Value &result) {
    const std::size_t start = at_;
    bool terminated = false;
    bool sized = false;
    std::string last;
    for (result.kind = Value::kBytes; !at_end(); last.clear()) {
      if (peek() == '"') {
        terminated = true;
        last = literal(false);
      } else if (peek() == '\'') {
        const bool first = at_ == start;
        last = literal(false);
        if (first && at_end()) {
          result.kind = Value::kNumber;
          result.number = static_cast<unsigned char>(last[0]);
          return;
        }
      } else if ((peek() == 'b' || peek() == 'x') && peek(1) == '"') {
        const bool hex = peek() == 'x';
        ++at_;
        last = literal(hex);
      } else if (peek() == '[') {
        ++at_;
        result.size = static_cast<std::size_t>(number());
        sized = true;
        if (peek() != ']') fail();
        ++at_;
      } else if (std::isalpha(static_cast<unsigned char>(peek())) != 0 || peek() == '_') {
        const std::string word = name();
        if (peek() == '(') {
          last = integer(word);
        } else if (result.bytes.empty() && at_end()) {
          result.kind = word == "null" ? Value::kNull : word == "_" ? Value::kUnset : Value::kName;
          result.bytes = word;
          return;
        } else {
          fail();
        }
      } else {
        const std::string_view rest = text_.substr(at_, text_.find_first_of(" )", at_) - at_);
        if (result.bytes.empty() && rest.find_first_not_of("-0123456789.e+") == rest.npos &&
            rest.find('.') != rest.npos) {
          result.kind = Value::kReal;
          result.real = std::strtod(std::string(rest).c_str(), nullptr);
          at_ += rest.size();
          return;
        }
        const std::int64_t value = number();
        last = static_cast<char>(value);
        if (at_end() && result.bytes.empty() && !sized) {
          result.kind = Value::kNumber;
          result.number = value;
          return;
        }
      }
      std::int64_t times = 1;
      if (peek() == '*') {
        ++at_;
        times = number();
      }
      for (; times > 0; --times)
        result.bytes += last;
    }
    if (terminated) result.bytes += '\0';
    if (sized && result.size < result.bytes.size()) throw TableError("buffer below its content");
    result.size = std::max(result.size, result.bytes.size());
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

// The choices inside a brace.
std::vector<std::string> choices(const std::string &inside) {
  std::vector<std::string> found;
  for (const std::string &choice : split(inside, ",")) {
    const std::size_t dots = choice.find("..");
    if (dots == std::string::npos || choice.find('"') != std::string::npos) {
      found.push_back(trimmed(choice));
      continue;
    }
    const long first = std::strtol(choice.c_str(), nullptr, 0);
    const long last = std::strtol(choice.c_str() + dots + 2, nullptr, 0);
    for (long number = first; number <= last; ++number)
      found.push_back(std::to_string(number));
  }
  return found;
}

void expand(const std::string &done, const std::string &rest, const std::string *first,
            std::vector<std::string> &found) {
  std::size_t open = 0;
  while (open < rest.size() && rest[open] != '{')
    open = rest[open] == '(' ? open + 1 : end_of_part(rest, open);
  if (open >= rest.size()) {
    found.push_back(done + rest);
    return;
  }
  const std::size_t end = end_of_part(rest, open);
  const std::string inside = rest.substr(open + 1, end - open - 2);
  const std::string before = done + rest.substr(0, open);
  const std::string after = rest.substr(end);
  if (inside == "=" && first != nullptr) {
    expand(before + *first, after, first, found);
    return;
  }
  for (const std::string &choice : choices(inside))
    expand(before + choice, after, first != nullptr ? first : &choice, found);
}

// A character inside a literal.
std::string code_of(char c, bool hex) {
  static const std::map<char, std::string> escapes = {{'\0', "\\0"}, {'\n', "\\n"}, {'\t', "\\t"},
                                                      {'\r', "\\r"}, {'"', "\\\""}, {'\\', "\\\\"}};
  if (!hex && escapes.contains(c)) return escapes.at(c);
  const auto byte = static_cast<unsigned char>(c);
  char code[5];
  std::snprintf(code, sizeof code, hex ? "%02X" : byte < 32 || byte > 126 ? "\\x%02X" : "%c", byte);
  return code;
}

// A list of names, as text and as values.
#define NAMED(...) \
#__VA_ARGS__, {  \
    __VA_ARGS__    \
  }

const std::map<std::string, std::int64_t> &errors() {
  static const auto names = named(NAMED(
      EPERM, ENOENT, ESRCH, EINTR, EIO, ENXIO, E2BIG, EBADF, ECHILD, EAGAIN, ENOMEM, EACCES, EFAULT,
      EBUSY, EEXIST, EXDEV, ENODEV, ENOTDIR, EISDIR, EINVAL, ENFILE, EMFILE, ENOTTY, EFBIG, ENOSPC,
      ESPIPE, EROFS, EPIPE, ERANGE, ENAMETOOLONG, ENOSYS, ENOTEMPTY, ELOOP, EIDRM, ENOMSG, EBADMSG,
      EOVERFLOW, EMSGSIZE, EPROTO, EOPNOTSUPP, EAFNOSUPPORT, EADDRINUSE, ENETDOWN, ENOBUFS,
      ENOTCONN, ETIME, ENODATA, ETIMEDOUT, ECONNREFUSED, ECONNRESET));
  return names;
}

}  // namespace

std::vector<Value> parse_values(std::string_view text) {
  return Parser(text).values('\0');
}

std::vector<std::string> expand_braces(const std::string &text) {
  std::vector<std::string> found;
  expand("", text, nullptr, found);
  return found;
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (text.substr(at).starts_with(separator)) {
      pieces.emplace_back(text.substr(start, at - start));
      start = at += separator.size();
    } else {
      at = end_of_part(text, at);
    }
  }
  pieces.emplace_back(text.substr(start));
  return pieces;
}

std::string trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == text.npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(' ') + 1 - first));
}

void replace_all(std::string &text, std::string_view part, const std::string &replacement) {
  for (std::size_t at; (at = text.find(part)) != text.npos;)
    text.replace(at, part.size(), replacement);
}

std::map<std::string, std::int64_t> named(const char *list,
                                          std::initializer_list<std::int64_t> values) {
  std::map<std::string, std::int64_t> names;
  const std::vector<std::string> words = split(list, ",");
  std::size_t i = 0;
  for (const std::int64_t value : values)
    names[trimmed(words[i++])] = value;
  return names;
}

std::string in_quotes(std::string_view bytes, bool prefer_hex) {
  const bool terminated = bytes.ends_with('\0');
  std::string_view shown = bytes.substr(0, bytes.size() - (terminated ? 1 : 0));
  const bool hex = prefer_hex && std::any_of(shown.begin(), shown.end(), [](unsigned char c) {
                     return (c < 32 || c > 126) && c != '\t' && c != '\n' && c != '\r';
                   });
  if (hex) shown = bytes;
  const char *const open = hex ? "x\"" : terminated ? "\"" : "b\"";
  std::string text, literal;
  const auto close = [&](const std::string &after) {
    text += open + std::exchange(literal, "") + '"' + after;
  };
  for (std::size_t i = 0; i < shown.size();) {
    const std::size_t run = std::min(shown.find_first_not_of(shown[i], i), shown.size()) - i;
    const std::string code = code_of(shown[i], hex);
    if (run < 10) {
      literal += code;
      ++i;
      continue;
    }
    if (!literal.empty()) close("");
    literal = code;
    close('*' + std::to_string(run));
    i += run;
  }
  if (!literal.empty() || text.empty()) close("");
  return text;
}

std::string collapsed(const std::vector<std::string> &tokens, const char *separator) {
  std::string text;
  for (std::size_t i = 0; i < tokens.size();) {
    std::size_t period = 1;
    std::size_t times = 1;
    for (std::size_t p = 1; p <= 3; ++p) {
      std::size_t n = 1;
      while (i + (n + 1) * p <= tokens.size() &&
             std::equal(tokens.begin() + static_cast<long>(i),
                        tokens.begin() + static_cast<long>(i + p),
                        tokens.begin() + static_cast<long>(i + n * p)))
        ++n;
      if ((n - 1) * p > (times - 1) * period) {
        period = p;
        times = n;
      }
    }
    if (i > 0) text += separator;
    std::string run;
    for (std::size_t k = 0; k < period; ++k)
      run += (k > 0 ? separator : "") + tokens[i + k];
    const bool single = period == 1 && run.find(' ') == std::string::npos;
    text += times == 1 ? run : (single ? run : '(' + run + ')') + '*' + std::to_string(times);
    i += period * times;
  }
  return text;
}

std::string error_name(int error) {
  for (const auto &[name, value] : errors())
    if (value == error) return name;
  return std::to_string(error);
}

std::string with_error_names(std::string text) {
  for (const auto &[name, error] : errors())
    replace_all(text, std::strerror(static_cast<int>(error)), '<' + name + '>');
  return text;
}

std::map<std::string, std::int64_t> &constants() {
  static auto names = [] {
    auto made = errors();
    made.merge(named(
        NAMED(INT_MIN, INT_MAX, UINT_MAX, INT32_MIN, INT32_MAX, INT64_MAX, LONG_MIN, LONG_MAX)));
    made["ULONG_MAX"] = static_cast<std::int64_t>(ULONG_MAX);
    return made;
  }();
  return names;
}

std::int64_t constant(const std::string &name) {
  const auto found = constants().find(name);
  if (found == constants().end()) throw TableError("no constant " + name);
  return found->second;
}

}  // namespace talvera::test
