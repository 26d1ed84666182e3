// The rows of `make target-bench`: an operation of the library compared with the same in plain C,
// the C library's or OpenSSL's.
#pragma once

#include <span>

namespace rows {

struct Row {
  const char *name;  // as in target/bench-budget
  void (*library)();
  void (*baseline)();
};

extern const std::span<const Row> kText;
extern const std::span<const Row> kData;
extern const std::span<const Row> kSystem;

// Makes what the rows of each file work on.
void prepare_text();
void prepare_data();
void prepare_system();

// Ends the program when a result is wrong: nobody counts instructions of a wrong answer.
void check(bool right);

// Makes the compiler compute a value, and forget what it knows of memory.
template <typename T>
void keep(const T &value) {
  __asm__ volatile("" : : "r"(&value) : "memory");
}

}  // namespace rows
