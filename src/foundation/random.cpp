// Random bytes and numbers from the kernel's devices.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "internal/big_endian.h"
#include "internal/streams.h"
#include "talvera/utils.h"

namespace talvera::foundation {
namespace {

constexpr char kRandom[] = "/dev/random";
constexpr char kUrandom[] = "/dev/urandom";

// A failed read intentionally stores 0xFF, which is EOF as a byte, and is not an error.
int read_device(const char *device, void *buffer, std::size_t length) {
  char drawn[64];  // small, so that little more entropy is drawn than requested
  const FilePtr stream(std::fopen(device, "r"));
  if (stream == nullptr) return -1;
  std::setvbuf(stream.get(), drawn, _IOFBF, sizeof drawn);
  auto *bytes = static_cast<std::uint8_t *>(buffer);
  for (std::size_t i = 0; i < length; ++i)
    bytes[i] = static_cast<std::uint8_t>(std::fgetc(stream.get()));
  return 0;
}

// Returns UINT32_MAX if the device cannot be opened.
[[gnu::noinline]] std::uint32_t draw_number(const char *device) {
  std::uint32_t number = UINT32_MAX;
  read_device(device, &number, sizeof number);
  return as_big_endian(number);
}

}  // namespace
}  // namespace talvera::foundation

using namespace talvera::foundation;

extern "C" int rand_read(void *buf, size_t size) {
  return read_device(kRandom, buf, size);
}

extern "C" int urand_read(void *buf, size_t size) {
  return read_device(kUrandom, buf, size);
}

extern "C" uint32_t rand_generate_uint32(void) {
  return draw_number(kRandom);
}

extern "C" uint32_t urand_generate_uint32(void) {
  return draw_number(kUrandom);
}
