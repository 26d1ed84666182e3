// Bindings make functions callable from tables. The argument types determine how each argument is
// parsed, stored and shown.
//
//   BIND(getnum, get_number, stod);            // functions of plain types
//   BIND_AS(walk, [](list_obj *list) {...});   // a named function of several steps
//   DIRECTIVE(time, [](long now) {...});       // arranges or inspects; not a call
//   SYMBOLS(list_comparator_int8_t, kTable);   // functions and objects that arguments may name
//   CONSTANTS(MFG_INFO_SIZE, SIGTERM);         // numbers that arguments may name
//   FIELDS(datetime, &R::second, ...);         // the members of a record, (1 2 3) in a table
#pragma once

#include <concepts>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "runner/session.h"

namespace talvera::test {

// A call of a function: its arguments, their memory and its outcome.
class Call {
 public:
  Call(Session &session, std::vector<Value> values)
      : session_(session), values_(std::move(values)) {}

  [[nodiscard]] Session &session() { return session_; }
  // The next argument.
  const Value &take();
  [[nodiscard]] bool has_more() const { return next_ < values_.size(); }
  [[nodiscard]] const Value *peek() const { return has_more() ? &values_[next_] : nullptr; }
  // The value of "#" as the last taken argument.
  [[nodiscard]] std::int64_t size_beside() const;
  // Memory that lives as long as the call.
  GuardedBuffer &memory(std::size_t size, std::size_t alignment);

  // Sets the name under which keep() stores a returned pointer in the session.
  void name_result(const std::string &name) { object_ = name; }
  bool keep(const void *result);
  void run(const std::function<void()> &call, bool is_directive);
  [[nodiscard]] bool crashed() const { return crashed_; }
  void print(const std::string &token) { tokens_.push_back(token); }
  void failed() { failed_ = true; }  // its outcome includes errno
  // Formats a pointer: into the memory of an argument ("@4", "@2:4" for the second), an object of
  // the session ("$name"), a text, or otherwise "new".
  [[nodiscard]] std::string pointer(const void *p, bool is_text);
  // The complete outcome.
  std::string outcome();

 private:
  Session &session_;
  std::vector<Value> values_;
  std::size_t next_ = 0;
  std::vector<std::unique_ptr<GuardedBuffer>> memory_;
  std::vector<std::string> tokens_;
  std::string object_;
  bool crashed_ = false, failed_ = false, is_directive_ = false;
};

// ---- Registries -------------------------------------------------------------------------------

using Function = std::function<void(Call &)>;
std::map<std::string, Function> &functions();
std::map<std::string, const void *> &symbols();
const void *symbol(const std::string &name);

// ---- Values of each type ----------------------------------------------------------------------

template <typename T>
concept Integer = std::integral<T> || std::is_enum_v<T>;
template <typename T>
concept Byte = std::integral<T> && sizeof(T) == 1;

// The members of a record, in the order of (1 2 3) in a table.
template <typename T>
inline constexpr auto kFields = nullptr;
template <typename T>
concept HasFields = !std::is_null_pointer_v<std::remove_const_t<decltype(kFields<T>)>>;
// Other types specialize this: void read(T &, const Value &) and std::string show(const T &).
template <typename T>
struct Codec;
template <typename T>
concept HasCodec = requires {
  sizeof(Codec<T>);
};
template <typename T>
concept Readable =
    Integer<T> || std::floating_point<T> || std::is_pointer_v<T> || HasFields<T> || HasCodec<T>;

std::int64_t to_number(Call &call, const Value &value);
// The target of a pointer inside an array or a record.
char *memory_of(Call &call, const Value &value);

template <typename T>
void read(Call &call, const Value &value, T &result) {
  if (value.kind == Value::kUnset) return;
  if constexpr (Integer<T>) {
    result = static_cast<T>(to_number(call, value));
  } else if constexpr (std::floating_point<T>) {
    result = static_cast<T>(value.kind == Value::kReal   ? value.real
                            : value.kind == Value::kName ? std::strtod(value.bytes.c_str(), nullptr)
                                                         : static_cast<double>(value.number));
  } else if constexpr (std::is_array_v<T>) {
    if (value.size > sizeof result) throw TableError("text above its field");
    std::memcpy(result, value.bytes.data(), value.bytes.size());
  } else if constexpr (std::is_pointer_v<T>) {
    result = reinterpret_cast<T>(memory_of(call, value));
  } else if constexpr (HasFields<T>) {
    std::size_t i = 0;
    std::apply(
        [&](auto... members) {
          if (value.fields.size() != sizeof...(members)) throw TableError("number of fields");
          (read(call, value.fields[i++], result.*members), ...);
        },
        kFields<T>);
  } else {
    Codec<T>::read(result, value);
  }
}

// "_" if no byte has changed.
template <typename T>
std::string show(Call &call, const T &value) {
  const std::string_view bytes(reinterpret_cast<const char *>(&value), sizeof value);
  if (sizeof value > 1 && bytes.find_first_not_of(GuardedBuffer::kFill) == bytes.npos) return "_";
  if constexpr (Integer<T>) {
    return std::to_string(value);
  } else if constexpr (std::floating_point<T>) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
    return text;
  } else if constexpr (std::is_array_v<T>) {
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    const bool is_text =
        std::same_as<std::remove_all_extents_t<T>, char> && text.size() < sizeof value;
    return is_text ? in_quotes(std::string(text) + '\0') : in_quotes(bytes, true);
  } else if constexpr (std::is_pointer_v<T>) {
    return call.pointer(reinterpret_cast<const void *>(value), Byte<std::remove_pointer_t<T>>);
  } else if constexpr (HasFields<T>) {
    std::string text;
    std::apply([&](auto... members) { ((text += ' ' + show(call, value.*members)), ...); },
               kFields<T>);
    return '(' + text.substr(1) + ')';
  } else {
    return Codec<T>::show(value);
  }
}

