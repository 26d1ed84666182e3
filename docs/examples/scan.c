// cc scan.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/scan.h>

int main(void) {
  char text[] = "timeout 30", *line = text, name[16];
  unsigned long value;
  line = get_word(line, name, sizeof name);
  line = get_number(line, &value, 10);
  printf("%s is %lu%s\n", name, value, *line == '\0' ? "" : " and more");
  return 0;
}
