// Macros that define the double's system calls by result type, name, parameters, arguments and
// failure value:
//
//   CALL(int, fstat, (int fd, struct stat *status), (fd, status), -1);
//   RECORDED(int, usleep, (useconds_t time), (time), -1, "%u", time);
//
// CALL_AS() and RECORDED_AS() replace the call with a function, in which `next` is the real call.
#pragma once

#include <cstdint>
#include <type_traits>

#include "support/system_double.h"

namespace talvera::test {

// Appends a line to calls() or log() of the active double, if any.
__attribute__((format(printf, 1, 2))) void record(const char *format, ...);
void record_log(const char *channel, int level, const char *format, std::va_list arguments);

// Changes errno as a successful call may under POSIX, while a double exists.
void clobber_errno();

// The target of a redirection of a path, or the path itself.
const char *redirected(const char *path);

// The definition of a function after the test program's own.
void *next_definition(const char *name);
template <typename Function>
Function *real(const char *name) {
  return reinterpret_cast<Function *>(next_definition(name));
}

// Counts a call and returns its outcome; sets errno for a failure.
Outcome outcome_of(const char *call);

// Makes the call unless its outcome replaces it. A transfer takes the maximum number of bytes as
// its argument.
template <typename Result, typename Call>
Result intercept(const char *name, long failure, Call call) {
  const Outcome outcome = outcome_of(name);
  if (outcome.kind == Outcome::kFailure) return (Result)failure;
  if (outcome.kind == Outcome::kResult) return (Result)outcome.value;
  if constexpr (std::is_invocable_v<Call, std::size_t>) {
    return call(outcome.kind == Outcome::kShort ? static_cast<std::size_t>(outcome.value)
                                                : SIZE_MAX);
  } else {
    return call();
  }
}

}  // namespace talvera::test

#define RECORDED_AS(result, name, parameters, arguments, failure, recording, ...)               \
  extern "C" result name parameters noexcept(noexcept(name arguments)) {                        \
    [[maybe_unused]] static auto *const next = ::talvera::test::real<result parameters>(#name); \
    recording;                                                                                  \
    return ::talvera::test::intercept<result>(#name, failure, __VA_ARGS__);                     \
  }                                                                                             \
  static_assert(true)
#define RECORDED(result, name, parameters, arguments, failure, ...) \
  RECORDED_AS(result, name, parameters, arguments, failure,         \
              ::talvera::test::record(#name " " __VA_ARGS__), [=] { return next arguments; })
#define CALL_AS(result, name, parameters, arguments, failure, ...) \
  RECORDED_AS(result, name, parameters, arguments, failure, , __VA_ARGS__)
#define CALL(result, name, parameters, arguments, failure) \
  CALL_AS(result, name, parameters, arguments, failure, [=] { return next arguments; })
