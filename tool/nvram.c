/* talvera nvram: the configuration store shared by all processes. */
#include "talvera/nvram.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include "talvera/utils.h"
#include "tool.h"

struct pair {
  char name[NVRAM_NAME_SIZE + 1];
  char value[NVRAM_VALUE_SIZE + 1];
};

/* ---- The store ------------------------------------------------------------------------------- */

/* The file that identifies the store; null with a message. */
static const char *store_path(void) {
  const char *path = option("--store");

  if (path == NULL) path = getenv("TALVERA_NVRAM");
  if (path == NULL) misused("missing --store FILE, and TALVERA_NVRAM is not set");
  return path;
}

static int report(const char *path) {
  if (errno != ENOENT || !uf_path_exists(path)) return failed("%s", path);
  return refused("%s: there is no store, see talvera nvram init", path);
}

/* Attaches the store. With `exclusive`, locks its file against other writers, which the store
 * itself does not exclude. */
static int attach(int exclusive) {
  const char *path = store_path();
  int turn;

  if (path == NULL) return MISUSED;
  turn = exclusive ? open(path, O_RDONLY | O_CLOEXEC) : -1;
  if (exclusive && (turn < 0 || flock(turn, LOCK_EX) != 0)) return failed("%s", path);
  nvram_shmid = nvram_id(path);
  if (nvram_shmid < 0) return report(path);
  nvram_hash = nvram_attach(path);
  return nvram_hash != (void *)-1 ? DONE : failed("%s", path);
}

/* Copies the entries of a chain as the header documents it; those of a circular chain once. */
static int copy_chain(const unsigned char *entries, unsigned int index, struct pair *pairs,
                      int count) {
  while (count < NVRAM_ENTRIES && index < NVRAM_ENTRIES) {
    const unsigned char *entry = entries + index * NVRAM_ENTRY_SIZE;
    const unsigned char *value = entry + NVRAM_NAME_SIZE, *used = value + NVRAM_VALUE_SIZE;

    if (*used == 0) break;
    memcpy(pairs[count].name, entry, NVRAM_NAME_SIZE);
    memcpy(pairs[count++].value, value, NVRAM_VALUE_SIZE);
    index = used[1] * 256U + used[2];
    if (index == 0) break;
  }
  return count;
}

static int compare(const void *left, const void *right) {
  return strcmp(((const struct pair *)left)->name, ((const struct pair *)right)->name);
}

/* All pairs of the attached store, sorted by name, in a heap block. */
static struct pair *copy_pairs(int *count) {
  struct pair *pairs = must(calloc(NVRAM_ENTRIES, sizeof *pairs));
  unsigned int bucket;

  *count = 0;
  for (bucket = 1; bucket <= 256; ++bucket)
    *count = copy_chain(nvram_hash, bucket, pairs, *count);
  qsort(pairs, (size_t)*count, sizeof *pairs, compare);
  return pairs;
}

/* ---- Pairs ----------------------------------------------------------------------------------- */

static int set(const char *name, const char *value) {
  return nvram_set(name, value) == 0 ? DONE : failed("%s", name);
}

static int run_init(int argc, char **argv) {
  const char *path = store_path();

  (void)argc, (void)argv;
  if (path == NULL) return MISUSED;
  return nvram_init(path, NVRAM_SEGMENT_SIZE) >= 0 ? DONE : failed("%s", path);
}

static int run_remove(int argc, char **argv) {
  const char *path = store_path();

  (void)argc, (void)argv;
  if (path == NULL) return MISUSED;
  return nvram_exit(path) == 0 ? DONE : report(path);
}

static int run_get(int argc, char **argv) {
  const int status = attach(0);
  const char *value;

  (void)argc;
  if (status != DONE) return status;
  value = nvram_get(argv[0]);
  if (value == NULL) return refused("%s is not set", argv[0]);
  printf("%.*s\n", NVRAM_VALUE_SIZE, value); /* a value of full size has no terminator */
  return DONE;
}

static int run_set(int argc, char **argv) {
  int status;

  (void)argc;
  if (bounded_argument("NAME", argv[0], NVRAM_NAME_SIZE) != DONE ||
      bounded_argument("VALUE", argv[1], NVRAM_VALUE_SIZE) != DONE) {
    return MISUSED;
  }
  status = attach(1);
  return status == DONE ? set(argv[0], argv[1]) : status;
}

static int run_unset(int argc, char **argv) {
  const int status = attach(1);
  int i;

  for (i = 0; status == DONE && i < argc; ++i)
    nvram_unset(argv[i]);
  return status;
}

