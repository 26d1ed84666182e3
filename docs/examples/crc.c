// cc crc.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/crc.h>

int main(void) {
  uint32_t crc = 0xFFFFFFFF;
  crc = crc32_le(crc, (const unsigned char *)"12345", 5);
  crc = crc32_le(crc, (const unsigned char *)"6789", 4);
  printf("%08X\n", (unsigned)~crc);  // CBF43926
  return 0;
}
