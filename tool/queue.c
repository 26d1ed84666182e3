/* talvera queue: datagrams on named queues. */
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/ipc_msgq.h"
#include "tool.h"

enum { MAX_NAME = 107, MAX_MESSAGE = 262144 };

/* Requires a path that fits an address. An empty name would bind an unpredictable address. */
static int check_name(const char *name) {
  return *name != '\0' ? bounded_argument("NAME", name, MAX_NAME) : misused("NAME is empty");
}

/* ---- Sending --------------------------------------------------------------------------------- */

/* The library also reports failures on standard output. */
static int send_message(const struct ipc_msgq *queue, const char *message, size_t length) {
  int result;

  divert_output();
  result = ipc_msgq_send(queue, message, length);
  restore_output();
  return result == 0 ? DONE : failed("%s", queue->address.sun_path);
}

static int send_arguments(const struct ipc_msgq *queue, char **messages) {
  int status = DONE;

  for (; status == DONE && *messages != NULL; ++messages)
    status = send_message(queue, *messages, strlen(*messages));
  return status;
}

/* Sends each line as it arrives. */
static int send_lines(const struct ipc_msgq *queue) {
  char *line = NULL;
  size_t room = 0;
  int status = DONE;

  while (status == DONE) {
    const ssize_t length = getline(&line, &room, stdin);

    if (length < 0) break;
    status = send_message(queue, line, (size_t)length - (line[length - 1] == '\n'));
  }
  free(line);
  if (status == DONE && ferror(stdin)) status = failed("-");
  return status;
}

static void close_queue(struct ipc_msgq *queue) {
  close(queue->fd);
  free(queue);
}

static int run_send(int argc, char **argv) {
  struct ipc_msgq *queue;
  int status;

  if (check_name(argv[0]) != DONE) return MISUSED;
  divert_output();
  queue = ipc_msgq_GetByName(argv[0]);
  restore_output();
  if (queue == NULL) return failed("%s", argv[0]);
  status = argc > 1 ? send_arguments(queue, argv + 1) : send_lines(queue);
  close_queue(queue);
  return status;
}

/* ---- Receiving ------------------------------------------------------------------------------- */

static void print_message(const char *message, size_t length) {
  if (option("--json") != NULL) {
    record_begin();
    bytes_field("message", message, length);
    record_end();
  } else if (option("--raw") != NULL) {
    fwrite(message, 1, length, stdout);
    putchar('\n');
  } else {
    struct bytes line = {0};

    append_escaped(&line, message, length, "");
    puts(line.data);
    release(&line);
  }
}

/* Receives `count` messages (0: no limit), until an interrupt or the end of the output's reader. */
static int receive_messages(const struct ipc_msgq *queue, unsigned long count) {
  char *message = must(malloc(MAX_MESSAGE));
  int status = DONE;

  while (wait_readable(queue->fd)) {
    const int length = ipc_msgq_receive(queue, message, MAX_MESSAGE);

    if (length < 0) {
      status = failed("%s", queue->address.sun_path);
      break;
    }
    print_message(message, (size_t)length);
    if (flush_output() != 0 || --count == 0) break;
  }
  free(message);
  return status;
}

/* Removes the path on every exit, even if the output's reader has gone. */
static int run_receive(int argc, char **argv) {
  unsigned long count = 0;
  struct ipc_msgq *queue;
  int status;

  (void)argc;
  if (number_option("--count", 1, UINT32_MAX, &count) != DONE || check_name(argv[0]) != DONE) {
    return MISUSED;
  }
  catch_interrupts();
  signal(SIGPIPE, SIG_IGN);
  divert_output();
  queue = ipc_msgq_createByName(argv[0]);
  restore_output();
  if (queue == NULL) return failed("%s", argv[0]);
  status = receive_messages(queue, count);
  unlink(argv[0]);
  close_queue(queue);
  return status;
}

static const struct action actions[] = {
    {"send", "NAME [MESSAGE...]", "sends messages, or each line of standard input, to a queue",
     DETAILS("Fails if nobody receives from the queue, or if it is full."),
     "/var/run/events 'link up'", run_send},
    {"receive", "[--count NUMBER] [--raw] [--json] NAME",
     "creates a queue and prints what it receives, one message per line, until interrupted",
     DETAILS("The path must not exist; it is removed at the end.\n"
             "--count\tends after NUMBER messages\n"
             "--raw\tprints control characters and bytes that are not text as they are"),
     "/var/run/events", run_receive},
    {0},
};

const struct group group_queue = {"queue", "messages between daemons", actions};
