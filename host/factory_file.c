/* Writes a manufacturing file as the factory does.
 *
 *   factory_file FILE MAC DEVICE-TYPE MAC-COUNT [SERIAL]
 *
 * Without SERIAL the serial number is empty, and the gateway derives it from the MAC address. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "talvera/mfg.h"

#define FILE_SIZE 131072

static int parse_mac(const char *text, unsigned char *mac) {
  unsigned bytes[6];
  int i;
  if (sscanf(text, "%2x:%2x:%2x:%2x:%2x:%2x", &bytes[0], &bytes[1], &bytes[2], &bytes[3], &bytes[4],
             &bytes[5]) != 6) {
    return -1;
  }
  for (i = 0; i < 6; i++)
    mac[i] = (unsigned char)bytes[i];
  return 0;
}

static void set_checksum(unsigned char *record) {
  unsigned sum = 0;
  int i;
  for (i = 0; i < MFG_INFO_CHECKSUM; i += 2)
    sum += record[i] << 8 | record[i + 1];
  sum = 0x10000 - (sum & 0xFFFF);
  record[MFG_INFO_CHECKSUM] = (unsigned char)(sum >> 8);
  record[MFG_INFO_CHECKSUM + 1] = (unsigned char)sum;
}

int main(int argc, char **argv) {
  static unsigned char content[FILE_SIZE];
  unsigned char *record = content + FILE_SIZE - MFG_INFO_SIZE;
  FILE *file;

  if (argc < 5) {
    fprintf(stderr, "usage: factory_file FILE MAC DEVICE-TYPE MAC-COUNT [SERIAL]\n");
    return 2;
  }
  memset(content, 0xFF, sizeof content);
  memset(record, 0, MFG_INFO_SIZE);
  if (parse_mac(argv[2], record + MFG_INFO_MAC) != 0) {
    fprintf(stderr, "factory_file: %s is not a MAC address\n", argv[2]);
    return 2;
  }
  record[MFG_INFO_DEVICE_TYPE] = (unsigned char)atoi(argv[3]);
  record[MFG_INFO_MAC_COUNT] = (unsigned char)atoi(argv[4]);
  if (argc > 5) snprintf((char *)record + MFG_INFO_SERIAL, 16, "%s", argv[5]);
  set_checksum(record);

  file = fopen(argv[1], "wb");
  if (file == NULL || fwrite(content, sizeof content, 1, file) != 1 || fclose(file) != 0) {
    perror(argv[1]);
    return 1;
  }
  return 0;
}
