// Text: splitting and number scanning against strtok_r with strtoul, Base64 against OpenSSL and
// GLib, character references against a plain loop.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <openssl/evp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "talvera/strutil.h"

namespace {

void check(bool right) {
  if (!right) std::abort();
}

// A line of configuration numbers, and a buffer for the copy that is split.
constexpr char kNumbers[] =
    "192 168 1 254\t8080 65535 1 2 3 4000000000\t17 42 1500 86400 3600 1024 4096 7 0 99";
constexpr unsigned long kNumberSum = 4000171021;

void scan_numbers(benchmark::State &state) {
  std::string line = kNumbers;
  for (auto _ : state) {
    unsigned long sum = 0;
    unsigned long value;
    char *p = line.data();
    for (char *next; (next = getnum(p, &value, 10)) != p; p = next)
      sum += value;
    benchmark::DoNotOptimize(sum);
    check(sum == kNumberSum);
  }
}
BENCHMARK(scan_numbers);

void split_words_and_validate(benchmark::State &state) {
  char line[sizeof kNumbers];
  for (auto _ : state) {
    std::memcpy(line, kNumbers, sizeof kNumbers);
    int count;
    char *words[ARGS_SLOTS];
    str_to_args(line, &count, words);
    unsigned long sum = 0;
    unsigned long value;
    for (int i = 0; i < count; ++i) {
      if (ValidateUlong(words[i], &value) == 0) sum += value;
    }
    check(sum == kNumberSum);
  }
}
BENCHMARK(split_words_and_validate);

void strtok_r_and_strtoul(benchmark::State &state) {
  char line[sizeof kNumbers];
  for (auto _ : state) {
    std::memcpy(line, kNumbers, sizeof kNumbers);
    unsigned long sum = 0;
    char *rest;
    for (char *word = strtok_r(line, " \t\r\n\v\f", &rest); word != nullptr;
         word = strtok_r(nullptr, " \t\r\n\v\f", &rest))
      sum += std::strtoul(word, nullptr, 10);
    check(sum == kNumberSum);
  }
}
BENCHMARK(strtok_r_and_strtoul);

constexpr char kFields[] =
    "eth0.2;192.168.1.1;255.255.255.0;dhcp;up;1500;00:11:22:33:44:55;lan;;bridge;auto";
constexpr int kFieldCount = 10;

void split_by_delimiter(benchmark::State &state) {
  char line[sizeof kFields];
  for (auto _ : state) {
    std::memcpy(line, kFields, sizeof kFields);
    int count;
    char *words[ARGS_SLOTS];
    str_to_args_by_delim(line, ";", &count, words);
    benchmark::DoNotOptimize(words);
    check(count == kFieldCount);
  }
}
BENCHMARK(split_by_delimiter);

void strtok_r_by_delimiter(benchmark::State &state) {
  char line[sizeof kFields];
  for (auto _ : state) {
    std::memcpy(line, kFields, sizeof kFields);
    int count = 0;
    char *words[ARGS_SLOTS];
    char *rest;
    for (char *word = strtok_r(line, ";", &rest); word != nullptr && count < ARGS_SLOTS;
         word = strtok_r(nullptr, ";", &rest))
      words[count++] = word;
    benchmark::DoNotOptimize(words);
    check(count == kFieldCount);
  }
}
BENCHMARK(strtok_r_by_delimiter);

// Base64 of a short secret, a certificate and a picture.
void base64_sizes(benchmark::internal::Benchmark *bench) {
  bench->Arg(24)->Arg(1500)->Arg(262144);
}

std::vector<unsigned char> some_bytes(std::size_t size) {
  std::vector<unsigned char> bytes(size);
  unsigned state = 1;
  for (unsigned char &byte : bytes)
    byte = static_cast<unsigned char>((state = state * 1664525 + 1013904223) >> 24);
  return bytes;
}

std::string encoded_bytes(std::size_t size) {
  const std::vector<unsigned char> bytes = some_bytes(size);
  std::string text((size + 2) / 3 * 4, '\0');
  EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()), bytes.data(),
                  static_cast<int>(size));
  return text;
}

