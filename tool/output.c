/* Records and lists of records, printed as columns or JSON. */
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tool.h"

enum { MAX_COLUMNS = 16, GAP = 2 };

static int in_list;
static int records, fields; /* number of previous ones in the list and in the record */

/* Terminated texts, kept until the widths of all columns are known. A single record has a row per
 * field, with its name first; a list has a header row. */
static struct bytes names, cells;

/* ---- Columns --------------------------------------------------------------------------------- */

static void add_cell(struct bytes *to, const void *text, size_t length) {
  append_escaped(to, text, length, "");
  append(to, "", 1);
}

/* Display width: UTF-8 continuation bytes have none. */
static int width_of(const char *text) {
  int width = 0;

  for (; *text != '\0'; ++text)
    width += (*text & 0xC0) != 0x80;
  return width;
}

static void print_rows(const struct bytes *rows, int columns) {
  const char *end = rows->data + rows->length, *cell;
  int widths[MAX_COLUMNS] = {0};
  int column, gap = 0; /* gap: spaces before the next text */

  for (cell = rows->data, column = 0; cell < end; cell += strlen(cell) + 1) {
    if (width_of(cell) > widths[column]) widths[column] = width_of(cell);
    column = (column + 1) % columns;
  }
  for (cell = rows->data, column = 0; cell < end; cell += strlen(cell) + 1) {
    if (*cell != '\0') printf("%*s%s", gap, "", cell);
    gap = (*cell != '\0' ? 0 : gap) + widths[column] + GAP - width_of(cell);
    column = (column + 1) % columns;
    if (column > 0) continue;
    putchar('\n');
    gap = 0;
  }
}

static void print_table(int columns) {
  if (names.length + cells.length > 0) {
    append(&names, cells.data, cells.length);
    print_rows(&names, columns);
  }
  release(&names);
  release(&cells);
}

/* ---- JSON (RFC 8259) ------------------------------------------------------------------------- */

static void print_json_string(const void *data, size_t length) {
  const unsigned char *cursor = data, *end = cursor + length;

  putchar('"');
  while (cursor < end) {
    const size_t size = utf8_length(cursor, (size_t)(end - cursor));

    if (size == 0) {
      printf("\\udc%02x", *cursor++);
    } else if (*cursor < 0x20 || *cursor == 0x7F) {
      printf("\\u%04x", *cursor++);
    } else {
      if (*cursor == '"' || *cursor == '\\') putchar('\\');
      fwrite(cursor, 1, size, stdout);
      cursor += size;
    }
  }
  putchar('"');
}

/* Starts a field; returns whether the output is JSON, so that the value still has to be printed. */
static int start_json(const char *name) {
  if (option("--json") == NULL) return 0;
  if (fields++ > 0) printf(", ");
  print_json_string(name, strlen(name));
  printf(": ");
  return 1;
}

/* ---- Records --------------------------------------------------------------------------------- */

void list_begin(void) {
  in_list = 1;
  records = 0;
  if (option("--json") != NULL) putchar('[');
}

void list_end(void) {
  in_list = 0;
  if (option("--json") != NULL) {
    puts(records > 0 ? "\n]" : "]");
  } else {
    print_table(fields);
  }
}

void record_begin(void) {
  fields = 0;
  if (option("--json") == NULL) return;
  if (in_list) printf(records > 0 ? ",\n  " : "\n  ");
  putchar('{');
}

void record_end(void) {
  ++records;
  if (option("--json") != NULL) {
    printf(in_list ? "}" : "}\n");
  } else if (!in_list) {
    print_table(2);
  }
}

static void add_field(const char *name, const void *value, size_t length) {
  if (!in_list || records == 0) add_cell(in_list ? &names : &cells, name, strlen(name));
  add_cell(&cells, value, length);
  ++fields;
}

void bytes_field(const char *name, const void *data, size_t length) {
  if (start_json(name)) {
    print_json_string(data, length);
  } else {
    add_field(name, data, length);
  }
}

void text_field(const char *name, const char *text) {
  if (text != NULL) {
    bytes_field(name, text, strlen(text));
  } else if (start_json(name)) {
    printf("null");
  } else {
    add_field(name, "-", 1);
  }
}

void format_field(const char *name, const char *format, ...) {
  char text[256];
  va_list arguments;

  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  text_field(name, text);
}

void number_field(const char *name, long long value) {
  if (start_json(name)) {
    printf("%lld", value);
  } else {
    char text[24];

    snprintf(text, sizeof text, "%lld", value);
    text_field(name, text);
  }
}

void flag_field(const char *name, int value) {
  if (start_json(name)) {
    printf(value ? "true" : "false");
  } else {
    text_field(name, value ? "yes" : "no");
  }
}

const char *style(FILE *stream, const char *sgr) {
  static char sequence[16];

  if (getenv("NO_COLOR") != NULL || !isatty(fileno(stream))) return "";
  snprintf(sequence, sizeof sequence, "\033[%sm", sgr);
  return sequence;
}
