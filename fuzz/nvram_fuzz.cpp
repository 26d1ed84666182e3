// The shared segment with arbitrary content, as another process may have written it, then pair
// operations. The segment is a block of exactly its size.
//
// Input: the fill byte of the segment, the number of operations, the operations (kind, name, value)
// and records of six bytes (index, link, used, name) that modify the segment.
#include "fuzz/fuzz.h"

#include <cstdio>

#include "talvera/nvram.h"

// A name of one letter or, for bytes from 128 up, one too long for its field.
static std::string text_of(unsigned byte) {
  return std::string(byte < 128 ? 1 : NVRAM_VALUE_SIZE + 9, static_cast<char>(byte)).c_str();
}

static void lay_record(Input &input, char *segment) {
  const unsigned index = (input.byte() << 8 | input.byte()) % NVRAM_ENTRIES;
  char *entry = segment + static_cast<std::size_t>(index * NVRAM_ENTRY_SIZE);
  for (const int place : {2, 1, 3})
    entry[NVRAM_ENTRY_SIZE - place] = static_cast<char>(input.byte());
  std::strncpy(entry, text_of(input.byte()).c_str(), NVRAM_NAME_SIZE);
}

static void operate(unsigned kind, const std::string &name, const std::string &value) {
  switch (kind % 4) {
    case 0:
      if (const char *found = nvram_get(name.c_str())) {
        read_all(found, strnlen(found, NVRAM_VALUE_SIZE));
      }
      break;
    case 1:
      require(nvram_set(name.c_str(), value.c_str()) != 0 || nvram_get(name.c_str()) != nullptr);
      break;
    case 2:
      nvram_unset(name.c_str());
      break;
    default:
      nvram_show_all();
  }
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  stdout = std::fopen("/dev/null", "w");
  stderr = std::fopen("/dev/null", "w");  // the fuzzer keeps its own copy
  return 0;
}

FUZZ(input) {
  const auto segment = block(NVRAM_SEGMENT_SIZE);
  std::memset(segment.get(), static_cast<int>(input.byte()), NVRAM_SEGMENT_SIZE);
  const std::size_t operations_size = input.byte() % 16 * 3;
  Input operations = {input.data, std::min(operations_size, input.size)};
  input.skip(operations.size);
  while (input.size > 0)
    lay_record(input, segment.get());

  nvram_hash = segment.get();
  while (operations.size > 0) {
    const unsigned kind = operations.byte();
    const std::string name = text_of(operations.byte());
    operate(kind, name, text_of(operations.byte()));
  }
  nvram_hash = nullptr;
}