void encode_base64(benchmark::State &state) {
  const std::vector<unsigned char> bytes = some_bytes(static_cast<std::size_t>(state.range(0)));
  std::vector<char> text(bytes.size() * 2 + 5);
  for (auto _ : state) {
    auto length = static_cast<unsigned>(text.size());
    check(base64_encode(bytes.data(), static_cast<unsigned>(bytes.size()), text.data(), &length) ==
          0);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(encode_base64)->Apply(base64_sizes);

void encode_base64_openssl(benchmark::State &state) {
  const std::vector<unsigned char> bytes = some_bytes(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> text(bytes.size() * 2 + 5);
  for (auto _ : state) {
    check(EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size())) > 0);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(encode_base64_openssl)->Apply(base64_sizes);

void encode_base64_glib(benchmark::State &state) {
  const std::vector<unsigned char> bytes = some_bytes(static_cast<std::size_t>(state.range(0)));
  std::vector<char> text(bytes.size() * 2 + 5);
  for (auto _ : state) {
    int step_state = 0;
    int save = 0;
    const gsize length =
        g_base64_encode_step(bytes.data(), bytes.size(), FALSE, text.data(), &step_state, &save);
    g_base64_encode_close(FALSE, text.data() + length, &step_state, &save);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(encode_base64_glib)->Apply(base64_sizes);

void decode_base64(benchmark::State &state) {
  const std::string text = encoded_bytes(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size());
  for (auto _ : state) {
    auto length = static_cast<unsigned>(bytes.size());
    check(base64_decode(text.data(), static_cast<unsigned>(text.size()), bytes.data(), &length) ==
          0);
    check(length == static_cast<unsigned>(state.range(0)));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(decode_base64)->Apply(base64_sizes);

void decode_base64_openssl(benchmark::State &state) {
  const std::string text = encoded_bytes(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size());
  for (auto _ : state) {
    check(EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char *>(text.data()),
                          static_cast<int>(text.size())) > 0);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(decode_base64_openssl)->Apply(base64_sizes);

void decode_base64_glib(benchmark::State &state) {
  const std::string text = encoded_bytes(static_cast<std::size_t>(state.range(0)));
  std::vector<unsigned char> bytes(text.size());
  for (auto _ : state) {
    int step_state = 0;
    guint save = 0;
    check(g_base64_decode_step(text.data(), text.size(), bytes.data(), &step_state, &save) ==
          static_cast<gsize>(state.range(0)));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(decode_base64_glib)->Apply(base64_sizes);

// A page fragment of plain words (argument 0) or of markup (argument 1), about 4 KiB.
std::string page(bool markup) {
  std::string text;
  while (text.size() < 4096)
    text +=
        markup ? "<a href=\"/x?a=1&b=2\">it's</a> " : "Wireless network name of the guest room: ";
  return text;
}

void page_kinds(benchmark::internal::Benchmark *bench) {
  bench->Arg(0)->Arg(1);
}

void encode_entities(benchmark::State &state) {
  const std::string in = page(state.range(0) != 0);
  std::vector<char> out(in.size() * 6 + 2);
  for (auto _ : state) {
    check(entities_hex_encode(out.data(), static_cast<unsigned>(out.size()), in.c_str()) == 0);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}
BENCHMARK(encode_entities)->Apply(page_kinds);

void encode_entities_plain_loop(benchmark::State &state) {
  const std::string in = page(state.range(0) != 0);
  std::vector<char> out(in.size() * 6 + 2);
  for (auto _ : state) {
    char *to = out.data();
    std::size_t room = out.size() - 1;
    for (const char *from = in.c_str(); *from != '\0' && room > 0; ++from) {
      const char c = *from;
      if (c != '<' && c != '>' && c != '/' && c != '"' && c != '\'' && c != '&') {
        *to++ = c;
        --room;
      } else if (room >= 6) {
        static constexpr char kDigits[] = "0123456789abcdef";
        const char reference[] = {'&', '#', 'x', kDigits[c >> 4], kDigits[c & 15], ';'};
        std::memcpy(to, reference, 6);
        to += 6;
        room -= 6;
      }
    }
    *to = '\0';
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}
BENCHMARK(encode_entities_plain_loop)->Apply(page_kinds);

}  // namespace
