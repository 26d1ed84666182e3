// cc nvram.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/nvram.h>

int main(void) {
  const char *path = "/etc/config";
  nvram_shmid = nvram_id(path);  // -1 until some process has called nvram_init()
  nvram_hash = nvram_attach(path);
  nvram_set("hostname", "gateway");
  const char *hostname = nvram_get("hostname");
  if (hostname != NULL) printf("%.*s\n", NVRAM_VALUE_SIZE, hostname);
  return nvram_detach(nvram_hash) == 0 ? 0 : 1;
}
