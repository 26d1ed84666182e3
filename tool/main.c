/* The shell command `talvera`: dispatches to group and action, and determines the exit status. */
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "arguments.h"
#include "help.h"

/* Opens closed standard streams, so that no file opened later takes their place; transfers on them
 * fail. */
static void occupy_standard_streams(void) {
  int fd;

  for (fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) == -1) open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/* A full disk is an error; a closed pipe is not reported. uClibc's fflush() does not report an
 * error, but the stream does. */
static int close_output(int status) {
  errno = output_error;
  if (fflush(stdout) == 0 && !ferror(stdout)) return status;
  if (errno == EPIPE) return FAILED;
  return errno != 0 ? failed("standard output") : refused("standard output: write error");
}

static int run_action(const struct group *group, const struct action *action, int argc,
                      char **argv) {
  int status;

  set_context(group->name, action->name);
  status = parse_arguments(action->synopsis, &argc, argv);
  if (status == MISUSED) return status;
  if (wants_help()) {
    print_action_help(group, action);
    return DONE;
  }
  return action->run(argc, argv);
}

/* Handles an option before the group or action; returns -1 if it is not one. */
static int run_option(const struct group *group, const char *name) {
  if (strcmp(name, "--help") == 0 || strcmp(name, "-h") == 0) {
    if (group != NULL) {
      print_group_help(group);
    } else {
      print_help();
    }
    return DONE;
  }
  if (group == NULL && strcmp(name, "--version") == 0) {
    puts("talvera " TALVERA_VERSION);
    return DONE;
  }
  return name[0] == '-' ? misused("unknown option %s, see --help", name) : -1;
}

static int run(int argc, char **argv) {
  const char *name = strrchr(argv[0], '/') != NULL ? strrchr(argv[0], '/') + 1 : argv[0];
  const struct group *group = strncmp(name, "talvera-", 8) == 0 ? find_group(name + 8) : NULL;
  int status;

  set_context(group != NULL ? group->name : NULL, NULL);
  for (; argc > 1; --argc, ++argv) {
    const struct action *action = group != NULL ? find_action(group, argv[1]) : NULL;

    if (action != NULL) return run_action(group, action, argc - 2, argv + 2);
    if (strcmp(argv[1], "-v") == 0 || strcmp(argv[1], "--verbose") == 0) {
      verbose = 1;
      continue;
    }
    status = run_option(group, argv[1]);
    if (status >= 0) return status;
    if (group != NULL) return misused("unknown action %s, see --help", argv[1]);
    group = find_group(argv[1]);
    if (group == NULL) return misused("unknown group %s, see --help", argv[1]);
    set_context(group->name, NULL);
  }
  return group != NULL ? misused("missing ACTION, see --help")
                       : misused("missing GROUP, see --help");
}

int main(int argc, char **argv) {
  occupy_standard_streams();
  return argc > 0 ? close_output(run(argc, argv)) : MISUSED;
}
