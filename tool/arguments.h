/* Parsing of an action's arguments according to its synopsis. */
#ifndef TOOL_ARGUMENTS_H
#define TOOL_ARGUMENTS_H

/* Removes the options from `argv`, which ends with a null pointer, and checks all arguments against
 * the synopsis. Returns DONE, or MISUSED with a message. */
int parse_arguments(const char *synopsis, int *argc, char **argv);

/* Whether --help was given. */
int wants_help(void);

#endif
