/* Lists: comparators, hashes and meters of each type at its limits, and lists of them. */
#include <stdio.h>
#include <string.h>

#include "results.h"
#include "talvera/list.h"

static int sign(int value) {
  return (value > 0) - (value < 0);
}

/* What a type's functions make of an array of its values, and what a list of them gives. */
static void print_type(const char *name, const void *values, size_t count, size_t size,
                       list_comparator_fn comparator, list_hashcomputer_fn hash,
                       list_meter_fn meter) {
  const char *const bytes = values;
  list_obj list;
  size_t i;
  size_t k;

  list_init(&list);
  list_attributes_comparator(&list, comparator);
  list_attributes_hash_computer(&list, hash);
  list_attributes_copy(&list, meter, 1);
  for (i = 0; i < count; i++) {
    printf("%s %d: hash %u size %u order", name, (int)i, hash(bytes + i * size),
           meter(bytes + i * size));
    for (k = 0; k < count; k++) {
      printf(" %d", sign(comparator(bytes + i * size, bytes + k * size)));
    }
    list_insert_at(&list, bytes + i * size, (uint32_t)(i / 2));
    printf(" list %u least", list_hash(&list));
    /* The bytes of a value depend on the machine: tell it by its place. */
    for (k = 0; k < count; k++) {
      if (memcmp(list_get_min(&list), bytes + k * size, size) == 0) printf(" %d", (int)k);
    }
    printf("\n");
  }
  list_sort(&list, -1);
  printf("%s descending %u", name, list_hash(&list));
  list_sort(&list, 1);
  printf(" ascending %u at", list_hash(&list));
  for (i = 0; i < count; i++)
    printf(" %d", list_locate(&list, bytes + i * size));
  list_delete_range(&list, 1, 2);
  printf(" cut %u %u\n", list_size(&list), list_hash(&list));
  list_destroy(&list);
}

#define PRINT_TYPE(type, ...)                                                      \
  do {                                                                             \
    static const type values[] = {__VA_ARGS__};                                    \
    print_type(#type, values, COUNT(values), sizeof(type), list_comparator_##type, \
               list_hashcomputer_##type, list_meter_##type);                       \
  } while (0)

static void print_strings_list(void) {
  list_obj list;
  size_t i;
  list_init(&list);
  list_attributes_comparator(&list, list_comparator_string);
  list_attributes_hash_computer(&list, list_hashcomputer_string);
  for (i = 0; i < sample_count; i++) {
    list_append(&list, sample_texts[i]);
    printf("string hash %u size %u order %d list %u\n", list_hashcomputer_string(sample_texts[i]),
           list_meter_string(sample_texts[i]),
           sign(list_comparator_string(sample_texts[i], "0x\x80")), list_hash(&list));
  }
  list_sort(&list, 1);
  printf("sorted %u: first %s last %s\n", list_hash(&list), quoted(list_get_at(&list, 0)),
         quoted(list_get_at(&list, list_size(&list) - 1)));
  list_destroy(&list);
}

void print_lists(void) {
  PRINT_TYPE(int8_t, 0, -1, 1, -128, 127);
  PRINT_TYPE(int16_t, 0, -1, 1, -32768, 32767);
  PRINT_TYPE(int32_t, 0, -1, 1, -2147483647 - 1, 2147483647);
  PRINT_TYPE(int64_t, 0, -1, 1, -9223372036854775807LL - 1, 9223372036854775807LL, 4294967296LL,
             -4294967297LL);
  PRINT_TYPE(uint8_t, 0, 1, 127, 128, 255);
  PRINT_TYPE(uint16_t, 0, 1, 32767, 32768, 65535);
  PRINT_TYPE(uint32_t, 0, 1, 2147483647U, 2147483648U, 4294967295U);
  PRINT_TYPE(uint64_t, 0, 1, 4294967295ULL, 4294967296ULL, 18446744073709551615ULL);
  PRINT_TYPE(float, 0.0F, -0.5F, 1.99F, -1.99F, 3e9F, -3e9F, 1e30F, 2147483520.0F);
  PRINT_TYPE(double, 0.0, -0.5, 1.99, -1.99, 2147483647.5, -2147483648.5, 1e300, -1e300);
  print_strings_list();
}
