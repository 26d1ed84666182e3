// CRCs against a plain table loop and zlib's, which uses larger tables or several bytes at a time;
// MD5 against OpenSSL's.
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

// The table loops that a program would have without the library.
template <typename Word, bool kMsbFirst>
class PlainTable {
 public:
  explicit PlainTable(std::uint32_t polynomial) {
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t crc = kMsbFirst ? i << (kWidth - 8) : i;
      for (int bit = 0; bit < 8; ++bit) {
        const bool out = (crc >> (kMsbFirst ? kWidth - 1 : 0) & 1) != 0;
        crc = (kMsbFirst ? crc << 1 : crc >> 1) ^ (out ? polynomial : 0);
      }
      entries_[i] = static_cast<Word>(crc);
    }
  }
  [[gnu::noinline]] Word run(Word crc, const unsigned char *data, unsigned size) const {
    for (unsigned i = 0; i < size; ++i) {
      if constexpr (kMsbFirst) {
        crc = static_cast<Word>(entries_[data[i] ^ crc >> (kWidth - 8)] ^ crc << 8);
      } else {
        crc = static_cast<Word>(entries_[(crc ^ data[i]) & 0xFF] ^ crc >> 8);
      }
    }
    return crc;
  }

 private:
  static constexpr unsigned kWidth = sizeof(Word) * 8;
  Word entries_[256];
};

template <auto Function>
void ours(benchmark::State &state) {
  over(state, [](const unsigned char *data, unsigned size) {
    benchmark::DoNotOptimize(Function(0, data, size));
  });
}

template <typename Word, bool kMsbFirst, std::uint32_t kPolynomial>
void plain(benchmark::State &state) {
  const PlainTable<Word, kMsbFirst> table(kPolynomial);
  over(state, [&](const unsigned char *data, unsigned size) {
    benchmark::DoNotOptimize(table.run(0, data, size));
  });
}

BENCHMARK(ours<crc32_le>)->Name("crc32_le")->Arg(64)->Arg(65536);
BENCHMARK(plain<std::uint32_t, false, 0xEDB88320>)->Name("crc32_le_plain")->Arg(64)->Arg(65536);
BENCHMARK(ours<crc32_be>)->Name("crc32_be")->Arg(64)->Arg(65536);
BENCHMARK(plain<std::uint32_t, true, 0x04C11DB7>)->Name("crc32_be_plain")->Arg(64)->Arg(65536);
BENCHMARK(ours<crc16_le>)->Name("crc16_le")->Arg(64)->Arg(65536);
BENCHMARK(plain<std::uint16_t, false, 0x8408>)->Name("crc16_le_plain")->Arg(64)->Arg(65536);
BENCHMARK(ours<crc16_be>)->Name("crc16_be")->Arg(64)->Arg(65536);
BENCHMARK(plain<std::uint16_t, true, 0x1021>)->Name("crc16_be_plain")->Arg(64)->Arg(65536);
BENCHMARK(ours<crc8>)->Name("crc8")->Arg(64)->Arg(65536);
BENCHMARK(plain<std::uint8_t, true, 0xD5>)->Name("crc8_plain")->Arg(64)->Arg(65536);

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
