/* talvera sum: checksums and digests of files, printed like md5sum does. */
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "talvera/crc.h"
#include "talvera/md5.h"
#include "talvera/strutil.h"
#include "talvera/utils.h"
#include "tool.h"

enum { CHUNK = 16384, BAR_WIDTH = 40, BAR_FROM = 16 * 1024 * 1024 };

/* A checksum: initial value, final exclusive-or, number of digits. */
struct crc {
  uint32_t (*update)(uint32_t crc, const unsigned char *data, unsigned int length);
  uint32_t start, inversion;
  int digits;
};

/* ---- Progress on a terminal ------------------------------------------------------------------ */

struct progress {
  unsigned int total, done; /* in chunks; total 0 shows nothing */
  unsigned int percent;
};

static void start_progress(struct progress *progress, int fd) {
  struct stat64 status;
  const int large = fstat64(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                    status.st_size >= BAR_FROM && isatty(STDERR_FILENO);

  progress->total = large ? (unsigned int)(status.st_size / CHUNK) : 0;
  progress->done = 0;
  progress->percent = 0;
}

static void advance(struct progress *progress) {
  char bar[BAR_WIDTH + 1] = "";
  unsigned int percent;

  if (++progress->done > progress->total) return;
  percent = progress->done * 100 / progress->total;
  if (percent == progress->percent) return;
  progress->percent = percent;
  str_nfill(bar, '#', (int)percent * BAR_WIDTH / 100);
  fprintf(stderr, "\r[%-*s] %3u %%", BAR_WIDTH, bar, percent);
}

static void end_progress(const struct progress *progress) {
  if (progress->total > 0) fprintf(stderr, "\r%*s\r", BAR_WIDTH + 8, "");
}

/* ---- Files ----------------------------------------------------------------------------------- */

/* Names with a backslash or line feed are escaped, marked by a backslash at the start of the line.
 */
static void print_sum(const char *digits, const char *name) {
  if (strpbrk(name, "\\\n\r") != NULL) putchar('\\');
  printf("%s  ", digits);
  for (; *name != '\0'; ++name) {
    if (*name == '\\' || *name == '\n' || *name == '\r') putchar('\\');
    putchar(*name == '\n' ? 'n' : *name == '\r' ? 'r' : *name);
  }
  putchar('\n');
}

/* Reads a file and writes its checksum, or its MD5 digest if `crc` is null. */
static int sum_file(int fd, const struct crc *crc, char *digits) {
  unsigned char *chunk = must(malloc(CHUNK));
  unsigned char digest[MD5_DIGEST_SIZE];
  uint32_t value = crc != NULL ? crc->start : 0;
  struct progress progress;
  md5_context md5;
  int count;

  MD5CInit(&md5);
  start_progress(&progress, fd);
  do {
    count = uf_full_read(fd, chunk, CHUNK);
    if (count > 0 && crc != NULL) value = crc->update(value, chunk, (unsigned int)count);
    if (count > 0 && crc == NULL) MD5CUpdate(&md5, chunk, (unsigned int)count);
    if (count > 0) advance(&progress);
  } while (count == CHUNK);
  end_progress(&progress);
  free(chunk);
  if (crc != NULL) {
    sprintf(digits, "%0*lx", crc->digits, (unsigned long)(value ^ crc->inversion));
  } else {
    MD5CFinal(digest, &md5);
    hex_to_str(digest, digits, 2 * MD5_DIGEST_SIZE);
  }
  return count;
}

/* Continues with the next file after a failure. */
static int sum_files(int count, char **names, const struct crc *crc) {
  char digits[2 * MD5_DIGEST_SIZE + 1];
  int status = DONE, i;

  for (i = 0; i < count || i == 0; ++i) {
    const char *name = count > 0 ? names[i] : "-";
    const int fd = open_input(name);

    if (fd < 0) {
      status = FAILED;
    } else if (sum_file(fd, crc, digits) < 0) {
      status = failed("%s", name);
    } else {
      print_sum(digits, name);
    }
    if (fd >= 0) close(fd);
  }
  return status;
}

static int run_md5(int argc, char **argv) {
  return sum_files(argc, argv, NULL);
}

static int run_crc32(int argc, char **argv) {
  static const struct crc crc = {crc32_le, 0xFFFFFFFF, 0xFFFFFFFF, 8};
  return sum_files(argc, argv, &crc);
}

static int run_crc32_be(int argc, char **argv) {
  static const struct crc crc = {crc32_be, 0xFFFFFFFF, 0xFFFFFFFF, 8};
  return sum_files(argc, argv, &crc);
}

static int run_crc16(int argc, char **argv) {
  static const struct crc crc = {crc16_le, 0xFFFF, 0xFFFF, 4};
  return sum_files(argc, argv, &crc);
}

static int run_crc16_be(int argc, char **argv) {
  static const struct crc crc = {crc16_be, 0, 0, 4};
  return sum_files(argc, argv, &crc);
}

static int run_crc8(int argc, char **argv) {
  static const struct crc crc = {crc8, 0, 0, 2};
  return sum_files(argc, argv, &crc);
}

static const struct action actions[] = {
    {"md5", "[FILE...]", "prints MD5 digests, which md5sum -c can check", NULL, "firmware.bin",
     run_md5},
    {"crc32", "[FILE...]", "prints the CRC-32 of Ethernet and gzip", NULL, "firmware.bin",
     run_crc32},
    {"crc32-be", "[FILE...]", "prints the CRC-32 of bzip2, most significant bit first", NULL,
     "firmware.bin", run_crc32_be},
    {"crc16", "[FILE...]", "prints the CRC-16 of PPP frames", NULL, "frame", run_crc16},
    {"crc16-be", "[FILE...]", "prints the CRC-16 of XMODEM, most significant bit first", NULL,
     "block", run_crc16_be},
    {"crc8", "[FILE...]", "prints the CRC-8 of DVB-S2", NULL, "header", run_crc8},
    {0},
};

const struct group group_sum = {"sum", "checksums and digests of files, or of standard input",
                                actions};
