// cc sdb.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <talvera/sdb.h>

int main(void) {
  char sku[32];
  int error = sdb_get("system.sku", sku, sizeof sku);
  if (error != 0) sdb_log(SDB_LOG_WARNING, "no sku: %s", sdb_strerror(error));
  return error;
}
