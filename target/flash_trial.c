/* Trials of the factory partition on a real flash file system:
 *
 *   flash_trial write VALUE      writes wireless calibration of this byte throughout
 *   flash_trial check VALUE      says whether it is there
 *   flash_trial kill ROUNDS      kills writers with SIGKILL at various moments, and says what that
 *                                left of the file
 */
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "talvera/mfg.h"

enum { kFileSize = 131072, kBlobSize = MFG_CCERT_MAX_SIZE, kTrialByte = 100 };
enum area { RECORD, CALIBRATION, CERTIFICATE, AREAS };
enum outcome { OLD, NEW, MIXED, OUTCOMES };

static const char *const area_names[AREAS] = {"info record", "calibration", "certificate"};
static const unsigned char trial_mac[6] = {0x02, 0x5a, 0x31, 0, 0, 1};

/* The writer's progress, in memory that outlives it: for each area, the value of the write last
 * begun and of the one last completed. */
static struct progress {
  volatile unsigned char begun[AREAS];
  volatile unsigned char done[AREAS];
} * progress;

static int write_record(unsigned char value) {
  unsigned char record[MFG_INFO_SIZE];
  mfg_info_read(record);
  memcpy(record + MFG_INFO_MAC, trial_mac, sizeof trial_mac);
  record[kTrialByte] = value;
  return mfg_info_write(record);
}

static int write_calibration(unsigned char value) {
  unsigned char data[TVRA_WLCAL_SIZE];
  memset(data, value, sizeof data);
  return mfg_wlcal_set(data, 0, sizeof data);
}

static int write_certificate(unsigned char value) {
  static unsigned char blob[kBlobSize];
  struct mfg_ccert_set_info request = {blob, sizeof blob, 2};
  memset(blob, value, sizeof blob);
  return mfg_ccert_set(&request);
}

static int (*const writers[AREAS])(unsigned char) = {write_record, write_calibration,
                                                     write_certificate};

/* Writes successive values to all areas until it is killed. */
static void write_for_ever(void) {
  int area;
  for (;;) {
    for (area = 0; area < AREAS; area++) {
      progress->begun[area] = (unsigned char)(progress->done[area] % 250 + 1);
      if (writers[area](progress->begun[area]) != 0) _exit(1);
      progress->done[area] = progress->begun[area];
    }
  }
}

/* Reads an area; returns its bytes, or null. */
static const unsigned char *read_area(int area, size_t *size) {
  static unsigned char buffer[kBlobSize];
  unsigned char *data = buffer;
  uint32_t length = kBlobSize;
  struct mfg_ccert_get_info request = {&data, &length, 2};

  *size = area == RECORD ? 1 : area == CALIBRATION ? TVRA_WLCAL_SIZE : kBlobSize;
  switch (area) {
    case RECORD:
      mfg_info_read(buffer);
      /* An invalid record is replaced by the default one, which has another address. */
      if (memcmp(buffer + MFG_INFO_MAC, trial_mac, sizeof trial_mac) != 0) return NULL;
      return buffer + kTrialByte;
    case CALIBRATION:
      return mfg_wlcal_get(buffer, 0, TVRA_WLCAL_SIZE) == 0 ? buffer : NULL;
    default:
      return mfg_ccert_get(&request) == 0 ? buffer : NULL;
  }
}

/* The value in an area after the writer's death; -1 for invalid content. */
static int stored_value(int area) {
  size_t size;
  size_t old_bytes = 0;
  size_t new_bytes = 0;
  size_t i;
  const unsigned char *const data = read_area(area, &size);

  for (i = 0; data != NULL && i < size; i++) {
    if (data[i] == progress->begun[area]) {
      new_bytes++;
    } else if (data[i] == progress->done[area]) {
      old_bytes++;
    }
  }
  if (data == NULL || old_bytes + new_bytes != size) return -1;
  if (old_bytes != 0 && new_bytes != 0) return MIXED;
  return new_bytes != 0 ? NEW : OLD;
}

static int file_is_whole(void) {
  struct stat status;
  int whole;
  if (mount("mtd:mfg", "/mfg", "jffs2", MS_RDONLY, NULL) != 0) return 0;
  whole = stat("/mfg/mfg.dat", &status) == 0 && status.st_size == kFileSize;
  umount2("/mfg", 0);
  return whole;
}

/* Kills a writer after a while. */
static int kill_writer(unsigned microseconds) {
  const pid_t writer = fork();
  int status;
  if (writer == 0) write_for_ever();
  if (writer < 0) return -1;
  usleep(microseconds);
  kill(writer, SIGKILL);
  waitpid(writer, &status, 0);
  umount2("/mfg", 0); /* the writer may have left it mounted, unlike a restart */
  return WIFSIGNALED(status) ? 0 : -1;
}

/* Counts the outcome of an interrupted write of the area, if any, and makes its value the start of
 * the next writer; rewrites mixed content. Returns nonzero for a loss. */
static int count_outcome(int round, int area, int counts[OUTCOMES]) {
  const int outcome = stored_value(area);
  if (outcome < 0 || (outcome == MIXED && area != CERTIFICATE)) {
    printf("round %d: the %s is lost\n", round, area_names[area]);
    return 1;
  }
  if (progress->begun[area] != progress->done[area]) counts[outcome]++;
  if (outcome == MIXED && writers[area](progress->begun[area]) != 0) return 1;
  if (outcome != OLD) progress->done[area] = progress->begun[area];
  progress->begun[area] = progress->done[area];
  return 0;
}

static int kill_writers(int rounds) {
  int counts[AREAS][OUTCOMES];
  int caught = 0;
  int round;
  int area;

  memset(counts, 0, sizeof counts);
  for (area = 0; area < AREAS; area++) {
    progress->begun[area] = progress->done[area] = 1;
    if (writers[area](1) != 0) return 1;
  }
  for (round = 0; round < rounds; round++) {
    if (kill_writer(3000U + (unsigned)round * 7919U % 250000U) != 0 || !file_is_whole()) {
      printf("round %d: the writer failed, or the file is not whole\n", round);
      return 1;
    }
    for (area = 0; area < AREAS; area++) {
      if (count_outcome(round, area, counts[area]) != 0) return 1;
    }
  }
  for (area = 0; area < AREAS; area++)
    caught += counts[area][OLD] + counts[area][NEW] + counts[area][MIXED];
  printf("%d writers killed, %d of them within a write; the file always had its size\n", rounds,
         caught);
  for (area = 0; area < AREAS; area++) {
    printf(
        "%s: never lost; of the interrupted writes %d left it old, %d new, %d part old part new\n",
        area_names[area], counts[area][OLD], counts[area][NEW], counts[area][MIXED]);
  }
  return 0;
}

static int check_calibration(unsigned char value) {
  size_t size;
  size_t i;
  const unsigned char *const data = read_area(CALIBRATION, &size);
  for (i = 0; data != NULL && i < size; i++) {
    if (data[i] != value) return 1;
  }
  return data == NULL;
}

int main(int argc, char **argv) {
  const int number = argc == 3 ? atoi(argv[2]) : -1;
  progress =
      mmap(NULL, sizeof *progress, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (progress != MAP_FAILED && number >= 0) {
    if (strcmp(argv[1], "write") == 0) return write_calibration((unsigned char)number) != 0;
    if (strcmp(argv[1], "check") == 0) return check_calibration((unsigned char)number);
    if (strcmp(argv[1], "kill") == 0) return kill_writers(number);
  }
  fprintf(stderr, "usage: flash_trial write|check VALUE | kill ROUNDS\n");
  return 2;
}
