// cc strutil.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/strutil.h>

int main(void) {
  const unsigned char mac[6] = {0x02, 0x5A, 0x30, 0x96, 0x02, 0xD0};
  char path[64] = "/tmp/", text[19];
  str_ncat(path, "leases", sizeof path - 1);
  hex_to_str_with_delim(mac, text, ':', 12);
  printf("%s %s\n", path, text);  // /tmp/leases 02:5a:30:96:02:d0
  if (strmatch_lowercase("Host: gateway", "host:") != NULL) puts("a host line");
  return 0;
}
