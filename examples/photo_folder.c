/* Keeps the photos of a folder in the user's order.
 *
 *   photo_folder FOLDER sync              adapt the saved order to the photos that exist now
 *   photo_folder FOLDER move NAME PLACE   move a photo to a position, 1 being first
 *   photo_folder FOLDER enable NAME 0|1   enable or disable a photo
 *   photo_folder FOLDER list              list them
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "talvera/of.h"

static const char database[] = "photos.db";

/* The database cannot hold names with white space. */
static int is_photo(const char *name) {
  const char *dot = strrchr(name, '.');
  return dot != NULL && strcmp(dot, ".jpg") == 0 && strpbrk(name, " \t\n\v\f\r") == NULL;
}

static void list(struct of_files_info *set) {
  int32_t order;
  for (order = 1; order <= set->count; ++order) {
    const struct of_file_info *photo = of_get_file_info_from_order(set, order);
    if (photo != NULL) {
      printf("%2d  %s%s\n", (int)order, photo->name, photo->enable ? "" : "  (hidden)");
    }
  }
}

/* Changes one photo; returns -1 when there is no such photo, position or command. */
static int change(struct of_files_info *set, const char *command, const char *name, int value) {
  struct of_file_info *photo = of_get_file_info_from_name(set, name);
  if (photo == NULL) return -1;
  if (strcmp(command, "move") == 0) return of_set_order_for_item(set, photo, value);
  if (strcmp(command, "enable") == 0) return of_set_enable_for_item(photo, value);
  return -1;
}

int main(int argc, char **argv) {
  struct of_files_info *set = NULL;
  const char *folder;
  int result = -1;

  if (argc != 3 && argc != 5) {
    fprintf(stderr, "usage: %s FOLDER sync|list|move NAME PLACE|enable NAME 0|1\n", argv[0]);
    return 2;
  }
  folder = argv[1];
  if (argc == 3 && strcmp(argv[2], "sync") == 0) {
    return of_sync_dbfile(is_photo, folder, database) == 0 ? 0 : 1;
  }
  if (of_deserialize(&set, is_photo, folder, database, 1) != 0) {
    perror(folder);
    return 1;
  }
  if (argc == 5) {
    result = change(set, argv[2], argv[3], atoi(argv[4]));
    if (result == 0) result = of_serialize(set, folder, database);
  } else if (strcmp(argv[2], "list") == 0) {
    list(set);
    result = 0;
  }
  of_free_files_info(&set);
  if (result != 0) fprintf(stderr, "%s: cannot do that\n", argv[0]);
  return result == 0 ? 0 : 1;
}
