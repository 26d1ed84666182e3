/* Prints the results of the library's pure functions over a fixed set of inputs. The output is the
 * same file on every machine: target/compare-results and target/lab compare it. */
#include "results.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

const char *const sample_texts[] = {
    "",
    " \t ",
    "word next",
    "  two\twords \r\n",
    "line\nfeed",
    "\xe9t\xe9 \xa0 x",
    "trailing \xff\x80 ",
    "say \"a b\" c",
    "^x41^^^\"\"a, b\",rest",
    "^x00^xg1^x4",
    "'single quoted' \"open",
    "\"ab\"cd ef",
    "0",
    "-0",
    "007",
    "08",
    "0x",
    "0x7fffffff",
    "0x80000000 tail",
    "0XFFFFFFFF",
    "0x100000000",
    "2147483647",
    "2147483648",
    " 4294967295 ",
    "4294967296",
    "-1",
    "-2147483648",
    "-2147483649",
    "-4294967295",
    "99999999999999999999",
    "-99999999999999999999",
    "+5",
    "5+3",
    "1e9",
    "zZ9",
    "65535",
    "65536",
    "xAbC",
    "192.168.1.1 x",
    "255.255.255.255",
    "192.168.1.256",
    "1.2.3",
    "0:1:2:a:B:ff rest",
    "00-1A-2b-3C-4d-5E",
    "01:00:5e:00:00:01",
    "00:00:00:00:00:00",
    "0:1:2:3:4:100",
    "001:2:3:4:5:6",
    "1:2:3:4:5:6:7 8",
    "1:2:3:4:5:6junk 8",
    "80 90",
    "90 80",
    "1000-2000",
    "6000+6063",
    "8/35 0/4095",
    "-1/5 300/70000",
    "SYN,ACK,FIN SYN",
    "<a href=\"x\">'&/</a>",
    "QUJD\nRA==",
    "////+w==",
    "a-b c/d",
    "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22",
};
const size_t sample_count = COUNT(sample_texts);

static char *next_buffer(void) {
  static char buffers[16][2200];
  static unsigned turn;
  return buffers[turn++ % COUNT(buffers)];
}

const char *quoted(const char *s) {
  char *const buffer = next_buffer();
  char *out = buffer;
  if (s == NULL) return "null";
  *out++ = '"';
  for (; *s != '\0'; s++) {
    const unsigned char byte = (unsigned char)*s;
    if (byte < 32 || byte > 126 || byte == '\\') {
      out += sprintf(out, "\\%02x", byte);
    } else {
      *out++ = *s;
    }
  }
  strcpy(out, "\"");
  return buffer;
}

const char *hexed(const void *data, size_t size) {
  const unsigned char *const bytes = data;
  char *const buffer = next_buffer();
  size_t i;
  buffer[0] = '\0';
  for (i = 0; i < size; i++)
    sprintf(buffer + 2 * i, "%02x", bytes[i]);
  return buffer;
}

const char *at(const char *base, const char *p) {
  char *const buffer = next_buffer();
  if (p == NULL) return "null";
  if (p < base || p > base + 512) return "elsewhere";
  sprintf(buffer, "@%d", (int)(p - base));
  return buffer;
}

const char *error_name(int error) {
  static const struct {
    int error;
    const char *name;
  } names[] = {{0, "0"},           {EINVAL, "EINVAL"}, {ERANGE, "ERANGE"}, {ENOENT, "ENOENT"},
               {ENODEV, "ENODEV"}, {ELOOP, "ELOOP"},   {EIO, "EIO"},       {ENOMEM, "ENOMEM"}};
  char *const buffer = next_buffer();
  size_t i;
  for (i = 0; i < COUNT(names); i++) {
    if (names[i].error == error) return names[i].name;
  }
  sprintf(buffer, "%d", error);
  return buffer;
}

int main(void) {
  print_values();
  print_checks();
  print_lists();
  print_rules();
  print_network();
  print_store();
  print_identity();
  return fflush(stdout) == 0 && !ferror(stdout) ? 0 : 1;
}