static int run_show(int argc, char **argv) {
  const int status = attach(0);
  struct pair *pairs;
  int count, i;

  (void)argc, (void)argv;
  if (status != DONE) return status;
  pairs = copy_pairs(&count);
  list_begin();
  for (i = 0; i < count; ++i) {
    record_begin();
    text_field("name", pairs[i].name);
    text_field("value", pairs[i].value);
    record_end();
  }
  list_end();
  free(pairs);
  return DONE;
}

/* ---- Lines of NAME=VALUE --------------------------------------------------------------------- */

/* A name escapes "=", and "#" so that it does not look like a comment. */
static int run_export(int argc, char **argv) {
  const int status = attach(0);
  struct bytes line = {0};
  struct pair *pairs;
  int count, i;

  (void)argc, (void)argv;
  if (status != DONE) return status;
  pairs = copy_pairs(&count);
  for (i = 0; i < count; ++i) {
    append_escaped(&line, pairs[i].name, strlen(pairs[i].name), "=#");
    append(&line, "=", 1);
    append_escaped(&line, pairs[i].value, strlen(pairs[i].value), "");
    append(&line, "\n", 1);
  }
  if (count > 0) fputs(line.data, stdout);
  release(&line);
  free(pairs);
  return DONE;
}

/* Unescapes one part of a line in place; -1 if it does not fit its field. */
static int read_part(char *text, size_t length, size_t max) {
  return unescape(text, &length) == 0 && length <= max && strlen(text) == length ? 0 : -1;
}

/* Splits a line into name and value, in place. */
static int read_line(char *line, char **value) {
  *value = strchr(line, '=');
  if (*value == NULL) return -1;
  *(*value)++ = '\0';
  return read_part(line, strlen(line), NVRAM_NAME_SIZE) == 0
             ? read_part(*value, strlen(*value), NVRAM_VALUE_SIZE)
             : -1;
}

/* Reads all lines before changing the store, so that an invalid file changes nothing. Names and
 * values stay in place, one after the other. */
static int read_lines(struct bytes *input, struct bytes *pairs) {
  char *line = input->data, *end = line + input->length;
  int number = 1;

  if (strlen(line) != input->length) return refused("the input has a NUL byte");
  for (; line < end; ++number) {
    char *next = line + strcspn(line, "\n");
    char *pair[2] = {line, NULL};

    *next++ = '\0';
    if (*line != '#' && *line != '\0') {
      if (read_line(pair[0], &pair[1]) != 0)
        return refused("line %d is not a NAME=VALUE that fits", number);
      append(pairs, pair, sizeof pair);
    }
    line = next;
  }
  return DONE;
}

static int run_import(int argc, char **argv) {
  struct bytes input = {0}, pairs = {0};
  int status = read_input(argv[0], &input);
  char **pair, **end;

  (void)argc;
  append(&pairs, NULL, 0);
  if (status == DONE) status = read_lines(&input, &pairs);
  if (status == DONE) status = attach(1);
  pair = (char **)(void *)pairs.data;
  end = pair + pairs.length / sizeof *pair;
  for (; status == DONE && pair < end; pair += 2)
    status = set(pair[0], pair[1]);
  release(&pairs);
  release(&input);
  return status;
}

static const struct action actions[] = {
    {"init", "[--store FILE]", "creates the store, or leaves the one that is there",
     DETAILS("The store is shared memory; the file must exist, and only identifies it.\n"
             "--store\tthe file, for any action; by default the one that TALVERA_NVRAM names"),
     "--store /etc/config", run_init},
    {"get", "[--store FILE] NAME", "prints a value", NULL, "hostname", run_get},
    {"set", "[--store FILE] NAME VALUE", "sets a pair, new or not", NULL, "hostname gateway",
     run_set},
    {"unset", "[--store FILE] NAME...", "removes pairs", NULL, "hostname", run_unset},
    {"show", "[--store FILE] [--json]", "lists all pairs by name", NULL, "", run_show},
    {"export", "[--store FILE]", "prints all pairs as lines of NAME=VALUE",
     DETAILS("Bytes that are not text are escaped, and in names also = and #, so that import "
             "restores any pair."),
     ">backup", run_export},
    {"import", "[--store FILE] [FILE]", "sets the pairs given as lines of NAME=VALUE",
     DETAILS("Empty lines and lines that start with # are skipped. Nothing is set when a line is "
             "wrong."),
     "backup", run_import},
    {"remove", "[--store FILE]", "removes the store",
     DETAILS("Processes that are attached keep it until they detach."), "", run_remove},
    {0},
};

const struct group group_nvram = {
    "nvram", "the configuration store: names and values in shared memory", actions};
