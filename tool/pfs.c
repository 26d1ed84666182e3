/* talvera pfs: files that persist across restarts, managed by the tool of that name. */
#include "talvera/utils.h"
#include "tool.h"

enum { MAX_QUOTED = 511 - sizeof "/sbin/pfs -r" };

static int outcome(int result) {
  return result == 0 ? DONE : refused("pfs ended with status %d", result);
}

/* The library passes the path to the shell unquoted. */
static int call_with_path(const char *path, int (*call)(const char *path)) {
  struct bytes word = {0};
  int status;

  append_quoted(&word, path);
  status = bounded_argument("PATH", word.data, MAX_QUOTED);
  if (status == DONE) status = outcome(call(word.data));
  release(&word);
  return status;
}

static int run_remember(int argc, char **argv) {
  (void)argc;
  return call_with_path(argv[0], pfs_remember_file);
}

static int run_forget(int argc, char **argv) {
  (void)argc;
  return call_with_path(argv[0], pfs_forget_file);
}

/* The result is a wait status, with the exit status in its second byte. */
static int run_forget_matching(int argc, char **argv) {
  const int result = pfs_forget_files(argv[0]);

  (void)argc;
  return outcome(result > 255 ? result >> 8 : result);
}

static int run_commit(int argc, char **argv) {
  (void)argc, (void)argv;
  return outcome(pfs_commit());
}

static int run_newbox(int argc, char **argv) {
  (void)argc, (void)argv;
  return outcome(pfs_newbox());
}

static const struct action actions[] = {
    {"remember", "PATH", "adds a file to those that persist", NULL, "/etc/hosts", run_remember},
    {"forget", "PATH", "removes a file from those that persist", NULL, "/etc/hosts", run_forget},
    {"forget-matching", "TEXT", "removes all files whose path contains TEXT, ignoring case", NULL,
     ".pem", run_forget_matching},
    {"commit", "", "saves the files that persist", NULL, "", run_commit},
    {"newbox", "", "stops the running pfs and erases all that persists", NULL, "", run_newbox},
    {0},
};

const struct group group_pfs = {"pfs", "files that persist across restarts", actions};
