/* Parsing of an action's arguments: options and arguments as in its synopsis, bounded numbers. */
#include "arguments.h"

#include <ctype.h>
#include <string.h>

#include "talvera/netu.h"
#include "talvera/strutil.h"
#include "tool.h"

enum { MAX_OPTIONS = 16, MAX_DIGITS = 10 };

static struct {
  struct element element;
  const char *value;
} given[MAX_OPTIONS];
static int given_count;
static int help;

int next_element(const char **synopsis, struct element *element) {
  const char *cursor = *synopsis;

  while (*cursor == ' ')
    ++cursor;
  if (*cursor == '\0') return 0;
  memset(element, 0, sizeof *element);
  element->optional = *cursor == '[';
  element->name = cursor += element->optional;
  element->name_length = (int)strcspn(cursor, " ].");
  cursor += element->name_length;
  element->repeated = *cursor == '.';
  if (element->optional && *cursor == ' ') {
    element->value = cursor + 1;
    element->value_length = (int)strcspn(element->value, "]");
    cursor = element->value + element->value_length;
  }
  *synopsis = cursor + strspn(cursor, ".]");
  return 1;
}

static int is_option(const struct element *element) {
  return element->name[0] == '-';
}

static int is_named(const struct element *element, const char *name, size_t length) {
  return (size_t)element->name_length == length && memcmp(element->name, name, length) == 0;
}

const char *option(const char *name) {
  int i;

  for (i = given_count - 1; i >= 0; --i) {
    const struct element *element = &given[i].element;
    if (is_named(element, name, strlen(name))) return given[i].value;
  }
  return NULL;
}

int wants_help(void) {
  return help;
}

/* A negative number is an argument, as is "-", which means a standard stream. */
static int looks_like_option(const char *text) {
  return text[0] == '-' && text[1] != '\0' && !isdigit((unsigned char)text[1]);
}

/* Options of every action. */
static int take_common_option(const char *text) {
  const int is_help = strcmp(text, "--help") == 0 || strcmp(text, "-h") == 0;
  const int is_verbose = strcmp(text, "--verbose") == 0 || strcmp(text, "-v") == 0;

  help |= is_help;
  verbose |= is_verbose;
  return is_help || is_verbose;
}

/* Consumes the option at *argv and, if it takes a value, the next argument. */
static int take_option(const char *synopsis, char ***argv) {
  const char *text = **argv;
  const size_t length = strcspn(text, "=");
  const char *value = text[length] == '=' ? text + length + 1 : NULL;
  struct element element;
  int found = 0;

  while (!found && next_element(&synopsis, &element))
    found = is_option(&element) && is_named(&element, text, length);
  if (!found) return misused("unknown option %.*s, see --help", (int)length, text);
  if (given_count == MAX_OPTIONS) return misused("more than %d options", MAX_OPTIONS);
  if (element.value == NULL && value != NULL) {
    return misused("%.*s takes no value", (int)length, text);
  }
  if (element.value != NULL && value == NULL) {
    value = *++*argv;
    if (value == NULL)
      return misused("%s: missing %.*s", text, element.value_length, element.value);
  }
  given[given_count].element = element;
  given[given_count++].value = value != NULL ? value : "";
  return DONE;
}

static int check_count(const char *synopsis, int argc, char **argv) {
  struct element element;
  int taken = 0;

  while (next_element(&synopsis, &element)) {
    if (is_option(&element)) continue;
    if (taken < argc) {
      taken = element.repeated ? argc : taken + 1;
    } else if (!element.optional) {
      return misused("missing %.*s, see --help", element.name_length, element.name);
    }
  }
  return taken == argc ? DONE : misused("unexpected argument %s", argv[taken]);
}

int parse_arguments(const char *synopsis, int *argc, char **argv) {
  char **from = argv, **to = argv;
  int options = 1;

  for (; *from != NULL; ++from) {
    if (options && strcmp(*from, "--") == 0) {
      options = 0;
    } else if (!options || !looks_like_option(*from)) {
      *to++ = *from;
    } else if (!take_common_option(*from) && take_option(synopsis, &from) != DONE) {
      return MISUSED;
    }
  }
  *to = NULL;
  *argc = (int)(to - argv);
  return help ? DONE : check_count(synopsis, *argc, argv);
}

/* Digits only; the caller handles prefixes. */
static int read_digits(const char *text, unsigned long *value) {
  char copy[MAX_DIGITS + 1];

  if (*text == '\0' || strlen(text) > MAX_DIGITS || GN_StrNotInSet(text, "0123456789") != NULL) {
    return -1;
  }
  strcpy(copy, text);
  return ValidateUlong(copy, value);
}

int number_argument(const char *what, const char *text, unsigned long min, unsigned long max,
                    unsigned long *value) {
  if (read_digits(text, value) == 0 && *value >= min && *value <= max) return DONE;
  return misused("%s: %s is not a number from %lu to %lu", what, text, min, max);
}

int number_option(const char *name, unsigned long min, unsigned long max, unsigned long *value) {
  const char *text = option(name);

  return text != NULL ? number_argument(name, text, min, max, value) : DONE;
}

int signed_argument(const char *what, const char *text, long *value) {
  const int negative = text[0] == '-';
  unsigned long magnitude;

  if (read_digits(text + negative, &magnitude) != 0 ||
      magnitude > (unsigned long)INT32_MAX + (unsigned long)negative) {
    return misused("%s: %s is not a number from %ld to %ld", what, text, (long)INT32_MIN,
                   (long)INT32_MAX);
  }
  *value = negative ? -(long)(magnitude - 1) - 1 : (long)magnitude;
  return DONE;
}

int bounded_argument(const char *what, const char *text, size_t max) {
  const size_t length = strlen(text);

  if (length <= max) return DONE;
  return misused("%s has %zu bytes, at most %zu are allowed", what, length, max);
}

int plain_argument(const char *what, const char *text, size_t max) {
  const char *cursor = text;

  while (isalnum((unsigned char)*cursor) || (*cursor != '\0' && strchr(".:_@+-", *cursor) != NULL))
    ++cursor;
  if (*cursor != '\0' || *text == '\0' || *text == '-') {
    return misused("%s: %s is not a name of letters, digits and .:_@+-", what, text);
  }
  return bounded_argument(what, text, max);
}

int address_argument(const char *what, const char *text) {
  if (netu_atoipv4(text, NULL) == 1) return DONE;
  return misused("%s: %s is not an IPv4 address", what, text);
}
