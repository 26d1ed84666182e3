// The rows of `make target-bench`: an operation of the library against the same in plain C, or that
// of the C library or OpenSSL.
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

// Prepares the data of each file's rows.
void prepare_text();
void prepare_data();
void prepare_system();

// Ends the program if a result is wrong, because its count would be meaningless.
void check(bool right);

// Forces the compiler to compute a value and to assume that memory has changed.
template <typename T>
void keep(const T &value) {
  __asm__ volatile("" : : "r"(&value) : "memory");
}

}  // namespace rows
