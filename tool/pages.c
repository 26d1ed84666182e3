/* Prints the man page or the bash completion from the tables of actions: talvera_pages man|bash.
 * Runs during the build, and is not installed. */
#include <string.h>

#include "help.h"

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
  print_example(group, action, print_roff);
  printf(".EE\n.RE\n");
}

static void print_man_page(void) {
  const struct group *const *group;
  const struct action *action;

  printf(".TH TALVERA 1 \"\" \"talvera " TALVERA_VERSION "\"\n");
  printf(".SH NAME\ntalvera \\- the gateway's utility library in the shell\n");
  printf(".SH SYNOPSIS\n.B talvera\n.I GROUP ACTION\n[\\fIOPTION\\fR...] [\\fIARGUMENT\\fR...]\n");
  printf(".SH DESCRIPTION\n");
  print_roff_paragraph(general, strlen(general));
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

/* Completes options after "-", otherwise names of groups and actions, otherwise files. */
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

int main(int argc, char **argv) {
  if (argc == 2 && strcmp(argv[1], "man") == 0) {
    print_man_page();
  } else if (argc == 2 && strcmp(argv[1], "bash") == 0) {
    print_completion();
  } else {
    return MISUSED;
  }
  return fflush(stdout) == 0 ? DONE : FAILED;
}
