/* Does what the gateway does at boot: prepares the factory partition, passes the device identity to
 * the platform driver, and prints the device's address range. */
#include <stdio.h>
#include <string.h>

#include "talvera/mfg.h"

/* The n-th address of the device: the base plus n, counted in the lower three bytes. */
static void print_address(const unsigned char *base, unsigned n) {
  const unsigned long low = ((unsigned long)base[3] << 16 | base[4] << 8 | base[5]) + n;
  printf("%02x:%02x:%02x:%02x:%02x:%02x", base[0], base[1], base[2], (unsigned)(low >> 16 & 0xFF),
         (unsigned)(low >> 8 & 0xFF), (unsigned)(low & 0xFF));
}

int main(void) {
  unsigned char record[MFG_INFO_SIZE];
  unsigned char mac[6];
  int count;

  mfg_init();
  mfg_info_read(record);
  mfg_get_macaddr(record, mac);
  count = mfg_num_macaddr(record);

  printf("device type  %u\n", record[MFG_INFO_DEVICE_TYPE]);
  printf("serial       %.16s\n", (const char *)record + MFG_INFO_SERIAL);
  printf("addresses    %d: ", count);
  print_address(mac, 0);
  if (count > 1) {
    printf(" to ");
    print_address(mac, (unsigned)count - 1);
  }
  printf("\nwritten      %u times\n",
         (unsigned)record[MFG_INFO_WRITE_COUNT] << 8 | record[MFG_INFO_WRITE_COUNT + 1]);
  return 0;
}
