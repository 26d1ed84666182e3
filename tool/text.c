/* talvera text: encodings, and scanning of lines. */
#include <stdlib.h>
#include <string.h>

#include "talvera/netu.h"
#include "talvera/strutil.h"
#include "talvera/values.h"
#include "tool.h"

enum { MAX_VALUE = 1024 };

/* ---- Encodings ------------------------------------------------------------------------------- */

static void print_bytes(const struct bytes *bytes) {
  fwrite(bytes->data, 1, bytes->length, stdout);
}

static int encode_base64(struct bytes *input) {
  struct bytes text = {0};
  unsigned int room = 0;

  base64_encode((unsigned char *)input->data, (unsigned int)input->length, NULL, &room);
  text.data = must(malloc(room));
  base64_encode((unsigned char *)input->data, (unsigned int)input->length, text.data, &room);
  puts(text.data);
  release(&text);
  return DONE;
}

static int decode_base64(struct bytes *input) {
  unsigned int length = (unsigned int)input->length;

  if (base64_decode(input->data, length, (unsigned char *)input->data, &length) != 0) {
    return refused("the last group is incomplete");
  }
  input->length = length;
  print_bytes(input);
  return DONE;
}

static int encode_hex(struct bytes *input) {
  const char *delimiter = option("--delimiter");
  char *text = must(malloc(input->length * 3 + 1));

  hex_to_str_with_delim((unsigned char *)input->data, text, delimiter != NULL ? *delimiter : '\0',
                        (int)input->length * 2);
  puts(text);
  free(text);
  return DONE;
}

static int decode_hex(struct bytes *input) {
  const char *delimiter = option("--delimiter");
  const char *cursor = input->data, *end = cursor + input->length;

  input->length = 0;
  while (cursor < end) {
    if (skip_space((char *)cursor) != cursor || (delimiter != NULL && *cursor == *delimiter)) {
      ++cursor;
    } else if (hex(cursor[0]) >= 0 && hex(cursor[1]) >= 0) {
      input->data[input->length++] = (char)(hex(cursor[0]) * 16 + hex(cursor[1]));
      cursor += 2;
    } else {
      return refused("no two hexadecimal digits at byte %zu", (size_t)(cursor - input->data));
    }
  }
  print_bytes(input);
  return DONE;
}

/* Maximum size of the text: a reference has six characters. */
static int encode_entities(struct bytes *input) {
  const size_t room = input->length * 6 + 2;
  char *text;

  if (strlen(input->data) != input->length) return refused("the input has a NUL byte");
  text = must(malloc(room));
  entities_hex_encode(text, (unsigned int)room, input->data);
  fputs(text, stdout);
  free(text);
  return DONE;
}

static int convert(const char *path, int (*conversion)(struct bytes *)) {
  struct bytes input = {0};
  int status = read_input(path, &input);

  if (status == DONE) status = conversion(&input);
  release(&input);
  return status;
}

static int run_base64(int argc, char **argv) {
  (void)argc;
  return convert(argv[0], option("--decode") != NULL ? decode_base64 : encode_base64);
}

static int run_hex(int argc, char **argv) {
  const char *delimiter = option("--delimiter");

  (void)argc;
  if (delimiter != NULL && strlen(delimiter) != 1)
    return misused("--delimiter: %s is not one character", delimiter);
  return convert(argv[0], option("--decode") != NULL ? decode_hex : encode_hex);
}

static int run_entities(int argc, char **argv) {
  (void)argc;
  return convert(argv[0], encode_entities);
}

/* ---- Scanners -------------------------------------------------------------------------------- */

/* Each scans a value of a line and writes it as text. */
static char *take_ip(char *line, char *text) {
  struct in_addr address = {0};
  char *end = get_ip(line, &address);

  p_ipad(text, address.s_addr);
  return end;
}

static char *take_mac(char *line, char *text) {
  struct ether_addr mac = {{0}};
  char *end = get_mac(line, &mac);

  netu_etoa(mac.ether_addr_octet, text);
  return end;
}

static char *take_integer(char *line, char *text) {
  long value;
  char *end = get_long(line, &value);

  sprintf(text, "%ld", value);
  return end;
}

static char *take_number(char *line, char *text) {
  unsigned long value;
  char *end = get_number(line, &value, 10);

  sprintf(text, "%lu", value);
  return end;
}

static char *take_hex(char *line, char *text) {
  unsigned long value;
  char *end = get_hex(line, &value);

  sprintf(text, "%lu", value);
  return end;
}

static char *take_word(char *line, char *text) {
  return get_word(line, text, MAX_VALUE);
}

static char *take_string(char *line, char *text) {
  return get_string(line, text, MAX_VALUE - 1, '\0');
}

static const struct kind {
  const char *name;
  char *(*take)(char *line, char *text);
} kinds[] = {
    /* in the order in which kinds are tried by default */
    {"ip", take_ip},           {"mac", take_mac},
    {"integer", take_integer}, {"word", take_word},
    {"string", take_string},   {"number", take_number},
    {"hex", take_hex},         {NULL, NULL},
};

