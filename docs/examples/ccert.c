// cc ccert.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/ccert.h>

int main(void) {
  unsigned char *certificate;
  uint32_t length;
  if (ccert_init() != 0) return 1;
  if (ccert_get_client_cert(&certificate, &length) == 0) fwrite(certificate, 1, length, stdout);
  return ccert_deinit();
}
