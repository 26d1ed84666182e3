/* Receives messages from a queue and prints them until one is "end". */
#include <stdio.h>
#include <string.h>

#include "talvera/ipc_msgq.h"

int main(int argc, char **argv) {
  struct ipc_msgq *queue = argc == 2 ? ipc_msgq_createByName(argv[1]) : NULL;
  char message[256];
  int length;

  if (queue == NULL) return 1;
  do {
    length = ipc_msgq_receive(queue, message, sizeof message - 1);
    if (length < 0) return 1;
    message[length] = '\0';
    printf("received \"%s\"\n", message);
  } while (strcmp(message, "end") != 0);
  return 0;
}
