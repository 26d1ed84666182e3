/* talvera trace: traceroute and its results. */
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/ipdiag.h"
#include "talvera/scan.h"
#include "talvera/strutil.h"
#include "talvera/utils.h"
#include "tool.h"

enum {
  MAX_HOST = 255,
  MAX_INTERFACE = 15,
  MAX_NAME = 40, /* of a test name: paths have at most 63 characters */
  MAX_HOPS = 255,
  USUAL_HOPS = 30, /* traceroute's default */
  COMMAND_SIZE = 1024,
  BAR_WIDTH = 30
};

/* ---- The command line ------------------------------------------------------------------------ */

enum number { QUERIES, HOPS, WAIT, TOS, PORT, SIZE, NUMBERS };

static const struct {
  const char *name;
  unsigned long max;
} limits[NUMBERS] = {{"--queries", 10}, {"--max-hops", MAX_HOPS}, {"--wait", 60},
                     {"--tos", 255},    {"--port", 65535},        {"--size", 65000}};

static int make_command(const char *host, unsigned long *values, char *command) {
  const char *interface = option("--interface");
  int i;

  for (i = 0; i < NUMBERS; ++i) {
    const char *text = option(limits[i].name);

    values[i] = 0;
    if (text != NULL && number_argument(limits[i].name, text, 1, limits[i].max, &values[i]) != DONE)
      return MISUSED;
  }
  if (plain_argument("HOST", host, MAX_HOST) != DONE) return MISUSED;
  if (interface != NULL && plain_argument("--interface", interface, MAX_INTERFACE) != DONE)
    return MISUSED;
  ipdiag_tr_makeparam(host, interface, (int32_t)values[QUERIES], (int32_t)values[HOPS],
                      (int32_t)values[WAIT], (int32_t)values[TOS], (uint16_t)values[PORT],
                      option("--icmp") != NULL, (int32_t)values[SIZE], command,
                      option("--ipv6") != NULL, COMMAND_SIZE);
  return DONE;
}

static int run_command(int argc, char **argv) {
  unsigned long values[NUMBERS];
  char command[COMMAND_SIZE];

  (void)argc;
  if (make_command(argv[0], values, command) != DONE) return MISUSED;
  puts(command);
  return DONE;
}

/* ---- Results --------------------------------------------------------------------------------- */

/* The shortest of "0.512,12,400.25" in microseconds; 0 if there is none. */
static unsigned long shortest(const char *times) {
  unsigned long best = 0;

  while (*times != '\0') {
    char *end;
    unsigned long time = strtoul(times, &end, 10) * 1000, digit = 100;

    if (*end == '.') {
      for (++end; *end >= '0' && *end <= '9'; ++end, digit /= 10)
        time += (unsigned long)(*end - '0') * digit;
    }
    if (best == 0 || time < best) best = time;
    times = end + strcspn(end, ",");
    times += *times == ',';
  }
  return best;
}

static const char *or_null(const char *text) {
  return *text != '\0' ? text : NULL;
}

static void print_hops(const struct tr_hop *hops, int32_t count) {
  static const char *const unreachable[] = {"network", "host",          "protocol",
                                            NULL,      "fragmentation", "source route"};
  unsigned long longest = 0;
  int32_t i;

  for (i = 0; i < count; ++i)
    if (shortest(hops[i].times) > longest) longest = shortest(hops[i].times);
  list_begin();
  for (i = 0; i < count; ++i) {
    const struct tr_hop *hop = &hops[i];
    char bar[BAR_WIDTH + 1] = "";

    str_nfill(bar, '#', (int)(shortest(hop->times) / (longest / BAR_WIDTH + 1)));
    record_begin();
    number_field("hop", i + 1);
    text_field("host", or_null(hop->host));
    text_field("address", or_null(hop->address));
    text_field("times", or_null(hop->times));
    text_field("unreachable", hop->status >= 0 ? unreachable[hop->status] : NULL);
    if (option("--json") == NULL) text_field("", bar);
    record_end();
  }
  list_end();
}

