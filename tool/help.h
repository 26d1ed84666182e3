/* Text shared by help and the man page. */
#ifndef TOOL_HELP_H
#define TOOL_HELP_H

#include "tool.h"

struct entry {
  const char *term, *text;
};

/* Ends with an entry without a term. */
extern const struct entry common_options[], statuses[], environment[];
extern const char general[];

/* Prints a summary as a sentence. */
void print_sentence(const char *summary);

/* Prints the command line of an action's example through a function that prints text. */
void print_example(const struct group *group, const struct action *action,
                   void (*print)(const char *text, size_t length));

/* Calls one of the functions for each line of an action's details. */
void each_detail(const struct action *action, void (*paragraph)(const char *text, size_t length),
                 void (*entry)(const char *term, int term_length, const char *text, size_t length));

/* Print help for the program, a group or an action. */
void print_help(void);
void print_group_help(const struct group *group);
void print_action_help(const struct group *group, const struct action *action);

#endif
