// Text, numbers, encodings, dates.
#include <openssl/evp.h>
#include <strings.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "rows.h"
#include "talvera/args.h"
#include "talvera/encode.h"
#include "talvera/scan.h"
#include "talvera/strutil.h"
#include "talvera/time.h"
#include "talvera/values.h"

namespace rows {
namespace {

// ---- Strings ---------------------------------------------------------------------------------

constexpr char kAgent[] =
    "Mozilla/5.0 (X11; Linux mips) Gateway/1.0 administration page, session 42";

void find_nocase() {
  check(strncasestr(kAgent, "SESSION", 1024) != nullptr);
}

void plain_find_nocase() {
  const char *match = nullptr;
  for (const char *p = kAgent; *p != '\0' && match == nullptr; ++p) {
    if (strncasecmp(p, "SESSION", 7) == 0) match = p;
  }
  check(match != nullptr);
}

// A line of eight words in a buffer of 128 bytes.
void append() {
  char line[128];
  line[0] = '\0';
  char *end = line;
  for (int i = 0; i < 8; ++i)
    end = str_ncat(end, "value, ", static_cast<int>(sizeof line - 1 - (end - line)));
  keep(line);
}

void plain_append() {
  char line[128];
  line[0] = '\0';
  for (int i = 0; i < 8; ++i)
    std::strncat(line, "value, ", sizeof line - 1 - std::strlen(line));
  keep(line);
}

constexpr unsigned char kDigest[16] = {0xD4, 0x1D, 0x8C, 0xD9, 0x8F, 0x00, 0xB2, 0x04,
                                       0xE9, 0x80, 0x09, 0x98, 0xEC, 0xF8, 0x42, 0x7E};

void digest_text() {
  char text[33];
  hex_to_str(kDigest, text, 32);
  keep(text);
}

void plain_digest_text() {
  char text[33];
  for (int i = 0; i < 16; ++i)
    std::snprintf(text + 2 * i, 3, "%02x", kDigest[i]);
  keep(text);
}

// ---- Numbers and words -----------------------------------------------------------------------

constexpr char kNumbers[] =
    "192 168 1 254\t8080 65535 1 2 3 4000000000\t17 42 1500 86400 3600 1024 4096 7 0 99";
constexpr unsigned long kNumberSum = 4000171021;
constexpr char kSpaces[] = " \t\r\n\v\f";

void scan_numbers() {
  static char line[sizeof kNumbers];
  std::memcpy(line, kNumbers, sizeof kNumbers);
  unsigned long sum = 0;
  unsigned long value;
  char *p = line;
  for (char *next; (next = getnum(p, &value, 10)) != p; p = next)
    sum += value;
  check(sum == kNumberSum);
}

void strtoul_numbers() {
  static char line[sizeof kNumbers];
  std::memcpy(line, kNumbers, sizeof kNumbers);
  unsigned long sum = 0;
  char *p = line;
  for (char *next;; p = next) {
    const unsigned long value = std::strtoul(p, &next, 10);
    if (next == p) break;
    sum += value;
  }
  check(sum == kNumberSum);
}

void split_and_validate() {
  char line[sizeof kNumbers];
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

void strtok_and_strtoul() {
  char line[sizeof kNumbers];
  std::memcpy(line, kNumbers, sizeof kNumbers);
  unsigned long sum = 0;
  char *rest;
  for (char *word = strtok_r(line, kSpaces, &rest); word != nullptr;
       word = strtok_r(nullptr, kSpaces, &rest))
    sum += std::strtoul(word, nullptr, 10);
  check(sum == kNumberSum);
}

constexpr char kFields[] =
    "eth0.2;192.168.1.1;255.255.255.0;dhcp;up;1500;00:11:22:33:44:55;lan;;bridge;auto";
constexpr int kFieldCount = 10;

void split_by_delimiter() {
  char line[sizeof kFields];
  std::memcpy(line, kFields, sizeof kFields);
  int count;
  char *words[ARGS_SLOTS];
  str_to_args_by_delim(line, ";", &count, words);
  check(count == kFieldCount);
}

void strtok_by_delimiter() {
  char line[sizeof kFields];
  std::memcpy(line, kFields, sizeof kFields);
  int count = 0;
  char *words[ARGS_SLOTS];
  char *rest;
  for (char *word = strtok_r(line, ";", &rest); word != nullptr && count < ARGS_SLOTS;
       word = strtok_r(nullptr, ";", &rest))
    words[count++] = word;
  keep(words);
  check(count == kFieldCount);
}

void print_number() {
  char *text = nullptr;
  mkstr_ulong(&text, 4000000000);
  std::free(text);
}

void snprintf_number() {
  char text[24];
  std::snprintf(text, sizeof text, "%lu", 4000000000UL);
  std::free(strdup(text));
}

constexpr const char *kNames[] = {"none", "static", "dhcp", "pppoe", "pptp", "l2tp", "bridge"};
constexpr ust_entry kEntries[] = {{0, kNames[0]}, {1, kNames[1]}, {2, kNames[2]}, {3, kNames[3]},
                                  {4, kNames[4]}, {5, kNames[5]}, {6, kNames[6]}};
constexpr ust_table kTable = {kEntries, 7};

void look_up_name() {
  check(ust_lookup_index_by_name(&kTable, "bridge") == 6);
}

void plain_look_up_name() {
  int found = -1;
  for (int i = 0; i < 7 && found < 0; ++i) {
    if (std::strcmp(kNames[i], "bridge") == 0) found = i;
  }
  check(found == 6);
}

// ---- Encodings -------------------------------------------------------------------------------

constexpr unsigned kLong = 1500;
unsigned char bytes[kLong];
char encoded[kLong * 4 / 3 + 1];

template <unsigned kSize>
void encode_base64() {
  static char text[kSize * 4 / 3 + 5];
  unsigned length = sizeof text;
  check(base64_encode(bytes, kSize, text, &length) == 0);
}

template <unsigned kSize>
void encode_base64_openssl() {
  static unsigned char text[kSize * 4 / 3 + 5];
  check(EVP_EncodeBlock(text, bytes, kSize) > 0);
}

template <unsigned kSize>
void decode_base64() {
  static unsigned char out[kSize + 3];
  unsigned length = sizeof out;
  check(base64_decode(encoded, kSize * 4 / 3, out, &length) == 0 && length == kSize);
}

template <unsigned kSize>
void decode_base64_openssl() {
  static unsigned char out[kSize + 3];
  check(EVP_DecodeBlock(out, reinterpret_cast<unsigned char *>(encoded), kSize * 4 / 3) == kSize);
}

// A page fragment of plain words and one of markup.
constexpr char kPlainPiece[] = "Wireless network name of the guest room: ";
constexpr char kMarkupPiece[] = "<a href=\"/x?a=1&b=2\">it's</a> ";
char plain_page[2000];
char markup_page[2000];
char encoded_page[12001];

template <char (&kPage)[2000]>
void encode_entities() {
  check(entities_hex_encode(encoded_page, sizeof encoded_page, kPage) == 0);
}

template <char (&kPage)[2000]>
void plain_encode_entities() {
  char *to = encoded_page;
  std::size_t room = sizeof encoded_page - 1;
  for (const char *from = kPage; *from != '\0' && room > 0; ++from) {
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
}

// ---- Dates -----------------------------------------------------------------------------------

std::array<std::int32_t, 64> moments;

void seconds_to_date() {
  for (const std::int32_t second : moments) {
    datetime date;
    stod(second, &date);
    keep(date);
  }
}

void seconds_to_date_gmtime() {
  for (const std::int32_t second : moments) {
    const std::time_t when = second;
    std::tm date;
    gmtime_r(&when, &date);
    keep(date);
  }
}

void there_and_back() {
  for (const std::int32_t second : moments) {
    datetime date;
    stod(second, &date);
    check(dtos(&date) == static_cast<std::uint32_t>(second));
  }
}

void there_and_back_timegm() {
  for (const std::int32_t second : moments) {
    const std::time_t when = second;
    std::tm date;
    gmtime_r(&when, &date);
    check(timegm(&date) == when);
  }
}

constexpr Row kRows[] = {
    {"strncasestr, vs. strncasecmp at each place", find_nocase, plain_find_nocase},
    {"str_ncat of 8 words, vs. strncat", append, plain_append},
    {"hex_to_str of 16 bytes, vs. snprintf", digest_text, plain_digest_text},
    {"getnum of 20 numbers, vs. strtoul", scan_numbers, strtoul_numbers},
    {"20 words split and validated, vs. strtok_r and strtoul", split_and_validate,
     strtok_and_strtoul},
    {"10 fields split by a delimiter, vs. strtok_r", split_by_delimiter, strtok_by_delimiter},
    {"mkstr_ulong, vs. snprintf and strdup", print_number, snprintf_number},
    {"ust_lookup_index_by_name, 7th, vs. a plain loop", look_up_name, plain_look_up_name},
    {"base64_encode of 24 bytes, vs. OpenSSL", encode_base64<24>, encode_base64_openssl<24>},
    {"base64_encode of 1,500 bytes", encode_base64<kLong>, encode_base64_openssl<kLong>},
    {"base64_decode to 24 bytes, vs. OpenSSL", decode_base64<24>, decode_base64_openssl<24>},
    {"base64_decode to 1,500 bytes", decode_base64<kLong>, decode_base64_openssl<kLong>},
    {"entities_hex_encode, plain text, vs. a plain loop", encode_entities<plain_page>,
     plain_encode_entities<plain_page>},
    {"entities_hex_encode, markup", encode_entities<markup_page>,
     plain_encode_entities<markup_page>},
    {"stod of 64 timestamps, vs. gmtime_r", seconds_to_date, seconds_to_date_gmtime},
    {"stod and dtos of 64 timestamps, vs. gmtime_r and timegm", there_and_back,
     there_and_back_timegm},
};

void fill_page(char *page, std::size_t size, const char *piece) {
  const std::size_t length = std::strlen(piece);
  for (std::size_t i = 0; i + 1 < size; ++i)
    page[i] = piece[i % length];
}

}  // namespace

const std::span<const Row> kText = kRows;

void prepare_text() {
  std::uint32_t state = 1;
  const auto next = [&state] { return state = state * 1664525 + 1013904223; };
  for (unsigned char &byte : bytes)
    byte = static_cast<unsigned char>(next() >> 24);
  EVP_EncodeBlock(reinterpret_cast<unsigned char *>(encoded), bytes, kLong);
  fill_page(plain_page, sizeof plain_page, kPlainPiece);
  fill_page(markup_page, sizeof markup_page, kMarkupPiece);
  for (std::int32_t &moment : moments)
    moment = static_cast<std::int32_t>(next() >> 1);
}

}  // namespace rows
