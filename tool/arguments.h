/* Parsing of an action's arguments, which its synopsis describes. */
#ifndef TOOL_ARGUMENTS_H
#define TOOL_ARGUMENTS_H

/* Takes the options out of `argv`, which ends in a null, and checks both against the synopsis.
 * Returns DONE, or MISUSED with a message. */
int parse_arguments(const char *synopsis, int *argc, char **argv);

/* Whether --help was among them. */
int wants_help(void);

#endif
