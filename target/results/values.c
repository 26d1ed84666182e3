/* The order of files. */
#include <stdio.h>
#include <string.h>

#include "results.h"
#include "talvera/of.h"

static void print_order(void) {
  static const int moves[][2] = {{0, 3}, {3, 1}, {1, 1}, {2, 4}, {1, 5}, {1, 0}, {1, -1}};
  struct of_file_info items[4];
  struct of_files_info set = {1, COUNT(items), items};
  size_t i;
  size_t k;
  memset(items, 0, sizeof items);
  for (i = 0; i < COUNT(items); i++) {
    items[i].name[0] = (char)('a' + i);
    items[i].order = (int32_t)i + 1;
  }
  for (i = 0; i < COUNT(moves); i++) {
    printf("move %d", of_set_order_for_item(&set, &items[moves[i][0]], moves[i][1]));
    for (k = 1; k <= COUNT(items); k++) {
      const struct of_file_info *item = of_get_file_info_from_order(&set, (int32_t)k);
      printf(" %s", item == NULL ? "none" : item->name);
    }
    printf("\n");
  }
}

void print_values(void) {
  print_order();
}
