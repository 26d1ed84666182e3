/* talvera sysfs: kernel attributes. */
#include "talvera/utils.h"
#include "tool.h"

enum { MAX_PATH = 255, MAX_VALUE = 4096 }; /* an attribute has at most a page */

static int run_get(int argc, char **argv) {
  char value[MAX_VALUE + 1] = "";

  (void)argc;
  if (bounded_argument("PATH", argv[0], MAX_PATH) != DONE) return MISUSED;
  if (sysfs_get_attr("%s", value, MAX_VALUE, argv[0]) < 0) return failed("%s", argv[0]);
  puts(value);
  return DONE;
}

static int run_set(int argc, char **argv) {
  (void)argc;
  if (bounded_argument("PATH", argv[0], MAX_PATH) != DONE) return MISUSED;
  return sysfs_set_attr("%s", argv[1], argv[0]) == 0 ? DONE : failed("%s", argv[0]);
}

static const struct action actions[] = {
    {"get", "PATH", "prints the first line of an attribute", NULL, "/sys/class/net/lo/mtu",
     run_get},
    {"set", "PATH VALUE", "writes an attribute", NULL, "/sys/class/net/lo/mtu 1500", run_set},
    {0},
};

const struct group group_sysfs = {"sysfs", "attributes of the kernel", actions};
