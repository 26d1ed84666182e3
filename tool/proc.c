/* talvera proc: starting, finding, signalling and stopping programs. */
#include "talvera/process.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/utils.h"
#include "tool.h"

enum { MAX_FOUND = 256, MAX_QUOTED = 246, LAST_SIGNAL = 127 };

/* ---- Starting and finding -------------------------------------------------------------------- */

/* Checks likely errors first, because a child cannot report that exec failed. */
static int check_program(const char *path) {
  if (access(path, X_OK) != 0) return failed("%s", path);
  errno = EISDIR;
  return dir_exists(path) ? failed("%s", path) : DONE;
}

static int run_start(int argc, char **argv) {
  char **environment = must(calloc((size_t)argc + 1, sizeof *environment));
  const pid_t parent = getpid();
  int status, count = 0;
  pid_t pid = 0;

  for (; argv[count] != NULL && strchr(argv[count], '=') != NULL; ++count)
    environment[count] = argv[count];
  argv += count;
  if (argv[0] == NULL) {
    free(environment);
    return misused("missing PROGRAM, see --help");
  }
  status = check_program(argv[0]);
  if (status == DONE) {
    errno = process_start(&pid, argv[0], argv, environment);
    if (getpid() != parent) _exit(FAILED); /* a child whose setpgid() failed */
    if (errno != 0) status = failed("%s", argv[0]);
  }
  free(environment);
  if (status == DONE) printf("%d\n", (int)pid);
  return status;
}

/* The library passes the last part of the name to the shell unquoted. */
static int run_find(int argc, char **argv) {
  const char *slash = strrchr(argv[0], '/');
  struct bytes name = {0};
  pid_t pids[MAX_FOUND];
  int count, i;

  (void)argc;
  append(&name, "-- ", 3);
  append_quoted(&name, slash != NULL ? slash + 1 : argv[0]);
  if (bounded_argument("NAME", name.data, MAX_QUOTED) != DONE) {
    release(&name);
    return MISUSED;
  }
  count = process_find_all(name.data, pids, MAX_FOUND);
  for (i = 0; i < count; ++i)
    printf("%d\n", (int)pids[i]);
  release(&name);
  return count > 0 ? DONE : refused("%s is not running", argv[0]);
}

static int run_pid(int argc, char **argv) {
  const pid_t pid = process_get_from_file(argv[0]);

  (void)argc;
  if (pid == 0 && !uf_path_exists(argv[0])) return failed("%s", argv[0]);
  if (pid == 0) return refused("%s names no running process", argv[0]);
  printf("%d\n", (int)pid);
  return DONE;
}

/* ---- Signals --------------------------------------------------------------------------------- */

static const struct {
  char name[6];
  unsigned char number;
} signals[] = {
    {"HUP", SIGHUP},   {"INT", SIGINT},   {"QUIT", SIGQUIT}, {"KILL", SIGKILL},
    {"USR1", SIGUSR1}, {"USR2", SIGUSR2}, {"ALRM", SIGALRM}, {"TERM", SIGTERM},
    {"CHLD", SIGCHLD}, {"CONT", SIGCONT}, {"STOP", SIGSTOP},
};

/* Further arguments of the calls below. */
static unsigned long signal_number, seconds;
static long signal_value;

/* Calls the function for each process, even after failures. */
static int for_each(int argc, char **argv, int (*call)(pid_t pid)) {
  unsigned long pid;
  int status = DONE, i;

  for (i = 0; i < argc; ++i) {
    if (number_argument("PID", argv[i], 2, INT32_MAX, &pid) != DONE) return MISUSED;
  }
  for (i = 0; i < argc; ++i) {
    errno = call((pid_t)strtoul(argv[i], NULL, 10));
    if (errno == PROCESS_TIMEOUT) {
      status = refused("process %s is still there", argv[i]);
    } else if (errno != 0) {
      status = failed("process %s", argv[i]);
    }
  }
  return status;
}

static int send_signal(pid_t pid) {
  union sigval value;

  if (option("--value") == NULL) return process_signal(pid, (int)signal_number);
  memset(&value, 0, sizeof value);
  value.sival_int = (int)signal_value;
  return process_queue_signal(pid, (int)signal_number, value);
}

static int run_signal(int argc, char **argv) {
  const char *value = option("--value");
  size_t i;

  for (i = 0; i < sizeof signals / sizeof *signals; ++i) {
    if (strcmp(argv[0], signals[i].name) == 0) signal_number = signals[i].number;
  }
  if ((signal_number == 0 &&
       number_argument("SIGNAL", argv[0], 0, LAST_SIGNAL, &signal_number) != DONE) ||
      (value != NULL && signed_argument("--value", value, &signal_value) != DONE)) {
    return MISUSED;
  }
  return for_each(argc - 1, argv + 1, send_signal);
}

static int wait_for(pid_t pid) {
  return process_wait(pid, (int)seconds);
}

static int run_wait(int argc, char **argv) {
  if (number_argument("SECONDS", argv[0], 0, INT32_MAX, &seconds) != DONE) return MISUSED;
  return for_each(argc - 1, argv + 1, wait_for);
}

static int run_stop(int argc, char **argv) {
  return for_each(argc, argv, process_stop);
}

static const struct action actions[] = {
    {"start", "COMMAND...", "starts a program in the background and prints its process ID",
     DETAILS("The command may begin with environment variables, as NAME=VALUE. PATH is not "
             "searched."),
     "LANG=C /usr/sbin/daemon -- -f", run_start},
    {"find", "NAME", "prints the process IDs of a running program, one per line",
     DETAILS("Of a path, only what follows the last / counts."), "dropbear", run_find},
    {"pid", "FILE", "prints the process ID in a pid file, if the process is running", NULL,
     "/var/run/crond.pid", run_pid},
    {"signal", "[--value NUMBER] SIGNAL PID...",
     "sends a signal, by number or by a name such as HUP",
     DETAILS("Signal 0 only checks that the process exists.\n--value\tis queued with the signal"),
     "HUP 1234", run_signal},
    {"wait", "SECONDS PID...", "waits for processes to end, at most SECONDS for each", NULL,
     "10 1234", run_wait},
    {"stop", "PID...", "stops processes, killing those still running after 3 seconds", NULL,
     "$(talvera proc find dropbear)", run_stop},
    {0},
};

const struct group group_proc = {"proc", "running programs", actions};