// ---- Arguments --------------------------------------------------------------------------------

// An argument passed by value.
template <typename T>
class Arg {
 public:
  explicit Arg(Call &call) {
    std::memset(&value_, 0, sizeof value_);
    read(call, call.take(), value_);
  }
  T pass() { return value_; }
  void print(Call &) {}

 private:
  T value_;
};

// A bare word, or the content of a literal.
template <>
class Arg<const std::string &> {
 public:
  explicit Arg(Call &call) : value_(call.take().bytes) {
    if (value_.ends_with('\0')) value_.pop_back();
  }
  const std::string &pass() { return value_; }
  void print(Call &) {}

 private:
  std::string value_;
};

template <>
class Arg<Call &> {
 public:
  explicit Arg(Call &call) : call_(call) {}
  Call &pass() { return call_; }
  void print(Call &) {}

 private:
  Call &call_;
};

// Memory of an argument: a literal, an object or a symbol.
class Memory {
 public:
  Memory(Call &call, const Value &value, std::size_t size, std::size_t alignment, bool null);
  [[nodiscard]] char *data() const { return data_; }
  [[nodiscard]] bool changed() const;
  [[nodiscard]] const GuardedBuffer *block() const { return block_; }
  // The content up to the last written byte.
  [[nodiscard]] std::string written() const;

 private:
  char *data_ = nullptr;
  const GuardedBuffer *block_ = nullptr;
  std::string before_;
};

template <typename T>
class Arg<T *> {
  using Target = std::remove_cv_t<T>;
  static constexpr bool kBytes = std::is_void_v<Target> || Byte<Target>;
  static constexpr bool kCode = std::is_function_v<Target>;
  static constexpr bool kElements = !kBytes && !kCode;  // numbers, records or arrays of them
  static constexpr bool kShown = [] {
    if constexpr (!kElements || std::is_const_v<T>) {
      return false;
    } else {
      return Integer<Target> || std::floating_point<Target> || std::is_pointer_v<Target> ||
             HasFields<Target> || requires(Target t) {
        Codec<Target>::show(t);
      };
    }
  }();

 public:
  explicit Arg(Call &call)
      : value_(call.take()),
        count_(elements(value_)),
        memory_(call, value_, size_of_one() * count_, alignment(), std::is_pointer_v<Target>) {
    if constexpr (kElements && Readable<Target>) {
      if (memory_.block() == nullptr || value_.kind == Value::kObject) return;
      if (!HasFields<Target> && value_.kind == Value::kRecord) {
        for (std::size_t i = 0; i < count_; ++i)
          read(call, value_.fields[i], pass_elements()[i]);
      } else if (value_.kind != Value::kBytes || !value_.bytes.empty()) {
        read(call, value_, *pass_elements());
      }
    }
  }
  T *pass() {
    if constexpr (kCode) {
      return reinterpret_cast<T *>(memory_.data());
    } else {
      return static_cast<T *>(static_cast<void *>(memory_.data()));
    }
  }
  void print(Call &call) {
    if constexpr (kBytes && !std::is_const_v<T>) {
      if (memory_.changed()) call.print(in_quotes(memory_.written(), !std::same_as<Target, char>));
    } else if constexpr (kShown) {
      // Named records are shown by other means.
      if (memory_.data() == nullptr || (value_.kind == Value::kObject && std::is_class_v<Target>)) {
        return;
      }
      std::vector<std::string> shown;
      for (std::size_t i = 0; i < count_; ++i)
        shown.push_back(show(call, pass_elements()[i]));
      const std::string text = collapsed(shown, " ");
      call.print(count_ == 1 ? text : '(' + text + ')');
    }
  }

 private:
  static std::size_t elements(const Value &value) {
    if (!kElements || HasFields<Target>) return 1;
    if (value.kind == Value::kRecord) return value.fields.size();
    return value.kind == Value::kBytes && value.bytes.empty() ? value.size : 1;
  }
  static constexpr std::size_t size_of_one() {
    if constexpr (kElements) return sizeof(Target);
    return 0;
  }
  static constexpr std::size_t alignment() {
    if constexpr (kElements) return alignof(Target);
    return std::is_void_v<Target> ? 8 : 1;
  }
  Target *pass_elements() { return static_cast<Target *>(static_cast<void *>(memory_.data())); }

