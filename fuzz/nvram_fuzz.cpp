// The shared segment with any content: entries, links and names that a wrong process has written,
// then pair operations. The segment is a block of just its size.
//
// Input: a byte for what fills the segment, the number of operations, the operations (kind, name,
// value) and records of six bytes (index, link, used, name) that are laid over the segment.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "talvera/nvram.h"

namespace {

volatile unsigned sum;

// Takes bytes off the input; zeros when it has no more.
struct Input {
  const std::uint8_t *data;
  std::size_t size;
  unsigned byte() {
    if (size == 0) return 0;
    --size;
    return *data++;
  }
};

// A name of one letter, or, for bytes from 128 up, too long for its field.
struct Text {
  char text[NVRAM_VALUE_SIZE + 10];
  explicit Text(unsigned byte) : text() {
    std::memset(text, static_cast<int>(byte), byte < 128 ? 1 : sizeof text - 1);
  }
};

void lay_record(Input &input, char *segment) {
  const unsigned index = (input.byte() << 8 | input.byte()) % NVRAM_ENTRIES;
  char *entry = segment + static_cast<std::size_t>(index * NVRAM_ENTRY_SIZE);
  entry[NVRAM_ENTRY_SIZE - 2] = static_cast<char>(input.byte());
  entry[NVRAM_ENTRY_SIZE - 1] = static_cast<char>(input.byte());
  entry[NVRAM_ENTRY_SIZE - 3] = static_cast<char>(input.byte());
  std::memcpy(entry, Text(input.byte()).text, NVRAM_NAME_SIZE);
}

void operate(unsigned kind, const char *name, const char *value) {
  switch (kind % 4) {
    case 0:
      if (const char *found = nvram_get(name)) sum = sum + strnlen(found, NVRAM_VALUE_SIZE);
      break;
    case 1:
      if (nvram_set(name, value) == 0 && nvram_get(name) == nullptr) std::abort();
      break;
    case 2:
      nvram_unset(name);
      break;
    default:
      nvram_show_all();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  stdout = std::fopen("/dev/null", "w");
  stderr = std::fopen("/dev/null", "w");  // the fuzzer has kept its own
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Input input = {data, size};
  const std::unique_ptr<char[]> segment(new char[NVRAM_SEGMENT_SIZE]);
  std::memset(segment.get(), static_cast<int>(input.byte()), NVRAM_SEGMENT_SIZE);
  const std::size_t operations_size = input.byte() % 16 * 3;
  Input operations = {input.data, std::min(operations_size, input.size)};
  input.data += operations.size;
  input.size -= operations.size;
  while (input.size > 0)
    lay_record(input, segment.get());

  nvram_hash = segment.get();
  while (operations.size > 0) {
    const unsigned kind = operations.byte();
    const Text name(operations.byte());
    operate(kind, name.text, Text(operations.byte()).text);
  }
  nvram_hash = nullptr;
  return 0;
}
