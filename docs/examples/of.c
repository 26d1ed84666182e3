// cc of.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <string.h>
#include <talvera/of.h>

static int is_photo(const char *name) {
  return strstr(name, ".jpg") != NULL && strchr(name, ' ') == NULL;
}

int main(void) {
  struct of_files_info *set;
  if (of_sync_dbfile(is_photo, "/photos", ".order") != 0) return 1;
  if (of_deserialize(&set, is_photo, "/photos", ".order", 0) != 0) return 1;
  const struct of_file_info *first = of_get_file_info_from_order(set, 1);
  if (first != NULL) puts(first->name);
  of_free_files_info(&set);
  return 0;
}
