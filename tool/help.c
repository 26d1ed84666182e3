/* Help for the program, groups and actions, printed from the tables of actions. */
#include "help.h"

#include <ctype.h>
#include <string.h>

enum { WIDTH = 80, TERM = 14 };

/* Only in the man page, like the details of actions. */
#ifdef TALVERA_TOOL_TERSE
#define IN_FULL(text) ""
#else
#define IN_FULL(text) text
#endif

const struct entry common_options[] = {
    {"-h, --help", "prints help on the program, a group or an action"},
    {"-v, --verbose", "prints the library's log on standard error"},
    {"--version", "prints the version"},
    {"--json", "prints records as JSON, where an action offers it" IN_FULL(
                   "; a byte that is not UTF-8 becomes a low surrogate, \\udc80 to \\udcff, as "
                   "with Python's surrogateescape")},
    {"--", "ends the options"},
    {NULL, NULL},
};

const struct entry statuses[] = {
    {"0", "the action succeeded"},
    {"1", "it failed"},
    {"2", "the command line is wrong"},
    {NULL, NULL},
};

const struct entry environment[] = {
    {"TALVERA_SDB", "file of key=value lines that stands for the system database"},
    {"NO_COLOR", "if set, headings of help are not bold on a terminal"},
    {NULL, NULL},
};

const char general[] =
    "Called through a link named talvera-GROUP, the program runs that group's actions." IN_FULL(
        " An argument [FILE] that is absent or \"-\" is standard input. In records, control "
        "characters, backslashes and "
        "bytes that are not UTF-8 are escaped as \\n, \\r, \\t, \\\\ or \\xHH.");

/* Prints text wrapped to WIDTH; starts at `column`, and indents further lines to `indent`. */
static void print_wrapped(const char *text, size_t length, int column, int indent) {
  const char *end = text + length;

  while (text < end) {
    const char *stop = text;

    while (stop < end && *stop != ' ')
      ++stop;
    if (column > indent && column + 1 + (int)(stop - text) > WIDTH) {
      printf("\n%*s", indent, "");
      column = indent;
    } else if (column > indent) {
      putchar(' ');
      ++column;
    }
    printf("%.*s", (int)(stop - text), text);
    column += (int)(stop - text);
    text = stop < end ? stop + 1 : end;
  }
  putchar('\n');
}

static void print_entry(const char *term, int term_length, const char *text, size_t length) {
  printf("  %-*.*s", TERM, term_length, term);
  if (term_length >= TERM) printf("\n  %*s", TERM, "");
  print_wrapped(text, length, TERM + 2, TERM + 2);
}

void print_sentence(const char *summary) {
  printf("%c%s.\n", toupper((unsigned char)*summary), summary + 1);
}

static void print_heading(const char *text) {
  printf("\n%s%s:", style(stdout, "1"), text);
  printf("%s\n", style(stdout, "0"));
}

static void print_entries(const char *heading, const struct entry *entry) {
  print_heading(heading);
  for (; entry->term != NULL; ++entry)
    print_entry(entry->term, (int)strlen(entry->term), entry->text, strlen(entry->text));
}

void print_help(void) {
  const struct group *const *group;

  puts("Usage: talvera GROUP ACTION [OPTION...] [ARGUMENT...]");
  print_heading("Groups");
  for (group = groups; *group != NULL; ++group)
    print_entry((*group)->name, (int)strlen((*group)->name), (*group)->summary,
                strlen((*group)->summary));
  print_entries("Options", common_options);
  print_entries("Exit status", statuses);
  print_entries("Environment", environment);
  putchar('\n');
  print_wrapped(general, strlen(general), 0, 0);
}

void print_example(const struct group *group, const struct action *action,
                   void (*print)(const char *text, size_t length)) {
  const char *words[] = {"talvera ", group->name, " ", action->name, " ", action->example};
  size_t i = strstr(action->example, "talvera ") != NULL ? 5 : 0;
  const size_t end = *action->example != '\0' ? 6 : 4;

  for (; i < end; ++i)
    print(words[i], strlen(words[i]));
  print("\n", 1);
}

static void print_plain(const char *text, size_t length) {
  fwrite(text, 1, length, stdout);
}

static void print_example_section(const struct group *group, const struct action *action) {
  print_heading("Example");
  printf("  ");
  print_example(group, action, print_plain);
}

void print_group_help(const struct group *group) {
  const struct action *action;

  printf("Usage: talvera %s ACTION [OPTION...] [ARGUMENT...]\n", group->name);
  print_sentence(group->summary);
  print_heading("Actions");
  for (action = group->actions; action->name != NULL; ++action)
    print_entry(action->name, (int)strlen(action->name), action->summary, strlen(action->summary));
  print_example_section(group, group->actions);
}

void each_detail(const struct action *action, void (*paragraph)(const char *, size_t),
                 void (*entry)(const char *, int, const char *, size_t)) {
  const char *line = action->details;

  while (line != NULL && *line != '\0') {
    const size_t length = strcspn(line, "\n"), term = strcspn(line, "\t");

    if (term < length) {
      entry(line, (int)term, line + term + 1, length - term - 1);
    } else {
      paragraph(line, length);
    }
    line += length + (line[length] == '\n');
  }
}

static void print_paragraph(const char *text, size_t length) {
  print_wrapped(text, length, 0, 0);
}

void print_action_help(const struct group *group, const struct action *action) {
  printf("Usage: talvera %s %s %s\n", group->name, action->name, action->synopsis);
  print_sentence(action->summary);
  if (action->details != NULL) putchar('\n');
  each_detail(action, print_paragraph, print_entry);
  print_example_section(group, action);
}
