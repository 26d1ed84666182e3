// CRCs beside a plain table loop and zlib's, which takes larger tables or several bytes at a time;
// MD5 beside OpenSSL's.
#include <benchmark/benchmark.h>
#include <openssl/md5.h>
#include <zlib.h>

#include <cstdint>
#include <vector>

#include "talvera/crc.h"
#include "talvera/md5.h"

namespace {

template <typename Digest>
void over(benchmark::State &state, Digest digest) {
  const auto size = static_cast<unsigned>(state.range(0));
  const std::vector<unsigned char> data(size, 0x5A);
  for (auto _ : state) {
    digest(data.data(), size);
  }
  state.SetBytesProcessed(state.iterations() * size);
}

// The table loop that one would write without the library, for one check at a time.
struct PlainTable {
  explicit PlainTable(std::uint32_t reflected) {
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t crc = i;
      for (int bit = 0; bit < 8; ++bit) {
        crc = crc >> 1 ^ ((crc & 1) != 0 ? reflected : 0);
      }
      entries[i] = crc;
    }
  }
  __attribute__((noinline)) std::uint32_t run(std::uint32_t crc, const unsigned char *data,
                                              unsigned size) const {
    for (unsigned i = 0; i < size; ++i) {
      crc = entries[(crc ^ data[i]) & 0xFF] ^ crc >> 8;
    }
    return crc;
  }
  std::uint32_t entries[256];
};

template <auto Function>
void crc(benchmark::State &state) {
  over(state, [](const unsigned char *data, unsigned size) {
    benchmark::DoNotOptimize(Function(0, data, size));
  });
}
BENCHMARK(crc<crc32_le>)->Name("crc32_le")->Arg(64)->Arg(65536);
BENCHMARK(crc<crc32_be>)->Name("crc32_be")->Arg(64)->Arg(65536);
BENCHMARK(crc<crc16_le>)->Name("crc16_le")->Arg(64)->Arg(65536);
BENCHMARK(crc<crc16_be>)->Name("crc16_be")->Arg(64)->Arg(65536);
BENCHMARK(crc<crc8>)->Name("crc8")->Arg(64)->Arg(65536);

void plain_table_crc(benchmark::State &state) {
  const PlainTable table(0xEDB88320);
  over(state, [&](const unsigned char *data, unsigned size) {
    benchmark::DoNotOptimize(table.run(0, data, size));
  });
}
BENCHMARK(plain_table_crc)->Arg(64)->Arg(65536);

void zlib_crc32(benchmark::State &state) {
  over(state, [](const unsigned char *data, unsigned size) {
    benchmark::DoNotOptimize(crc32(0, data, size));
  });
}
BENCHMARK(zlib_crc32)->Arg(64)->Arg(65536);

void md5(benchmark::State &state) {
  over(state, [](const unsigned char *data, unsigned size) {
    unsigned char digest[MD5_DIGEST_SIZE];
    MD5_digest(data, size, digest);
    benchmark::DoNotOptimize(digest);
  });
}
BENCHMARK(md5)->Arg(64)->Arg(65536);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void openssl_md5(benchmark::State &state) {
  over(state, [](const unsigned char *data, unsigned size) {
    unsigned char digest[MD5_DIGEST_SIZE];
    MD5_CTX context;
    MD5_Init(&context);
    MD5_Update(&context, data, size);
    MD5_Final(digest, &context);
    benchmark::DoNotOptimize(digest);
  });
}
BENCHMARK(openssl_md5)->Arg(64)->Arg(65536);
#pragma GCC diagnostic pop

}  // namespace
