/* One line of output a call: what the parts of the program share to print it. */
#ifndef RESULTS_H
#define RESULTS_H

#include <stddef.h>

#define COUNT(array) (sizeof(array) / sizeof(array)[0])

/* Each of these returns a static text, good for the next 15 calls. */

/** The bytes of a string in quotes, those that are not plain as "\xx"; "null" for null. */
const char *quoted(const char *s);

/** Bytes as hexadecimal digits. */
const char *hexed(const void *data, size_t size);

/** Where a pointer stands in a text: "@3", "null", or "elsewhere". */
const char *at(const char *base, const char *p);

/** errno by name: the numbers differ between machines. */
const char *error_name(int error);

/** Texts that scanners are tried on: numbers at the limits, signed bytes, quotes, addresses. */
extern const char *const sample_texts[];
extern const size_t sample_count;

/* The parts. */
void print_values(void);
void print_checks(void);
void print_lists(void);
void print_rules(void);
void print_network(void);
void print_store(void);
void print_identity(void);

#endif
