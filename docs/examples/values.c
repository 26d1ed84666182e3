// cc values.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/values.h>

int main(void) {
  const struct ust_entry entries[] = {{0, "down"}, {1, "up"}};
  const struct ust_table states = {entries, 2};
  char number[11];
  const char *name = ust_lookup_name_by_value(&states, 1);
  printf("port %s is %s\n", p_int(number, 4), name != NULL ? name : "?");  // port 4 is up
  return 0;
}
