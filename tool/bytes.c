/* Growing buffers, escapes for unprintable bytes, reading of whole files. */
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/strutil.h"
#include "talvera/utils.h"
#include "tool.h"

enum { CHUNK = 16384, LONGEST_INPUT = INT_MAX / 6 };

void *must(void *block) {
  if (block == NULL) {
    fputs("talvera: out of memory\n", stderr); /* without formatting, which would allocate */
    exit(FAILED);
  }
  return block;
}

static void reserve(struct bytes *bytes, size_t more) {
  const size_t needed = bytes->length + more + 1;

  if (needed <= bytes->room) return;
  bytes->room = needed > 2 * bytes->room ? needed : 2 * bytes->room;
  bytes->data = must(realloc(bytes->data, bytes->room));
}

void append(struct bytes *bytes, const void *data, size_t length) {
  reserve(bytes, length);
  if (length > 0) memcpy(bytes->data + bytes->length, data, length);
  bytes->length += length;
  bytes->data[bytes->length] = '\0';
}

void release(struct bytes *bytes) {
  free(bytes->data);
  memset(bytes, 0, sizeof *bytes);
}

/* ---- Escapes --------------------------------------------------------------------------------- */

/* RFC 3629: rejects overlong forms, surrogates and code points above U+10FFFF. */
size_t utf8_length(const unsigned char *data, size_t length) {
  const unsigned char first = data[0];
  const size_t size = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  size_t i;

  if (size == 0 || size > length || first > 0xF4) return 0;
  for (i = 1; i < size; ++i) {
    if ((data[i] & 0xC0) != 0x80) return 0;
  }
  if (first == 0xE0 && data[1] < 0xA0) return 0;
  if (first == 0xED && data[1] > 0x9F) return 0;
  if (first == 0xF0 && data[1] < 0x90) return 0;
  return first == 0xF4 && data[1] > 0x8F ? 0 : size;
}

/* Control characters that affect a terminal: ASCII's, DEL, and U+0080 to U+009F. */
static int is_control(const unsigned char *data) {
  return data[0] < 0x20 || data[0] == 0x7F || (data[0] == 0xC2 && data[1] < 0xA0);
}

/* Characters with an escape of one letter, and the letters. */
static const char escaped[] = "\\\n\r\t", escapes[] = "\\nrt";

static void append_escape(struct bytes *bytes, unsigned char byte) {
  const char *known = byte != '\0' ? strchr(escaped, byte) : NULL;
  char text[5] = "\\x";

  if (known != NULL) {
    text[1] = escapes[known - escaped];
  } else {
    hex_to_str(&byte, text + 2, 2);
  }
  append(bytes, text, strlen(text));
}

void append_escaped(struct bytes *bytes, const void *data, size_t length, const char *also) {
  const unsigned char *cursor = data, *end = cursor + length;

  append(bytes, NULL, 0);
  while (cursor < end) {
    const size_t size = utf8_length(cursor, (size_t)(end - cursor));

    if (size > 0 && *cursor != '\\' && !is_control(cursor) && strchr(also, *cursor) == NULL) {
      append(bytes, cursor, size);
      cursor += size;
    } else {
      append_escape(bytes, *cursor++);
    }
  }
}

/* Parses the escape after a backslash; returns null if it is invalid. */
static const char *take_escape(const char *cursor, char *byte) {
  const char *known = *cursor != '\0' ? strchr(escapes, *cursor) : NULL;

  if (known != NULL) {
    *byte = escaped[known - escapes];
    return cursor + 1;
  }
  if (*cursor != 'x' || hex(cursor[1]) < 0 || hex(cursor[2]) < 0) return NULL;
  *byte = (char)(hex(cursor[1]) * 16 + hex(cursor[2]));
  return cursor + 3;
}

int unescape(char *text, size_t *length) {
  const char *from = text, *end = text + *length;
  char *to = text;

  while (from < end) {
    if (*from != '\\') {
      *to++ = *from++;
    } else {
      from = take_escape(from + 1, to++);
      if (from == NULL) return -1;
    }
  }
  *to = '\0';
  *length = (size_t)(to - text);
  return 0;
}

void append_quoted(struct bytes *bytes, const char *text) {
  append(bytes, "'", 1);
  for (; *text != '\0'; ++text)
    append(bytes, *text == '\'' ? "'\\''" : text, *text == '\'' ? 4 : 1);
  append(bytes, "'", 1);
}

void wipe(void *data, size_t length) {
  volatile unsigned char *cursor = data;

  while (length-- > 0)
    *cursor++ = 0;
}

/* ---- Files ----------------------------------------------------------------------------------- */

int open_input(const char *path) {
  int fd;

  if (path == NULL || strcmp(path, "-") == 0) return dup(STDIN_FILENO);
  fd = open(path, O_RDONLY | O_CLOEXEC | O_LARGEFILE);
  if (fd < 0) failed("%s", path);
  return fd;
}

/* Reads until there are more than `max` bytes, which sets *longer. */
static int read_limited(const char *path, size_t max, struct bytes *bytes, int *longer) {
  const int fd = open_input(path);
  int count;

  if (fd < 0) return FAILED;
  do {
    reserve(bytes, CHUNK);
    count = uf_full_read(fd, bytes->data + bytes->length, CHUNK);
    bytes->length += count > 0 ? (size_t)count : 0;
  } while (count == CHUNK && bytes->length <= max);
  *longer = count == CHUNK;
  append(bytes, NULL, 0);
  if (count < 0) failed("%s", path != NULL ? path : "-");
  close(fd);
  return count < 0 ? FAILED : DONE;
}

int read_sized_input(const char *path, size_t min, size_t max, struct bytes *bytes) {
  int longer, status = read_limited(path, max, bytes, &longer);

  if (status != DONE || (bytes->length >= min && bytes->length <= max)) return status;
  return refused("the input has %s%zu bytes, not %zu to %zu", longer ? "at least " : "",
                 bytes->length, min, max);
}

int read_input(const char *path, struct bytes *bytes) {
  return read_sized_input(path, 0, LONGEST_INPUT, bytes);
}
