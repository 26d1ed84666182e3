/* Installs a client certificate blob into a slot of the manufacturing file, or shows the device's
 * current one:
 *
 *   certificate_blob install FILE SLOT
 *   certificate_blob show
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "talvera/ccert.h"
#include "talvera/mfg.h"

static int install(const char *path, unsigned slot) {
  /* The library reads a blob up to its stated length, so the file must be that long. */
  static unsigned char blob[MFG_CCERT_MAX_SIZE + 1];
  size_t size;
  FILE *file = fopen(path, "rb");

  if (file == NULL) {
    fprintf(stderr, "%s: %s\n", path, strerror(errno));
    return 1;
  }
  size = fread(blob, 1, sizeof blob, file);
  fclose(file);
  if (size < MFG_CCERT_MIN_SIZE || ccert_extract_certblob_total_length(blob) != size) {
    fprintf(stderr, "%s: not a certificate blob\n", path);
    return 1;
  }
  if (ccert_install_cert_blob(blob, slot) != 0) {
    fprintf(stderr, "%s: refused: %s\n", path, strerror(errno));
    return 1;
  }
  printf("installed %lu bytes in slot %u\n", (unsigned long)size, slot);
  return 0;
}

static const char *type_name(uint32_t type) {
  switch (type) {
    case CCERT_CERTIFICATE:
      return "certificate";
    case CCERT_KEY_PLAIN:
      return "private key";
    case CCERT_KEY_PKCS8:
      return "private key, PKCS#8";
    case CCERT_KEY_PEM:
      return "private key, PEM";
    default:
      return "other";
  }
}

static int show(void) {
  unsigned char *data;
  unsigned char *key;
  uint32_t length;
  uint32_t type;
  unsigned i;

  if (ccert_init() != 0) {
    printf("no certificate blob\n");
    return 1;
  }
  printf("slot %d, %u items\n", ccert_get_location(), ccert_get_data_count());
  for (i = 0; ccert_get_data_from_index(i, &data, &length, &type, NULL) == 0; ++i) {
    printf("item %u: %s, %lu bytes\n", i, type_name(type), (unsigned long)length);
  }
  if (ccert_get_client_cert(&data, &length) == 0 && length >= 4) {
    printf("the certificate starts with %02x %02x %02x %02x\n", data[0], data[1], data[2], data[3]);
  }
  if (ccert_get_client_private_key(&key, &length) == 0 && key != NULL) {
    printf("private key: %lu bytes\n", (unsigned long)length);
    free(key);
  }
  ccert_deinit();
  return 0;
}

int main(int argc, char **argv) {
  if (argc == 4 && strcmp(argv[1], "install") == 0) {
    return install(argv[2], (unsigned)strtoul(argv[3], NULL, 10));
  }
  if (argc == 2 && strcmp(argv[1], "show") == 0) return show();
  fprintf(stderr, "usage: certificate_blob install FILE SLOT | certificate_blob show\n");
  return 2;
}
