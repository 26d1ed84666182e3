/* Supervises a helper program: starts it, finds it by name, signals it, and stops it. */
#include <signal.h>
#include <stdio.h>

#include "talvera/process.h"

int main(int argc, char **argv) {
  char *environment[] = {(char *)"HELPER_MODE=demo", NULL};
  char *helper[3];
  pid_t pid = 0;

  if (argc < 2) {
    fprintf(stderr, "usage: supervisor PROGRAM [ARGUMENT]\n");
    return 2;
  }
  helper[0] = argv[1];
  helper[1] = argc > 2 ? argv[2] : NULL;
  helper[2] = NULL;
  if (process_start(&pid, argv[1], helper, environment) != 0) return 1;
  printf("started   %s\n", argv[1]);
  /* A child is not found by name until it has executed its program. */
  while (process_find(argv[1]) != pid && process_wait(pid, 0) != 0) {
  }
  printf("found     %s\n", process_find(argv[1]) == pid ? "by name" : "not at all");
  printf("signalled %d\n", process_signal(pid, SIGCONT));
  printf("running   %s\n", process_wait(pid, 1) == PROCESS_TIMEOUT ? "a second later" : "no more");
  printf("stopped   %d\n", process_stop(pid));
  printf("found     %s\n", process_find(argv[1]) == 0 ? "no more" : "still");
  return 0;
}
