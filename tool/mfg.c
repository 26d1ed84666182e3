/* talvera mfg: the manufacturing data, and the platform driver's copy. */
#include "talvera/mfg.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "talvera/ccert.h"
#include "talvera/encode.h"
#include "talvera/netu.h"
#include "talvera/strutil.h"
#include "talvera/time.h"
#include "talvera/utils.h"
#include "tool.h"

enum { TO_END = 0x4000, SERIAL_SIZE = 16, SERIALS_MAX = SERIAL_SIZE - 1 };
static const uint32_t epoch = 2082844800; /* of 1970, in the record's seconds */
static const char path[] = "/mfg/mfg.dat";

/* ---- The file -------------------------------------------------------------------------------- */

/* The content from the start of a slot; large enough for slot 1 and the rest of the file. */
static unsigned char *area;

static int read_area(unsigned long slot, uint32_t length) {
  struct mfg_ccert_get_info info = {&area, &length, (uint32_t)slot};

  if (area == NULL) area = must(malloc(TO_END));
  return mfg_ccert_get(&info) == 0 ? DONE : failed("%s", path);
}

enum origin { STORED, DERIVED, DEFAULT };

static unsigned int read_16(const unsigned char *data) {
  return data[0] * 256U + data[1];
}

/* Reads the record as the device uses it, and determines its origin from the stored record. Returns
 * DONE, or FAILED with a message if there is no file. */
static int read_record(unsigned char *record, enum origin *origin) {
  const int status = read_area(1, TO_END);
  const unsigned char *stored = area + TO_END - MFG_INFO_SIZE;
  unsigned int sum = 0;
  int i;

  if (status != DONE) return status;
  mfg_info_read(record);
  for (i = 0; i < MFG_INFO_SIZE; i += 2)
    sum += read_16(stored + i);
  /* Only a derived serial number changes a valid record; zeros are not a valid record. */
  if (memcmp(stored, record, MFG_INFO_SIZE) == 0) {
    *origin = STORED;
  } else {
    *origin =
        (sum & 0xFFFF) == 0 && memcmp(stored, record, MFG_INFO_SERIAL) == 0 ? DERIVED : DEFAULT;
  }
  wipe(area, TO_END); /* a slot contains a private key */
  return DONE;
}

static int check_driver(void) {
  if (tvra_open() < 0) return failed("/dev/talvera");
  tvra_close();
  return DONE;
}

/* ---- Info record ----------------------------------------------------------------------------- */

static int run_init(int argc, char **argv) {
  unsigned char record[MFG_INFO_SIZE];
  enum origin origin;
  int status;

  (void)argc, (void)argv;
  mfg_init();
  status = read_record(record, &origin);
  return status == DONE ? check_driver() : status;
}

/* Prints the address plus `places`, added to the lower three bytes. */
static void print_address(const char *name, const unsigned char *mac, int places) {
  const unsigned long low =
      ((unsigned long)mac[3] << 16) + read_16(mac + 4) + (unsigned long)places;
  unsigned char address[6];
  char text[NETU_MAC_TEXT_SIZE];

  memcpy(address, mac, 3);
  address[3] = (unsigned char)(low >> 16);
  address[4] = (unsigned char)(low >> 8);
  address[5] = (unsigned char)low;
  text_field(name, netu_etoa(address, text));
}

static void print_time(uint32_t seconds) {
  struct datetime date;

  if (seconds < epoch || seconds - epoch > INT32_MAX) {
    text_field("written", NULL);
    return;
  }
  stod((int32_t)(seconds - epoch), &date);
  format_field("written", "%04d-%02d-%02d %02d:%02d:%02d", date.year, date.month, date.day,
               date.hour, date.minute, date.second);
}

static int run_show(int argc, char **argv) {
  static const char *const origins[] = {"stored", "derived", "default"};
  unsigned char record[MFG_INFO_SIZE], mac[6];
  const char *serial = (const char *)record + MFG_INFO_SERIAL;
  enum origin origin;
  const int status = read_record(record, &origin);
  const int count = mfg_num_macaddr(record);

  (void)argc, (void)argv;
  if (status != DONE) return status;
  mfg_get_macaddr(record, mac);
  record_begin();
  number_field("type", record[MFG_INFO_DEVICE_TYPE]);
  bytes_field("serial", serial, strnlen(serial, SERIAL_SIZE));
  text_field("origin", origins[origin]);
  number_field("addresses", count);
  print_address("first", mac, 0);
  print_address("last", mac, count > 0 ? count - 1 : 0);
  flag_field("calibration", memcmp(record + MFG_INFO_WLCAL_PRESENT, "\0\0\0", 4) != 0);
  number_field("writes", (long long)read_16(record + MFG_INFO_WRITE_COUNT));
  print_time((uint32_t)read_16(record + MFG_INFO_TIME) << 16 | read_16(record + MFG_INFO_TIME + 2));
  record_end();
  return DONE;
}