/* Reports why there are no results: the first text of traceroute on standard error. */
static int print_error(const char *name, int32_t code) {
  struct bytes text = {0};
  char path[MAX_NAME + 16], *line;

  sprintf(path, "/tmp/%s-err", name);
  if (read_input(path, &text) != DONE) return FAILED;
  line = skip_space(text.data);
  line[strcspn(line, "\n")] = '\0';
  refused(code == 0 ? "unknown host: %s" : "%s", line);
  release(&text);
  return FAILED;
}

/* Prints the hops of a test, and reports why there are none or too few. */
static int show(const char *name, int32_t max_hops) {
  struct tr_hop *hops = must(calloc((size_t)max_hops, sizeof *hops));
  int32_t count = 0, code = -1, i;
  int result;

  for (i = 0; i < max_hops; ++i)
    hops[i].status = -1;
  result = ipdiag_tr_formatout(name, hops, max_hops, &count);
  if (result < 0) failed("/tmp/%s-out", name);
  if (result >= 0 && count > 0) {
    print_hops(hops, count);
    if (hops[count - 1].status >= 0) result = 1;
  }
  free(hops);
  if (result < 0) return FAILED;
  ipdiag_tr_err(name, &code);
  if (code >= 0 && count == 0) return print_error(name, code);
  if (count == 0) return refused("there are no hops");
  return result == 0 ? DONE : refused("the host was not reached");
}

static int run_show(int argc, char **argv) {
  int32_t time = -1;
  int status;

  (void)argc;
  if (plain_argument("NAME", argv[0], MAX_NAME) != DONE) return MISUSED;
  status = show(argv[0], MAX_HOPS);
  if (option("--json") == NULL && ipdiag_tr_resptime(argv[0], &time) == 0 && time >= 0)
    printf("response time %ld\n", (long)time);
  return status;
}

/* ---- A test ---------------------------------------------------------------------------------- */

/* Runs traceroute with its work files in a new private folder. */
static int run_test(int argc, char **argv) {
  static const char *const files[] = {"-out", "-err"};
  char folder[] = "/tmp/talvera-XXXXXX", name[sizeof folder], path[sizeof folder + 8];
  unsigned long values[NUMBERS];
  char command[COMMAND_SIZE];
  int status, i;

  (void)argc;
  if (make_command(argv[0], values, command) != DONE) return MISUSED;
  if (mkdtemp(folder) == NULL) return failed("/tmp");
  catch_interrupts();
  sprintf(name, "%s/t", folder + 5);
  sdb_system("%s >/tmp/%s-out 2>/tmp/%s-err", command, name, name);
  status = show(name, values[HOPS] > 0 ? (int32_t)values[HOPS] : USUAL_HOPS);
  for (i = 0; i < 2; ++i) {
    sprintf(path, "%s/t%s", folder, files[i]);
    unlink(path);
  }
  rmdir(folder);
  return status;
}

static const struct action actions[] = {
    {"command",
     "[--ipv6] [--icmp] [--interface NAME] [--queries N] [--max-hops N] [--wait SECONDS] "
     "[--tos N] [--port N] [--size BYTES] HOST",
     "prints the command line that traces the route to a host", NULL,
     "--icmp --queries 1 192.0.2.1", run_command},
    {"run",
     "[--json] [--ipv6] [--icmp] [--interface NAME] [--queries N] [--max-hops N] "
     "[--wait SECONDS] [--tos N] [--port N] [--size BYTES] HOST",
     "runs traceroute, and prints the hops with a bar for the shortest time of each",
     DETAILS("Times are in milliseconds. Fails if the host is not reached in 30 hops, or "
             "--max-hops."),
     "--queries 1 192.0.2.1", run_test},
    {"show", "[--json] NAME", "prints the hops of an earlier test",
     DETAILS("Its results are in /tmp/NAME-out, /tmp/NAME-err and /tmp/NAME-status."), "wan",
     run_show},
    {0},
};

const struct group group_trace = {"trace", "the route to a host, with traceroute", actions};
