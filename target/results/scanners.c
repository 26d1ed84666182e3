/* Scanners, splitters, numbers and ranges: each over all of the sample texts. */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "results.h"
#include "talvera/strutil.h"

static void print_skips(const char *text) {
  static char *(*const skips[])(char *) = {skip_space, skip_blank, skip_nonspace, skip_nonblank};
  char *s = scratch(text);
  size_t i;
  printf("skip");
  for (i = 0; i < COUNT(skips); i++)
    printf(" %s", at(s, skips[i](s)));
  printf(" hexadecimal %d %d delimiter %s\n", isxstring(s), StringIsHexDigits(s),
         quoted(str_get_delim(s)));
}

static void print_words(const char *text) {
  static const int sizes[] = {-1, 0, 1, 2, 5, 64};
  static const int delimiters[] = {0, ',', ' ', '\"', 0xe9};
  char buffer[80];
  size_t i;
  for (i = 0; i < COUNT(sizes); i++) {
    char *s = scratch(text);
    const char *end;
    memset(buffer, '#', sizeof buffer);
    end = get_word(s, buffer, sizes[i]);
    printf("get_word(%d) %s %s\n", sizes[i], at(s, end), hexed(buffer, 8));
  }
  for (i = 0; i < COUNT(delimiters); i++) {
    char *s = scratch(text);
    const char *end = get_string(s, buffer, i % 2 == 0 ? 64 : 3, delimiters[i]);
    printf("get_string(%d) %s %s\n", delimiters[i], at(s, end), quoted(buffer));
  }
}

static void print_numbers(const char *text) {
  static const int bases[] = {0, 2, 8, 10, 16, 36};
  unsigned long number = 7;
  long signed_number = 7;
  int integer = 7;
  unsigned short half = 7;
  char *s;
  size_t i;

  for (i = 0; i < COUNT(bases); i++) {
    s = scratch(text);
    printf("get_number(%d) %s", bases[i], at(s, get_number(s, &number, bases[i])));
    printf(" %lu\n", number);
  }
  s = scratch(text);
  printf("numbers %s", at(s, get_hex(s, &number)));
  printf(" %lu %s", number, at(s, get_long(s, &signed_number)));
  printf(" %ld %s", signed_number, at(s, get_int(s, &integer)));
  printf(" %d %s", integer, at(s, get_ushort(s, &half)));
  printf(" %d\n", half);

  s = scratch(text);
  printf("ValidateUlong %d", ValidateUlong(s, &number));
  printf(" %lu %s", number, quoted(s));
  s = scratch(text);
  printf(" ValidateLong %d", ValidateLong(s, &signed_number));
  printf(" %ld\n", signed_number);
}

static void print_ranges(const char *text) {
  static const long bounds[][2] = {{-2147483647L - 1, 2147483647L}, {0, 65535}, {-1, 0}, {10, -10}};
  int low = 7, high = 7;
  char *s = scratch(text);
  size_t i;

  errno = 0;
  printf("str_to_port_range %d", str_to_port_range(s, &low, &high));
  printf(" %d %d %s\n", low, high, error_name(errno));
  for (i = 0; i < COUNT(bounds); i++) {
    long value = 7;
    int result;
    errno = 0;
    result = strtol_range(&value, s, bounds[i][0], bounds[i][1]);
    printf("strtol_range(%ld..%ld) %d %ld %s\n", bounds[i][0], bounds[i][1], result, value,
           result == 0 ? "" : error_name(errno));
  }
  for (i = 0; i < 3; i++) {
    int result;
    low = high = 7;
    result = atm_parse_vi(s, (int)i, &low, &high);
    printf("atm_parse_vi(%d) %d %d %d\n", (int)i, result, low, high);
  }
}

static void print_addresses(const char *text) {
  struct in_addr address;
  struct ether_addr mac;
  unsigned char bytes[6];
  char *s = scratch(text);
  unsigned flags;

  memset(&address, '#', sizeof address);
  memset(&mac, '#', sizeof mac);
  printf("get_ip %s", at(s, get_ip(s, &address)));
  printf(" %s get_mac %s", hexed(&address, sizeof address), at(s, get_mac(s, &mac)));
  printf(" %s\n", hexed(&mac, sizeof mac));
  for (flags = 0; flags < 4; flags++) {
    int result;
    memset(bytes, '#', sizeof bytes);
    result = parse_macaddr(s, flags & 1, flags >> 1, bytes);
    printf("parse_macaddr(%u) %d %s\n", flags, result, hexed(bytes, sizeof bytes));
  }
}

static void print_arguments(const char *name, int argc, char *const argv[]) {
  int i;
  printf("%s %d:", name, argc);
  for (i = 0; i < argc; i++)
    printf(" %s", quoted(argv[i]));
  printf("\n");
}

static void print_splits(const char *text) {
  char *argv[ARGS_SLOTS + 1];
  char *s = scratch(text);
  char *rest;
  int argc;
  int max;

  str_to_args(s, &argc, argv);
  print_arguments("str_to_args", argc, argv);
  s = scratch(text);
  str_to_args_by_delim(s, " ,-/:", &argc, argv);
  print_arguments("str_to_args_by_delim", argc, argv);
  for (max = -1; max < 3; max++) {
    s = scratch(text);
    rest = str_to_args_by_delim1(s, " ", &argc, argv, max);
    print_arguments("str_to_args_by_delim1", argc, argv);
    printf("then %s\n", quoted(rest));
  }
  s = scratch(text);
  printf("token_extract");
  while (s != NULL) {
    const char *token = token_extract(&s);
    printf(" %s", quoted(token));
    if (token == NULL) break;
  }
  printf("\n");
}

void print_scanners(void) {
  static const unsigned ends[][2] = {{0, 0},      {80, 80},       {80, 90},
                                     {90, 80},    {65535, 65535}, {1, 65535},
                                     {65536, 80}, {70000, 70001}, {0, 4294967295U}};
  static const int delimiters[] = {'-', ':', 31, 32, 127, 128, -1};
  size_t i;
  size_t k;

  for (i = 0; i < sample_count; i++) {
    printf("text %s\n", quoted(sample_texts[i]));
    print_skips(sample_texts[i]);
    print_words(sample_texts[i]);
    print_numbers(sample_texts[i]);
    print_ranges(sample_texts[i]);
    print_addresses(sample_texts[i]);
    print_splits(sample_texts[i]);
  }
  for (i = 0; i < COUNT(ends); i++) {
    for (k = 0; k < COUNT(delimiters); k++) {
      char buffer[16] = "";
      const char *result = range_to_portstr(buffer, ends[i][0], ends[i][1], delimiters[k]);
      printf("range_to_portstr(%u, %u, %d) %s\n", ends[i][0], ends[i][1], delimiters[k],
             quoted(result));
    }
  }
}
