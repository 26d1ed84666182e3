/* Value tables, printers, heap strings, and the order of files. */
#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "results.h"
#include "talvera/of.h"
#include "talvera/values.h"

static void print_tables(void) {
  static const struct ust_entry entries[] = {{0, "off"},           {1, "on"},
                                             {-1, "unknown"},      {1, "ON"},
                                             {2147483647, "most"}, {-2147483647 - 1, ""}};
  static const struct ust_table table = {entries, COUNT(entries)};
  static const int values[] = {0, 1, -1, 2, 2147483647, -2147483647 - 1};
  static const char *const names[] = {"on", "On", "", "MOST", "none"};
  size_t i;
  for (i = 0; i < COUNT(values); i++) {
    printf("table %d %s %d %d\n", values[i], quoted(ust_lookup_name_by_value(&table, values[i])),
           ust_lookup_index_by_value(&table, values[i]),
           ust_lookup_value_by_index(&table, (unsigned)values[i]));
  }
  for (i = 0; i < COUNT(names); i++) {
    printf("table %s %d %d\n", quoted(names[i]), ust_lookup_index_by_name(&table, names[i]),
           ust_lookup_index_by_name_i(&table, names[i]));
  }
  printf("longest %u\n", ust_longest_strlen(&table));
}

static void print_printers(void) {
  static const unsigned long numbers[] = {0, 1, 2147483647UL, 2147483648UL, 4294967295UL};
  static const long parts[] = {0,           999, 45000,    999999,          1000000,
                               2147483647L, -1,  -1000000, -2147483647L - 1};
  char buffer[80];
  char *slot = NULL;
  size_t i;
  size_t k;
  for (i = 0; i < COUNT(numbers); i++) {
    printf("number %s", p_int(buffer, (unsigned)numbers[i]));
    printf(" %s", mkstr_ulong(&slot, numbers[i]));
    printf(" %s", p_ipad(buffer, htonl((uint32_t)numbers[i])));
    for (k = 0; k < COUNT(parts); k++) {
      printf(" %s,", p_secs(buffer, numbers[i], parts[k]));
    }
    printf("\n");
  }
  for (i = 0; i < COUNT(parts); i++) {
    printf("part %s", mkstr_long(&slot, parts[i]));
    printf(" %s %s\n", mkstr_string(&slot, slot + 1), p_bool((int)parts[i]));
  }
  free(slot);
  for (i = 0; i < COUNT(enum_ad_states); i++)
    printf("%s;", p_enum((int)i, enum_ad_states));
  printf("\n");
}

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
  print_tables();
  print_printers();
  print_order();
}
