/* The end of actions that run until they are interrupted. */
#include <errno.h>
#include <signal.h>
#include <string.h>

#include "tool.h"

static volatile sig_atomic_t caught;

static void catch (int signal) {
  (void)signal;
  caught = 1;
}

void catch_interrupts(void) {
  struct sigaction action;

  memset(&action, 0, sizeof action);
  action.sa_handler = catch;
  action.sa_flags = (int)SA_RESETHAND; /* a second one ends what does not return */
  sigaction(SIGINT, &action, NULL);
  sigaction(SIGTERM, &action, NULL);
}

int interrupted(void) {
  return caught;
}

int output_error;

int flush_output(void) {
  if (fflush(stdout) == 0 && !ferror(stdout)) return 0;
  if (output_error == 0) output_error = errno;
  return -1;
}
