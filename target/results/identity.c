/* The default identity and the checks of certificate blobs. There is no partition here: an
 * operation that passes its checks fails with the error of the mount. */
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/mount.h>

#include "results.h"
#include "talvera/ccert.h"
#include "talvera/mfg.h"

int mount(const char *source, const char *target, const char *type, unsigned long mount_flags,
          const void *data) {
  (void)source, (void)target, (void)type, (void)mount_flags, (void)data;
  errno = ENODEV;
  return -1;
}

static void print_record(void) {
  unsigned char record[MFG_INFO_SIZE];
  unsigned char mac[6];
  unsigned char byte[1];
  mfg_info_read(record);
  printf("default record %s\n", hexed(record, sizeof record));
  mfg_get_macaddr(record, mac);
  printf("mac %s count %d\n", hexed(mac, sizeof mac), mfg_num_macaddr(record));
  record[MFG_INFO_MAC_COUNT] = 255;
  printf("count %d\n", mfg_num_macaddr(record));
  errno = 0;
  printf("calibration %d", mfg_wlcal_get(byte, TVRA_WLCAL_SIZE, 1));
  printf(" %s\n", error_name(errno));
}

static void install(unsigned char *blob) {
  int result;
  errno = 0;
  result = ccert_install_cert_blob(blob, 1);
  printf("blob %s of %u: %d %s\n", hexed(blob, 52), ccert_extract_certblob_total_length(blob),
         result, error_name(errno));
}

void print_identity(void) {
  static const unsigned char good[] = {0x0e, 0x0c, 0x0a, 0x08, 2, 4, 6, 7, 0, 0, 0, 60, 0, 0, 0,
                                       2,    0xff, 0,    0,    0, 0, 0, 0, 0, 0, 0, 0,  3, 0, 0,
                                       0,    2,    0,    0,    0, 0, 0, 0, 0, 3, 0, 0,  0, 5, 0,
                                       0,    0,    1,    0,    0, 0, 0, 1, 2, 3, 4, 5,  6, 7, 8};
  static const unsigned char changes[] = {0, 1, 0x7f, 0x80, 0xff};
  unsigned char blob[16384];
  size_t i;
  size_t k;

  print_record();
  memset(blob, 0, sizeof blob);
  memcpy(blob, good, sizeof good);
  install(blob);
  /* A change of any byte of header and table; lengths stay within the buffer. */
  for (i = 0; i < 52; i++) {
    if (i >= 8 && i < 10) continue;
    for (k = 0; k < COUNT(changes); k++) {
      if (i == 10 && changes[k] > 0x3f) continue;
      blob[i] = changes[k];
      install(blob);
    }
    blob[i] = good[i];
  }
}
