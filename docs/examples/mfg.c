// cc mfg.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/mfg.h>

int main(void) {
  unsigned char record[MFG_INFO_SIZE], mac[6];
  mfg_info_read(record);
  mfg_get_macaddr(record, mac);
  printf("serial number %s, %d MAC addresses from %02x:%02x:%02x:%02x:%02x:%02x\n",
         (const char *)record + MFG_INFO_SERIAL, mfg_num_macaddr(record), mac[0], mac[1], mac[2],
         mac[3], mac[4], mac[5]);
  return 0;
}
