// cc list.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/list.h>

int main(void) {
  list_obj hosts;
  if (list_init(&hosts) != 0) return 1;
  list_attributes_comparator(&hosts, list_comparator_string);
  list_append(&hosts, "tv");
  list_append(&hosts, "laptop");
  list_sort(&hosts, 1);
  list_iterator_start(&hosts);
  while (list_iterator_hasnext(&hosts))
    puts(list_iterator_next(&hosts));  // laptop, tv
  list_iterator_stop(&hosts);
  list_destroy(&hosts);
  return 0;
}