static int read_mac(const char *text, unsigned char *mac) {
  int result;

  divert_output();
  result = parse_macaddr(text, 0, 0, mac);
  restore_output();
  if (result == MACADDR_MULTICAST) return misused("--mac: %s is a multicast address", text);
  return result == 0 ? DONE : misused("--mac: %s is not a MAC address", text);
}

static int read_serial(const char *text, unsigned char *serial) {
  if (GN_StrNotInSet(text, "0123456789") != NULL) {
    return misused("--serial: %s is not made of digits", text);
  }
  if (bounded_argument("--serial", text, SERIALS_MAX) != DONE) return MISUSED;
  memset(serial, 0, SERIAL_SIZE);
  memcpy(serial, text, strlen(text));
  return DONE;
}

static int change_record(unsigned char *record) {
  const char *mac = option("--mac"), *serial = option("--serial");
  unsigned long addresses = record[MFG_INFO_MAC_COUNT], type = record[MFG_INFO_DEVICE_TYPE];

  if ((mac != NULL && read_mac(mac, record + MFG_INFO_MAC) != DONE) ||
      (serial != NULL && read_serial(serial, record + MFG_INFO_SERIAL) != DONE) ||
      number_option("--addresses", 0, 255, &addresses) != DONE ||
      number_option("--type", 0, 255, &type) != DONE) {
    return MISUSED;
  }
  record[MFG_INFO_MAC_COUNT] = (unsigned char)addresses;
  record[MFG_INFO_DEVICE_TYPE] = (unsigned char)type;
  return DONE;
}

static int run_set(int argc, char **argv) {
  unsigned char record[MFG_INFO_SIZE];
  enum origin origin;
  int status = read_record(record, &origin);

  (void)argc, (void)argv;
  if (status != DONE) return status;
  if (origin == DERIVED) memset(record + MFG_INFO_SERIAL, 0, SERIAL_SIZE);
  status = change_record(record);
  if (status != DONE) return status;
  return mfg_info_write(record) == 0 ? DONE : failed("%s", path);
}

/* ---- Wireless calibration -------------------------------------------------------------------- */

static int run_calibration_get(int argc, char **argv) {
  unsigned char data[TVRA_WLCAL_SIZE];
  unsigned long offset = 0, length;

  (void)argc, (void)argv;
  if (number_option("--offset", 0, TVRA_WLCAL_SIZE - 1, &offset) != DONE) return MISUSED;
  length = TVRA_WLCAL_SIZE - offset;
  if (number_option("--length", 1, length, &length) != DONE) return MISUSED;
  if (mfg_wlcal_get(data, (unsigned int)offset, (unsigned int)length) != 0) {
    return failed("calibration");
  }
  fwrite(data, 1, length, stdout);
  return DONE;
}

static int run_calibration_set(int argc, char **argv) {
  struct bytes input = {0};
  unsigned long offset = 0;
  int status = number_option("--offset", 0, TVRA_WLCAL_SIZE - 1, &offset);

  (void)argc;
  if (status == DONE) status = read_sized_input(argv[0], 1, TVRA_WLCAL_SIZE - offset, &input);
  if (status == DONE && mfg_wlcal_set((unsigned char *)input.data, (unsigned int)offset,
                                      (unsigned int)input.length) != 0) {
    status = failed("%s", path);
  }
  release(&input);
  return status;
}

static int run_calibration_clear(int argc, char **argv) {
  unsigned char record[MFG_INFO_SIZE];
  enum origin origin;
  int status;

  (void)argc, (void)argv;
  mfg_wlcal_clear();
  status = read_record(record, &origin);
  if (status != DONE) return status;
  if (memcmp(record + MFG_INFO_WLCAL_PRESENT, "\0\0\0", 4) != 0) {
    return refused("%s: the record could not be written", path);
  }
  return check_driver();
}

