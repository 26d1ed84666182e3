/* The configuration store, in memory of this program: the same bytes everywhere. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "results.h"
#include "talvera/md5.h"
#include "talvera/nvram.h"

static unsigned char *table;

static void print_table(const char *after) {
  unsigned char digest[MD5_DIGEST_SIZE];
  unsigned i;
  unsigned used = 0;
  for (i = 0; i < NVRAM_ENTRIES; i++)
    used += table[i * NVRAM_ENTRY_SIZE + 96] != 0;
  MD5_digest(table, NVRAM_SEGMENT_SIZE, digest);
  printf("store after %s: %u entries, md5 %s\n", after, used, hexed(digest, sizeof digest));
}

/* Whole entries, for those who want to see the bytes. */
static void print_entries(void) {
  unsigned i;
  for (i = 0; i < NVRAM_ENTRIES; i++) {
    const unsigned char *const entry = table + i * NVRAM_ENTRY_SIZE;
    if (entry[96] != 0) printf("entry %u %s\n", i, hexed(entry, NVRAM_ENTRY_SIZE));
  }
}

/* Pairs of all samples, changed and removed again. */
static void print_changes(void) {
  static const char *const values[] = {
      "1",
      "",
      "\xff\x80 value",
      "2147483648",
      "sixty-four characters, which leave no room for any terminator: <>",
      "a value that is longer than the sixty-four characters that an entry has for it"};
  unsigned i;

  for (i = 0; i < sample_count; i++)
    nvram_set(sample_texts[i], values[i % COUNT(values)]);
  nvram_set("a name of thirty-three characters", "long");
  /* Chains: these share a bucket. */
  nvram_set("Aa", "first");
  nvram_set("BB", "second");
  nvram_unset("Aa");
  print_entries();
  nvram_show_all();
  print_table("samples");
  for (i = 0; i < sample_count; i += 2)
    nvram_unset(sample_texts[i]);
  print_table("removals");
}

/* So many pairs that the store is full, and what is left when a third of them is removed. */
static void print_filling(void) {
  char name[64];
  int result = 0;
  unsigned i;

  for (i = 0; i < 1000 && result == 0; i++) {
    sprintf(name, "name.%u", i * 2654435761U);
    result = nvram_set(name, sample_texts[i % sample_count]);
  }
  printf("full at %u: %d\n", i, result);
  print_table("filling");
  printf("get %s %s\n", quoted(nvram_get("name.0")), quoted(nvram_get("absent")));
  for (i = 0; i < 1000; i += 3) {
    sprintf(name, "name.%u", i * 2654435761U);
    nvram_unset(name);
  }
  print_table("more removals");
  print_entries();
}

void print_store(void) {
  int result;

  table = calloc(1, NVRAM_SEGMENT_SIZE);
  if (table == NULL) return;
  nvram_shmid = -1;
  nvram_hash = NULL;
  errno = 0;
  result = nvram_set("name", "value");
  printf("no store: set %d %s get %s\n", result, error_name(errno), quoted(nvram_get("name")));
  nvram_hash = table;
  print_changes();
  print_filling();
  nvram_hash = NULL;
  free(table);
}
