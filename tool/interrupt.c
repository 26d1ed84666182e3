/* Termination of actions that run until interrupted. */
#include <errno.h>
#include <signal.h>
#include <string.h>
#include <sys/select.h>

#include "tool.h"

static volatile sig_atomic_t caught;

static void catch (int signal) {
  (void)signal;
  caught = 1;
}

void catch_interrupts(void) {
  struct sigaction action, before;

  memset(&action, 0, sizeof action);
  action.sa_handler = catch;
  action.sa_flags = (int)SA_RESETHAND; /* a second signal ends the program */
  sigaction(SIGINT, &action, NULL);
  sigaction(SIGTERM, &action, NULL);
  sigaction(SIGHUP, &action, &before);
  if (before.sa_handler == SIG_IGN) sigaction(SIGHUP, &before, NULL); /* as under nohup */
}

int interrupted(void) {
  return caught;
}

/* The waiting call unblocks the signals; one delivered before it would not end the wait. */
int wait_readable(int fd) {
  fd_set readable;
  sigset_t blocked, before;
  int ready = -1;

  sigfillset(&blocked);
  sigprocmask(SIG_SETMASK, &blocked, &before);
  for (errno = EINTR; !caught && ready < 0 && errno == EINTR;) {
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    ready = pselect(fd + 1, &readable, NULL, NULL, NULL, &before);
  }
  sigprocmask(SIG_SETMASK, &before, NULL);
  return !caught;
}

int output_error;

int flush_output(void) {
  if (fflush(stdout) == 0 && !ferror(stdout)) return 0;
  if (output_error == 0) output_error = errno;
  return -1;
}
