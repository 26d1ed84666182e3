/* Help on each level, completion and the man page, all printed from the tables of actions. */
#include <ctype.h>
#include <string.h>
#include <unistd.h>

#include "tool.h"

enum { WIDTH = 80, TERM = 14 };

static const struct entry {
  const char *term, *text;
} common_options[] =
    {
        {"-h, --help", "prints help on the program, a group or an action"},
        {"-v, --verbose", "prints the library's log on standard error"},
        {"--version", "prints the version"},
        {"--json",
         "prints records as JSON, where an action offers it; a byte that is not UTF-8 is a "
         "low surrogate from \\udc80 on, as Python's surrogateescape reads it"},
        {"--", "ends the options"},
        {NULL, NULL},
},
  statuses[] =
      {
          {"0", "the action succeeded"},
          {"1", "it failed"},
          {"2", "it was used wrongly"},
          {NULL, NULL},
},
  environment[] = {
      {"TALVERA_SDB", "file of key=value lines that stands for the system database"},
      {"TALVERA_NVRAM", "file that names the configuration store, where --store does not"},
      {"NO_COLOR", "when set, terminals get no colours"},
      {NULL, NULL},
};

static const char general[] =
    "A link talvera-GROUP to the program runs the actions of that group. A file named \"-\" is "
    "standard input. In records, control characters, backslashes and bytes that are not UTF-8 "
    "are escaped as \\n, \\r, \\t, \\\\ or \\xHH.";

/* ---- Help ------------------------------------------------------------------------------------ */

/* Prints a text in lines of WIDTH; it starts at `column`, and further lines at `indent`. */
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

/* A summary as a sentence of its own. */
static void print_sentence(const char *summary) {
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
  print_wrapped(general, sizeof general - 1, 0, 0);
}

void print_group_help(const struct group *group) {
  const struct action *action;

  printf("Usage: talvera %s ACTION [OPTION...] [ARGUMENT...]\n", group->name);
  print_sentence(group->summary);
  print_heading("Actions");
  for (action = group->actions; action->name != NULL; ++action)
    print_entry(action->name, (int)strlen(action->name), action->summary, strlen(action->summary));
  print_heading("Example");
  printf("  %s\n", group->actions->example);
}

/* Calls one of the two functions for each line of an action's details. */
static void each_detail(const struct action *action, void (*paragraph)(const char *, size_t),
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
  print_heading("Example");
  printf("  %s\n", action->example);
}

/* ---- Man page (man(7)) ----------------------------------------------------------------------- */

static void print_roff(const char *text, size_t length) {
  if (length > 0 && (*text == '.' || *text == '\'')) printf("\\&");
  for (; length > 0; --length, ++text) {
    if (*text == '-') {
      printf("\\-");
    } else if (*text == '\\') {
      printf("\\e");
    } else {
      putchar(*text);
    }
  }
}

static void print_roff_paragraph(const char *text, size_t length) {
  print_roff(text, length);
  printf("\n.PP\n");
}

static void print_roff_entry(const char *term, int term_length, const char *text, size_t length) {
  printf(".TP\n.B ");
  print_roff(term, (size_t)term_length);
  putchar('\n');
  print_roff(text, length);
  putchar('\n');
}

static void print_roff_entries(const char *section, const struct entry *entry) {
  printf(".SH %s\n", section);
  for (; entry->term != NULL; ++entry)
    print_roff_entry(entry->term, (int)strlen(entry->term), entry->text, strlen(entry->text));
}

static void print_roff_action(const struct group *group, const struct action *action) {
  printf(".PP\n.B talvera %s ", group->name);
  print_roff(action->name, strlen(action->name));
  printf("\n.I ");
  print_roff(action->synopsis, strlen(action->synopsis));
  printf("\n.RS\n.PP\n");
  print_sentence(action->summary);
  puts(".PP");
  each_detail(action, print_roff_paragraph, print_roff_entry);
  printf(".PP\nExample:\n.PP\n.EX\n");
  print_roff(action->example, strlen(action->example));
  printf("\n.EE\n.RE\n");
}

static void print_man_page(void) {
  const struct group *const *group;
  const struct action *action;

  printf(".TH TALVERA 1 \"\" \"talvera " TALVERA_VERSION "\"\n");
  printf(".SH NAME\ntalvera \\- the gateway's utility library in the shell\n");
  printf(".SH SYNOPSIS\n.B talvera\n.I GROUP ACTION\n[\\fIOPTION\\fR...] [\\fIARGUMENT\\fR...]\n");
  printf(".SH DESCRIPTION\n");
  print_roff_paragraph(general, sizeof general - 1);
  print_roff_entries("OPTIONS", common_options);
  printf(".SH ACTIONS\n");
  for (group = groups; *group != NULL; ++group) {
    printf(".SS %s: ", (*group)->name);
    print_roff_paragraph((*group)->summary, strlen((*group)->summary));
    for (action = (*group)->actions; action->name != NULL; ++action)
      print_roff_action(*group, action);
  }
  print_roff_entries("EXIT STATUS", statuses);
  print_roff_entries("ENVIRONMENT", environment);
}

/* ---- Completion ------------------------------------------------------------------------------ */

static void print_option_words(const struct action *action) {
  const char *synopsis = action->synopsis;
  struct element element;

  printf("--help --verbose");
  while (next_element(&synopsis, &element)) {
    if (element.name[0] == '-') printf(" %.*s", element.name_length, element.name);
  }
}

/* Options where a word starts with "-", else names of groups and actions, else files. */
static void print_completion(void) {
  const struct group *const *group;
  const struct action *action;

  puts("# bash completion for talvera");
  puts("_talvera() {");
  puts("  local words=(\"${COMP_WORDS[@]:1:COMP_CWORD-1}\") list= cur=${COMP_WORDS[COMP_CWORD]}");
  puts("  [[ $1 != *talvera-* ]] || words=(\"${1##*talvera-}\" \"${words[@]}\")");
  puts("  case \"${words[*]:0:2}\" in");
  printf("    '') list='");
  for (group = groups; *group != NULL; ++group)
    printf("%s ", (*group)->name);
  puts("--help --verbose --version' ;;");
  for (group = groups; *group != NULL; ++group) {
    printf("    %s) list='", (*group)->name);
    for (action = (*group)->actions; action->name != NULL; ++action)
      printf("%s ", action->name);
    puts("--help --verbose' ;;");
    for (action = (*group)->actions; action->name != NULL; ++action) {
      printf("    '%s %s') [[ $cur != -* ]] || list='", (*group)->name, action->name);
      print_option_words(action);
      puts("' ;;");
    }
  }
  puts("  esac");
  puts("  mapfile -t COMPREPLY < <(compgen -W \"$list\" -- \"$cur\")");
  puts("}");
  printf("complete -o default -F _talvera talvera");
  for (group = groups; *group != NULL; ++group)
    printf(" talvera-%s", (*group)->name);
  putchar('\n');
}

int generate(const char *what) {
  if (strcmp(what, "man") == 0) {
    print_man_page();
  } else if (strcmp(what, "bash") == 0) {
    print_completion();
  } else {
    return misused("--generate needs man or bash");
  }
  return DONE;
}
