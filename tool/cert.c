/* talvera cert: the device's certificate blob, and certificate files. */
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/ccert.h"
#include "talvera/encode.h"
#include "talvera/mfg.h"
#include "talvera/utils.h"
#include "tool.h"
#ifdef TALVERA_SSL
#include "talvera/ssl.h"
#endif

/* ---- The device's blob ----------------------------------------------------------------------- */

/* Loads the device's blob. Reads a byte first, because the library does not distinguish a missing
 * file from empty slots. */
static int load(void) {
  unsigned char byte, *data = &byte;
  uint32_t length = 1;
  struct mfg_ccert_get_info info = {&data, &length, 1};

  if (mfg_ccert_get(&info) != 0) return failed("/mfg/mfg.dat");
  if (ccert_init() != 0) {
    return refused("neither slot holds a blob of at most %d bytes", MFG_CCERT_MAX_QUERY_SIZE);
  }
  if (ccert_get_data_count() > 0) return DONE;
  return refused("the blob in slot %d has no items, or not those that it lists",
                 ccert_get_location());
}

/* Wipes the blob before it is freed. */
static void unload(void) {
  unsigned char *data;
  uint32_t length;
  unsigned int i;

  for (i = 0; ccert_get_data_from_index(i, &data, &length, NULL, NULL) == 0; ++i)
    wipe(data, length);
  ccert_deinit();
}

static int run_show(int argc, char **argv) {
  static const char *const types[] = {NULL, "key", "certificate", NULL, "key-pkcs8", "key-pem"};
  const struct ccert_toc_item *item;
  const int status = load();
  unsigned int i;

  (void)argc, (void)argv;
  if (status != DONE) return status;
  list_begin();
  for (i = 0; (item = ccert_get_toc_item_from_index(i)) != NULL; ++i) {
    record_begin();
    number_field("slot", ccert_get_location());
    number_field("item", i);
    text_field("type", item->type < sizeof types / sizeof *types ? types[item->type] : NULL);
    number_field("code", item->type);
    number_field("bytes", item->length);
    format_field("flags", "%lx", (unsigned long)item->flags);
    record_end();
  }
  list_end();
  unload();
  return DONE;
}

static int run_client(int argc, char **argv) {
  int status = load();
  unsigned char *certificate;
  uint32_t length;

  (void)argc, (void)argv;
  if (status != DONE) return status;
  if (ccert_get_client_cert(&certificate, &length) == 0) {
    fwrite(certificate, 1, length, stdout);
  } else {
    status = refused("the blob has no certificate");
  }
  unload();
  return status;
}

/* Bypasses the stream, whose buffer would keep a copy. */
static int write_key(unsigned char *key, uint32_t length) {
  const int status =
      uf_full_write(STDOUT_FILENO, key, length) == (int)length ? DONE : failed("standard output");

  wipe(key, length);
  free(key);
  return status;
}

static int run_key(int argc, char **argv) {
  int status = load();
  unsigned char *key;
  uint32_t length;

  (void)argc, (void)argv;
  if (status != DONE) return status;
  if (ccert_get_client_private_key(&key, &length) != 0) {
    status = refused("the blob has no private key");
  } else if (key == NULL) {
    status = refused("the private key is not stored in plain form, and cannot be extracted");
  } else {
    status = write_key(key, length);
  }
  unload();
  return status;
}

/* Wipes file content, which may contain a key, even beside a certificate. */
static void wipe_and_release(struct bytes *input) {
  wipe(input->data, input->room);
  release(input);
}

/* ---- Blobs in files -------------------------------------------------------------------------- */

/* Installs a complete blob. The library checks the blob first, so an invalid slot can be used for a
 * check alone. */
static int install(const char *path, unsigned long slot) {
  struct bytes blob = {0};
  int status = read_sized_input(path, MFG_CCERT_MIN_SIZE, MFG_CCERT_MAX_SIZE, &blob);

  if (status == DONE) {
    const unsigned char *data = (unsigned char *)blob.data;
    const uint32_t length = ccert_extract_certblob_total_length(data);

    if (length != blob.length) {
      status = refused("the input has %zu bytes, but its header says %lu", blob.length,
                       (unsigned long)length);
    } else if (ccert_install_cert_blob(data, (unsigned int)slot) == 0) {
      status = DONE;
    } else if (errno == EINVAL) {
      status = refused("the input has a wrong magic number, an unsupported version, or gaps");
    } else if (slot <= 2) {
      status = failed("/mfg/mfg.dat");
    }
  }
  wipe_and_release(&blob);
  return status;
}

static int run_check(int argc, char **argv) {
  enum { NO_SLOT = 3 };

  (void)argc;
  return install(argv[0], NO_SLOT);
}

static int run_install(int argc, char **argv) {
  unsigned long slot;

  (void)argc;
  if (number_argument("SLOT", argv[0], 1, 2, &slot) != DONE) return MISUSED;
  return install(argv[1], slot);
}

/* ---- Certificates in files ------------------------------------------------------------------- */

#ifdef TALVERA_SSL
enum { MAX_FILE = 1 << 20, TEXT_SIZE = 256, FINGERPRINT_SIZE = 61, PEM_LINE = 64 };
static const char pem_begin[] = "-----BEGIN CERTIFICATE-----",
                  pem_end[] = "-----END CERTIFICATE-----";