static const struct kind *find_kind(const char *name) {
  const struct kind *kind = kinds;

  while (kind->name != NULL && strcmp(kind->name, name) != 0)
    ++kind;
  return kind->name != NULL ? kind : NULL;
}

static void print_value(const char *kind, const char *text) {
  record_begin();
  text_field("kind", kind);
  text_field("value", text);
  record_end();
}

/* The first kind that matches the whole word. An integer must be written as it would be printed,
 * because the scanner wraps at 32 bits. */
static const struct kind *kind_of(char *word, char *text) {
  const struct kind *kind = kinds;

  for (; kind->take != take_word; ++kind) {
    const char *end = kind->take(word, text);
    const int exact = kind->take != take_integer || strcmp(text, word) == 0;

    if (end != word && *end == '\0' && exact) return kind;
  }
  strcpy(text, word);
  return kind;
}

static int scan_as_told(char *line, char **names) {
  char text[MAX_VALUE];

  for (; *names != NULL; ++names) {
    char *start = skip_blank(line);

    line = find_kind(*names)->take(start, text);
    if (line == start) return refused("no %s at \"%s\"", *names, start);
    print_value(*names, text);
  }
  if (*skip_blank(line) != '\0') print_value("rest", skip_blank(line));
  return DONE;
}

static int scan_all(char *line) {
  char word[MAX_VALUE], text[MAX_VALUE];

  for (line = skip_space(line); *line != '\0'; line = skip_space(line)) {
    line = take_string(line, word);
    print_value(kind_of(word, text)->name, text);
  }
  return DONE;
}

static int run_scan(int argc, char **argv) {
  int status, i;

  for (i = 1; i < argc; ++i) {
    if (find_kind(argv[i]) == NULL) return misused("unknown kind %s, see --help", argv[i]);
  }
  if (bounded_argument("LINE", argv[0], MAX_VALUE - 1) != DONE) return MISUSED;
  list_begin();
  status = argc > 1 ? scan_as_told(argv[0], argv + 1) : scan_all(argv[0]);
  list_end();
  return status;
}

static int run_split(int argc, char **argv) {
  const char *delimiters = option("--delimiters");
  char *words[ARGS_SLOTS];
  int i;

  if (delimiters != NULL) {
    str_to_args_by_delim(argv[0], delimiters, &argc, words);
  } else {
    str_to_args(argv[0], &argc, words);
  }
  list_begin();
  for (i = 0; i < argc; ++i) {
    record_begin();
    text_field("word", words[i]);
    record_end();
  }
  list_end();
  return DONE;
}

static int run_ports(int argc, char **argv) {
  int low, high;

  (void)argc;
  if (*argv[0] == '\0' || str_to_port_range(argv[0], &low, &high) != 0 || low < 0 ||
      high > UINT16_MAX) {
    return refused("%s is neither a port nor two in ascending order", argv[0]);
  }
  record_begin();
  number_field("low", low);
  number_field("high", high);
  record_end();
  return DONE;
}

static const struct action actions[] = {
    {"base64", "[--decode] [FILE]", "encodes a file as Base64, on one line, or decodes it",
     DETAILS("Decoding skips what is not in the alphabet, such as line ends."),
     "printf admin:secret | talvera text base64", run_base64},
    {"hex", "[--decode] [--delimiter CHARACTER] [FILE]",
     "encodes a file as hexadecimal digits, or decodes it",
     DETAILS("--delimiter\tstands between the bytes; decoding skips it, and white space"),
     "head -c 6 /dev/urandom | talvera text hex --delimiter :", run_hex},
    {"entities", "[FILE]", "escapes text for HTML, in content and in attributes", NULL,
     "echo '<b>' | talvera text entities", run_entities},
    {"scan", "[--json] LINE [KIND...]", "takes values from a line, one after the other",
     DETAILS("Without kinds, each word is shown as an address, an integer or a word.\n"
             "ip\tan IPv4 address\n"
             "mac\ta MAC address\n"
             "integer\ta decimal number of 32 bits, with or without a sign\n"
             "number\tan unsigned decimal number\n"
             "hex\ta hexadecimal number, shown in decimal\n"
             "word\tASCII characters up to a space or control character\n"
             "string\tcharacters up to a blank, with quotes, and escapes such as ^\" and ^x0a"),
     "'timeout 0x1e' word hex", run_scan},
    {"split", "[--json] [--delimiters SET] LINE", "splits a line into words, 20 at most",
     DETAILS("Without delimiters, words end at white space, and quotes keep them together."),
     "'forward \"two words\"'", run_split},
    {"ports", "[--json] TEXT", "reads a port or a range of ports, such as 1000+2000", NULL,
     "'6000 6063'", run_ports},
    {0},
};

const struct group group_text = {"text", "encodings, and values along a line", actions};
