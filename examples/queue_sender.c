/* Sends each argument after the queue's name as one message to that queue. */
#include <string.h>

#include "talvera/ipc_msgq.h"

int main(int argc, char **argv) {
  struct ipc_msgq *queue = argc > 2 ? ipc_msgq_GetByName(argv[1]) : NULL;
  int i;

  if (queue == NULL) return 1;
  for (i = 2; i < argc; ++i) {
    if (ipc_msgq_send(queue, argv[i], strlen(argv[i])) != 0) return 1;
  }
  return 0;
}