/* Parses a DER certificate, or reads the first certificate of a PEM file. */
static int read_certificate(const char *path, struct bytes *der) {
  const int status = read_sized_input(path, 1, MAX_FILE, der);
  const char *begin = status == DONE ? strstr(der->data, pem_begin) : NULL;
  const char *end = begin != NULL ? strstr(begin, pem_end) : NULL;
  unsigned int length = (unsigned int)der->length;

  if (end != NULL) {
    const size_t text_length = (size_t)(end - begin) - (sizeof pem_begin - 1);

    memmove(der->data, begin + sizeof pem_begin - 1, text_length);
    if (base64_decode(der->data, (unsigned int)text_length, (unsigned char *)der->data, &length) ==
        0) {
      der->length = length;
    }
  }
  if (status != DONE || SSL_IsCertValidFormat((unsigned char *)der->data, (long)der->length)) {
    return status;
  }
  return refused("the input is not a certificate in DER or PEM");
}

static void print_name(const char *name, X509 *certificate, int (*get)(X509 *, char *, int)) {
  char text[TEXT_SIZE];
  const int length = get(certificate, text, sizeof text - 1); /* a date needs one byte more */

  if (length < 0) {
    text_field(name, NULL);
  } else {
    bytes_field(name, text, (size_t)length);
  }
}

/* Does not free the certificate, because querying its dates consumes it. */
static int run_print(int argc, char **argv) {
  static X509 *certificate;
  struct bytes der = {0};
  const int status = read_certificate(argv[0], &der);

  (void)argc;
  if (status == DONE) {
    certificate = uc_make_x509((unsigned char *)der.data, (long)der.length);
    must(certificate);
    record_begin();
    print_name("name", certificate, uc_get_common_name);
    print_name("serial", certificate, uc_get_serial_number);
    print_name("organization", certificate, uc_get_organization_name);
    print_name("unit", certificate, uc_get_organizational_unit_name);
    print_name("from", certificate, uc_get_notbefore);
    print_name("until", certificate, uc_get_notafter);
    record_end();
  }
  wipe_and_release(&der);
  return status;
}

static void print_pem(const struct bytes *der) {
  struct bytes text = {0};
  const char *line;
  unsigned int room = 0;

  base64_encode((unsigned char *)der->data, (unsigned int)der->length, NULL, &room);
  text.data = must(malloc(room));
  base64_encode((unsigned char *)der->data, (unsigned int)der->length, text.data, &room);
  puts(pem_begin);
  for (line = text.data; line < text.data + room; line += PEM_LINE)
    printf("%.*s\n", PEM_LINE, line);
  puts(pem_end);
  release(&text);
}

static int run_convert(int argc, char **argv) {
  struct bytes der = {0};
  const int status = read_certificate(argv[0], &der);

  (void)argc;
  if (status == DONE && option("--der") != NULL) {
    fwrite(der.data, 1, der.length, stdout);
  } else if (status == DONE) {
    print_pem(&der);
  }
  wipe_and_release(&der);
  return status;
}

static const char *format(void) {
  return option("--format") != NULL ? option("--format") : "PEM";
}

/* Reports a file that cannot be opened; null means standard input to the library. */
static int check_path(const char **path) {
  const int fd = open_input(*path);

  if (fd < 0) return FAILED;
  close(fd);
  if (*path != NULL && strcmp(*path, "-") == 0) *path = NULL;
  return DONE;
}

static int refuse_format(void) {
  return refused("the input is not a certificate in the format %s", format());
}

static int run_hash(int argc, char **argv) {
  const char *path = argv[0];
  unsigned long hash;

  (void)argc;
  if (check_path(&path) != DONE) return FAILED;
  hash = SSL_cert_hash(path, format());
  if (hash == 0) return refuse_format();
  printf("%08lx\n", hash);
  return DONE;
}

static int run_fingerprint(int argc, char **argv) {
  const char *path = argv[0], *digest = option("--digest") != NULL ? option("--digest") : "sha1";
  char text[FINGERPRINT_SIZE];

  (void)argc;
  if (strcasecmp(digest, "sha1") != 0 && strcasecmp(digest, "md5") != 0) {
    return misused("--digest: %s is neither sha1 nor md5", digest);
  }
  if (check_path(&path) != DONE) return FAILED;
  if (SSL_cert_fingerprint(path, format(), digest, text) != 0) return refuse_format();
  puts(text);
  return DONE;
}
#endif

static const struct action actions[] = {
    {"show", "[--json]", "lists the items of the blob that the device uses", NULL, "", run_show},
    {"client", "", "prints the device's certificate, as it is in the blob", NULL,
     "talvera cert client | talvera cert print", run_client},
    {"key", "", "prints the device's private key, as it is in the blob", NULL,
     "(umask 77; talvera cert key >key.der)", run_key},
    {"check", "[FILE]", "checks a blob", NULL, "factory.blob", run_check},
    {"install", "SLOT [FILE]", "checks a blob and writes it to certificate slot 1 or 2",
     DETAILS("The device prefers slot 2 to slot 1, and ignores blobs of more than 8000 bytes."),
     "1 factory.blob", run_install},
#ifdef TALVERA_SSL
    {"print", "[--json] [FILE]", "prints the names and validity of a DER or PEM certificate",
     DETAILS("The serial number is the subject's, not that of the certificate."), "server.pem",
     run_print},
    {"convert", "[--der] [FILE]", "prints a DER or PEM certificate as PEM, or with --der as DER",
     NULL, "server.der >server.pem", run_convert},
    {"hash", "[--format WORD] [FILE]", "prints the hash by which OpenSSL finds a certificate",
     DETAILS("--format\tPEM (the default), DER, PKCS12 or Netscape"), "server.pem", run_hash},
    {"fingerprint", "[--format WORD] [--digest NAME] [FILE]", "prints a digest of a certificate",
     DETAILS("--format\tas for talvera cert hash\n--digest\tsha1 (the default) or md5"),
     "--digest md5 server.pem", run_fingerprint},
#endif
    {0},
};

const struct group group_cert = {"cert", "the device's certificates, and others", actions};
