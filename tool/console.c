/* talvera console: messages on the system console. */
#include "talvera/utils.h"
#include "tool.h"

enum { MAX_TEXT = 254 }; /* the library's 255 include a line feed */

static int run_print(int argc, char **argv) {
  int i;

  for (i = 0; i < argc; ++i) {
    if (bounded_argument("TEXT", argv[i], MAX_TEXT) != DONE) return MISUSED;
  }
  for (i = 0; i < argc; ++i) {
    if (cons_printk("%s\n", argv[i]) < 0) return failed("/dev/console");
  }
  return DONE;
}

static const struct action actions[] = {
    {"print", "TEXT...", "prints lines on the system console", NULL, "'firmware is being written'",
     run_print},
    {0},
};

const struct group group_console = {"console", "the system console", actions};
