/* talvera files: the ordered list of a folder's files. */
#include <errno.h>
#include <string.h>

#include "talvera/of.h"
#include "tool.h"

/* ---- The list -------------------------------------------------------------------------------- */

static const char *database(void) {
  const char *name = option("--database");

  return name != NULL ? name : ".order";
}

/* Sorted like the output of ls, without names that the database cannot hold. */
static int is_listed(const char *name) {
  return name[0] != '.' && strpbrk(name, " \t\n\v\f\r") == NULL && strcmp(name, database()) != 0;
}

static int report(const char *folder) {
  if (errno != EINVAL) return failed("%s", folder);
  return refused("%s/%s is damaged, see talvera files sync", folder, database());
}

/* The saved list or, if there is none, all files by name. */
static int load(const char *folder, struct of_files_info **set) {
  return of_deserialize(set, is_listed, folder, database(), 1) == 0 ? DONE : report(folder);
}

static int run_show(int argc, char **argv) {
  struct of_files_info *set;
  const int status = load(argv[0], &set);
  int i;

  (void)argc;
  if (status != DONE) return status;
  list_begin();
  for (i = 0; i < set->count; ++i) {
    const struct of_file_info *item = set->items + i;

    record_begin();
    number_field("place", item->order);
    text_field("name", item->name);
    flag_field("enabled", item->enable);
    format_field("flags", "%lx", (unsigned long)item->flags);
    record_end();
  }
  list_end();
  of_free_files_info(&set);
  return DONE;
}

static int run_sync(int argc, char **argv) {
  (void)argc;
  return of_sync_dbfile(is_listed, argv[0], database()) == 0 ? DONE : failed("%s", argv[0]);
}

/* ---- Changes --------------------------------------------------------------------------------- */

typedef int changer(struct of_files_info *set, struct of_file_info *item, const char *value);

static int move(struct of_files_info *set, struct of_file_info *item, const char *value) {
  unsigned long place;

  if (number_argument("PLACE", value, 1, (unsigned long)set->count, &place) != DONE) {
    return MISUSED;
  }
  return of_set_order_for_item(set, item, (int32_t)place) == 0 ? DONE : FAILED;
}

/* Enables a file unless a value is given. */
static int enable(struct of_files_info *set, struct of_file_info *item, const char *value) {
  (void)set;
  of_set_enable_for_item(item, value == NULL);
  return DONE;
}

/* Changes all named files of the saved list, or none. */
static int change_files(const char *folder, int count, char **names, changer *change,
                        const char *value) {
  struct of_files_info *set;
  int status = load(folder, &set), i;

  if (status != DONE) return status;
  for (i = 0; status == DONE && i < count; ++i) {
    struct of_file_info *item = of_get_file_info_from_name(set, names[i]);

    status = item != NULL ? change(set, item, value)
                          : refused("%s is not in the list, see talvera files sync", names[i]);
  }
  if (status == DONE && of_serialize(set, folder, database()) != 0) status = failed("%s", folder);
  of_free_files_info(&set);
  return status;
}

static int run_move(int argc, char **argv) {
  (void)argc;
  return change_files(argv[0], 1, argv + 1, move, argv[2]);
}

static int run_enable(int argc, char **argv) {
  return change_files(argv[0], argc - 1, argv + 1, enable, NULL);
}

static int run_disable(int argc, char **argv) {
  return change_files(argv[0], argc - 1, argv + 1, enable, "");
}

static const struct action actions[] = {
    {"show", "[--database NAME] [--json] FOLDER", "prints the list as it is saved",
     DETAILS("Without a saved list, prints all files by name. The list omits hidden files and "
             "files with white space in their names.\n"
             "--database\tthe file in the folder that keeps the list, for any action; by default "
             ".order"),
     "/photos", run_show},
    {"sync", "[--database NAME] FOLDER", "updates the list to match the files that exist now",
     DETAILS("New files come first; those that are gone are dropped. A damaged list is rebuilt."),
     "/photos", run_sync},
    {"move", "[--database NAME] FOLDER NAME PLACE", "gives a file another place, 1 being the first",
     NULL, "/photos beach.jpg 1", run_move},
    {"enable", "[--database NAME] FOLDER NAME...", "switches files on", NULL, "/photos beach.jpg",
     run_enable},
    {"disable", "[--database NAME] FOLDER NAME...", "switches files off", NULL, "/photos beach.jpg",
     run_disable},
    {0},
};

const struct group group_files = {"files", "the ordered list of a folder's files", actions};
