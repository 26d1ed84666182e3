/* String routines and encoders: each over all of the sample texts. */
#include <stdio.h>
#include <string.h>

#include "results.h"
#include "talvera/strutil.h"

static void print_searches(const char *text) {
  static const char *const needles[] = {"", "WORD", "a", "\xe9", "255", "B\""};
  static const int lengths[] = {-1, 0, 3, 100};
  size_t i;
  size_t k;
  for (i = 0; i < COUNT(needles); i++) {
    printf("search %s", quoted(needles[i]));
    for (k = 0; k < COUNT(lengths); k++) {
      printf(" %s", at(text, strncasestr(text, needles[i], lengths[k])));
    }
    printf(" %s %s %s\n", at(text, strmatch_lowercase(text, needles[i])),
           at(text, GN_StrNotInSet(text, needles[i])), at(text, GN_StrCharInSet(text, needles[i])));
  }
}

static void print_changes(const char *text) {
  static const int sizes[] = {-1, 0, 1, 5, 100};
  char buffer[512];
  int length = 0;
  char *s;
  size_t i;

  for (i = 0; i < COUNT(sizes); i++) {
    const char *end;
    memset(buffer, '#', sizeof buffer);
    strfilt(buffer, text,
            " \xe9"
            "0",
            sizes[i]);
    printf("strfilt(%d) %s", sizes[i], quoted(buffer));
    strcpy(buffer, "head ");
    end = str_ncat(buffer, text, sizes[i]);
    printf(" str_ncat %s %s\n", at(buffer, end), quoted(buffer));
  }
  strcpy(buffer, "head ");
  str_cat(str_nfill(str_cat(buffer, text), '\xe9', 3), "tail");
  put_str(NULL, &length, text);
  printf("appended %s %d", quoted(buffer), length);
  s = scratch(text);
  string_toupper(s);
  printf(" upper %s", quoted(s));
  strip_trailing_white(s);
  printf(" stripped %s\n", quoted(s));
}

static void print_encodings(const char *text) {
  const unsigned char *const bytes = (const unsigned char *)text;
  const unsigned size = (unsigned)strlen(text);
  unsigned char decoded[512];
  char buffer[512];
  unsigned room;
  int i;

  for (i = 0; i < 3; i++) {
    int result;
    room = i == 0 ? (unsigned)sizeof buffer : (unsigned)i * 5;
    memset(buffer, 0, sizeof buffer);
    result = base64_encode(bytes, size, buffer, &room);
    printf("base64_encode %d %u %s\n", result, room, quoted(buffer));
    room = i == 0 ? (unsigned)sizeof decoded : (unsigned)i * 3;
    memset(decoded, 0, sizeof decoded);
    result = base64_decode(text, size, decoded, &room);
    printf("base64_decode %d %u %s\n", result, room, hexed(decoded, 40));
    room = i == 0 ? (unsigned)sizeof buffer : (unsigned)i * 6;
    memset(buffer, 0, sizeof buffer);
    result = entities_hex_encode(buffer, room, text);
    printf("entities_hex_encode(%u) %d %s\n", room, result, quoted(buffer));
  }
  for (i = -1; i <= (int)(2 * size) && i < 12; i++) {
    GN_HexToString(bytes, buffer, '\xe9', i);
    printf("hexadecimal(%d) %s", i, quoted(buffer));
    hex_to_str(bytes, buffer, i);
    printf(" %s\n", quoted(buffer));
  }
}

void print_strings(void) {
  size_t i;
  int character;

  for (i = 0; i < sample_count; i++) {
    printf("string %s\n", quoted(sample_texts[i]));
    print_searches(sample_texts[i]);
    print_changes(sample_texts[i]);
    print_encodings(sample_texts[i]);
  }
  printf("digits");
  for (character = -128; character < 260; character++) {
    if (hex(character) >= 0) printf(" %d=%d", character, hex(character));
  }
  printf("\n");
}
