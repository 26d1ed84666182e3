// cc ipc_msgq.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <string.h>
#include <talvera/ipc_msgq.h>

int main(int argc, char *argv[]) {
  const char *name = "/var/run/example";
  if (argc > 1) {  // the sender
    struct ipc_msgq *peer = ipc_msgq_GetByName(name);
    return peer != NULL && ipc_msgq_send(peer, argv[1], strlen(argv[1])) == 0 ? 0 : 1;
  }
  char message[512];  // the receiver
  struct ipc_msgq *queue = ipc_msgq_createByName(name);
  int length = queue != NULL ? ipc_msgq_receive(queue, message, sizeof message) : -1;
  if (length > 0) fwrite(message, 1, (size_t)length, stdout);
  return length < 0;
}