  Value value_;
  std::size_t count_;
  Memory memory_;
};

// Bytes that a function returns by address and length, which take no argument in the row; freed if
// owned by the caller.
template <bool kOwned>
struct OutBytes {
  static inline auto *const kUntouched = reinterpret_cast<unsigned char *>(0x10);
  unsigned char *data = kUntouched;
  unsigned length = 99;
};
template <bool kOwned>
class Arg<OutBytes<kOwned> &> {
 public:
  explicit Arg(Call &) {}
  OutBytes<kOwned> &pass() { return value_; }
  void print(Call &call) {
    const bool untouched = value_.data == value_.kUntouched;
    if (untouched || value_.data == nullptr) {
      call.print(untouched ? "_" : "null " + std::to_string(value_.length));
      return;
    }
    call.print(in_quotes({reinterpret_cast<char *>(value_.data), value_.length}, true));
    if (kOwned) std::free(value_.data);
  }

 private:
  OutBytes<kOwned> value_;
};

// ---- Calls ------------------------------------------------------------------------------------

// A result with additional text.
struct Result {
  long value;
  std::string text = {};
};

template <typename R>
void print_result(Call &call, const R &result) {
  if constexpr (std::is_pointer_v<R>) {
    if (result == nullptr) call.failed();
    if (call.keep(reinterpret_cast<const void *>(result))) return;
  } else if constexpr (std::integral<R> && !std::same_as<R, bool>) {
    if (result == static_cast<R>(-1)) call.failed();
  }
  call.print(show(call, result));
}
inline void print_result(Call &call, const std::string &result) {
  call.print(result);
}
inline void print_result(Call &call, const Result &result) {
  print_result(call, result.value);
  if (!result.text.empty()) call.print(result.text);
}

template <typename F, typename R, typename... A>
void invoke(Call &call, const F &function, bool is_directive) {
  std::tuple<Arg<A>...> arguments{Arg<A>(call)...};
  if (!(std::same_as<A, Call &> || ...) && call.has_more()) throw TableError("too many arguments");
  const auto make = [&] {
    return std::apply([&](auto &...argument) { return function(argument.pass()...); }, arguments);
  };
  if constexpr (std::is_void_v<R>) {
    call.run(make, is_directive);
  } else {
    R result{};
    call.run([&] { result = make(); }, is_directive);
    if (!call.crashed()) print_result(call, result);
  }
  if (call.crashed()) return;
  std::apply([&](auto &...argument) { (argument.print(call), ...); }, arguments);
}

template <typename R, typename... A>
Function bound(R (*function)(A...), bool = false) {
  return [=](Call &call) { invoke<decltype(function), R, A...>(call, function, false); };
}
template <typename F, typename R, typename... A>
Function bound_lambda(F function, R (F::*)(A...) const, bool is_directive) {
  return [=](Call &call) { invoke<F, R, A...>(call, function, is_directive); };
}
template <typename F>
requires std::is_class_v<F> Function bound(F function, bool is_directive = false) {
  return bound_lambda(function, &F::operator(), is_directive);
}

struct Bindings {
  template <typename... F>
  explicit Bindings(const char *names, F *...list) {
    const std::vector<std::string> words = split(names, ",");
    std::size_t i = 0;
    ((symbols()[trimmed(words[i])] = reinterpret_cast<const void *>(list),
      functions()[trimmed(words[i++])] = bound(list)),
     ...);
  }
};
struct Symbols {
  template <typename... T>
  explicit Symbols(const char *names, const T &...list) {
    const std::vector<std::string> words = split(names, ",");
    std::size_t i = 0;
    ((symbols()[trimmed(words[i++])] = reinterpret_cast<const void *>(&list)), ...);
  }
};
struct Constants {
  Constants(const char *names, std::initializer_list<std::int64_t> values) {
    constants().merge(named(names, values));
  }
};

}  // namespace talvera::test

#define FIELDS(record, ...)                                   \
  template <>                                                 \
  inline constexpr auto talvera::test::kFields<record> = [] { \
    using R = record;                                         \
    return std::tuple(__VA_ARGS__);                           \
  }()
#define TABLE_JOIN2(a, b) a##b
#define TABLE_JOIN(a, b) TABLE_JOIN2(a, b)
#define TABLE_STATIC static const auto TABLE_JOIN(binding, __COUNTER__)
#define BIND(...) TABLE_STATIC = ::talvera::test::Bindings(#__VA_ARGS__, __VA_ARGS__)
#define BIND_AS(name, ...) \
  TABLE_STATIC = (::talvera::test::functions()[#name] = ::talvera::test::bound(__VA_ARGS__), 0)
#define DIRECTIVE(name, ...) \
  TABLE_STATIC =             \
      (::talvera::test::functions()[#name] = ::talvera::test::bound(__VA_ARGS__, true), 0)
#define SYMBOLS(...) TABLE_STATIC = ::talvera::test::Symbols(#__VA_ARGS__, __VA_ARGS__)
#define CONSTANTS(...) TABLE_STATIC = ::talvera::test::Constants(#__VA_ARGS__, {__VA_ARGS__})