/* ---- Certificate slots ----------------------------------------------------------------------- */

static int read_slot(const char *text, unsigned long *slot) {
  return number_argument("SLOT", text, 1, 2, slot);
}

static int write_slot(unsigned long slot, const void *data, size_t length) {
  const struct mfg_ccert_set_info info = {data, (uint32_t)length, (uint32_t)slot};

  return mfg_ccert_set(&info) == 0 ? DONE : failed("%s", path);
}

/* Writes a new file that only its owner can read. */
static int save(const char *name, const void *data, uint32_t length) {
  const int fd = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  int status = DONE;

  if (fd < 0) return failed("%s", name);
  if (uf_full_write(fd, data, length) != (int)length) {
    status = failed("%s", name);
    unlink(name);
  }
  close(fd);
  return status;
}

static int run_slot_get(int argc, char **argv) {
  unsigned long slot;
  uint32_t length;
  int status;

  (void)argc;
  if (read_slot(argv[0], &slot) != DONE) return MISUSED;
  status = read_area(slot, MFG_CCERT_MAX_SIZE);
  if (status != DONE) return status;
  length = ccert_extract_certblob_total_length(area);
  status = length >= MFG_CCERT_MIN_SIZE && length <= MFG_CCERT_MAX_SIZE
               ? save(argv[1], area, length)
               : refused("slot %lu holds no blob", slot);
  wipe(area, TO_END);
  return status;
}

static int run_slot_set(int argc, char **argv) {
  struct bytes input = {0};
  unsigned long slot;
  int status = read_slot(argv[0], &slot);

  (void)argc;
  if (status == DONE)
    status = read_sized_input(argv[1], MFG_CCERT_MIN_SIZE, MFG_CCERT_MAX_SIZE, &input);
  if (status == DONE) status = write_slot(slot, input.data, input.length);
  wipe(input.data, input.length);
  release(&input);
  return status;
}

static int run_slot_clear(int argc, char **argv) {
  unsigned long slot;
  void *erased;
  int status;

  (void)argc;
  if (read_slot(argv[0], &slot) != DONE) return MISUSED;
  erased = memset(must(malloc(MFG_CCERT_MAX_SIZE)), 0xFF, MFG_CCERT_MAX_SIZE);
  status = write_slot(slot, erased, MFG_CCERT_MAX_SIZE);
  free(erased);
  return status;
}

static const struct action actions[] = {
    {"init", "", "prepares the file and hands identity and calibration to the driver",
     DETAILS("A missing or empty file becomes an erased one; any other is left alone."), "",
     run_init},
    {"show", "[--json]", "prints the info record",
     DETAILS("The origin is \"stored\", \"derived\" if the serial number is derived from the MAC "
             "address, or \"default\" if a default record replaces an invalid one. Times are UTC."),
     "--json", run_show},
    {"set", "[--mac MAC] [--addresses NUMBER] [--type NUMBER] [--serial DIGITS]",
     "changes values of the info record",
     DETAILS("A derived serial number is not stored, and an empty one is derived. The driver gets "
             "the new values at the next init."),
     "--mac 02:5a:32:00:00:05 --addresses 8", run_set},
    {"calibration-get", "[--offset BYTES] [--length BYTES]",
     "prints bytes of the wireless calibration, from the file or else from the driver", NULL,
     "talvera mfg calibration-get --length 4 | talvera text hex", run_calibration_get},
    {"calibration-set", "[--offset BYTES] [FILE]",
     "writes bytes of the wireless calibration, and sends all of it to the driver", NULL,
     "radio.cal", run_calibration_set},
    {"calibration-clear", "", "marks the wireless calibration absent, for the driver too",
     DETAILS("Its bytes stay in the file."), "", run_calibration_clear},
    {"slot-get", "SLOT FILE", "copies the blob of certificate slot 1 or 2 into a new file",
     DETAILS("Only its owner may read the file: a blob may hold a private key."), "1 backup.blob",
     run_slot_get},
    {"slot-set", "SLOT [FILE]", "writes a file to the start of a slot, without checking it",
     DETAILS("See talvera cert install, which checks it."), "1 backup.blob", run_slot_set},
    {"slot-clear", "SLOT", "erases a slot", NULL, "1", run_slot_clear},
    {0},
};

const struct group group_mfg = {"mfg", "manufacturing data and the platform driver", actions};
