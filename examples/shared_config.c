/* A small shared configuration. One process creates the store; any process sets, reads and lists
 * its pairs; the owner removes it:
 *
 *   shared_config PATH create
 *   shared_config PATH set NAME VALUE
 *   shared_config PATH get NAME
 *   shared_config PATH unset NAME
 *   shared_config PATH show
 *   shared_config PATH remove
 *
 * PATH is an existing file that identifies the store. Writers lock that file, because the store
 * itself provides no mutual exclusion.
 */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include "talvera/nvram.h"

static int attach(const char *path) {
  nvram_shmid = nvram_id(path);
  nvram_hash = nvram_shmid >= 0 ? nvram_attach(path) : NULL;
  if (nvram_hash == NULL || nvram_hash == (void *)-1) {
    perror(path);
    nvram_hash = NULL;
    return -1;
  }
  return 0;
}

static void detach(void) {
  nvram_detach(nvram_hash);
  nvram_hash = NULL;
}

/* Sets the pair, or removes it when the value is null. */
static int change(const char *path, const char *name, const char *value) {
  const int turn = open(path, O_RDONLY | O_CLOEXEC);
  int result;

  if (turn < 0 || flock(turn, LOCK_EX) != 0) {
    perror(path);
    return 1;
  }
  result = value != NULL ? nvram_set(name, value) : nvram_unset(name);
  close(turn);
  return result == 0 ? 0 : 1;
}

static int get(const char *name) {
  const char *value = nvram_get(name);

  if (value == NULL) return 1;
  printf("%.*s\n", NVRAM_VALUE_SIZE, value); /* a value of full size has no terminator */
  return 0;
}

static int report(const char *path, int result) {
  if (result >= 0) return 0;
  perror(path);
  return 1;
}

int main(int argc, char **argv) {
  const char *path = argc > 2 ? argv[1] : "";
  const char *command = argc > 2 ? argv[2] : "";
  int result = 2;

  if (argc == 3 && strcmp(command, "create") == 0) {
    return report(path, nvram_init(path, NVRAM_SEGMENT_SIZE));
  }
  if (argc == 3 && strcmp(command, "remove") == 0) return report(path, nvram_exit(path));
  if (argc > 2 && attach(path) != 0) return 1;

  if (argc == 5 && strcmp(command, "set") == 0) {
    result = change(path, argv[3], argv[4]);
  } else if (argc == 4 && strcmp(command, "unset") == 0) {
    result = change(path, argv[3], NULL);
  } else if (argc == 4 && strcmp(command, "get") == 0) {
    result = get(argv[3]);
  } else if (argc == 3 && strcmp(command, "show") == 0) {
    nvram_show_all();
    result = 0;
  } else {
    fprintf(stderr,
            "usage: shared_config PATH create|set NAME VALUE|get NAME|unset NAME|show|remove\n");
  }
  if (nvram_hash != NULL) detach();
  return result;
}
