// cc args.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/args.h>

int main(void) {
  char line[] = "forward 1000-1999 \"two words\"";
  char *argv[ARGS_SLOTS];
  int argc;
  str_to_args(line, &argc, argv);
  for (int i = 0; i < argc; i++)
    puts(argv[i]);

  long ttl;
  if (strtol_range(&ttl, "256", 1, 255) != 0) puts("a TTL is 1 to 255");
  return 0;
}
