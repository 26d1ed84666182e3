/** @file
 *  Values as text: tables of values and their names, printers for status pages and logs, and heap
 *  strings that replace each other.
 *
 *  @code
 *  const struct ust_entry entries[] = {{0, "down"}, {1, "up"}};
 *  const struct ust_table states = {entries, 2};
 *  char number[11];
 *  const char *name = ust_lookup_name_by_value(&states, 1);
 *  printf("port %s is %s\n", p_int(number, 4), name != NULL ? name : "?");  // port 4 is up
 *  @endcode
 *
 *  Nothing here keeps state or logs. Times are shown in the process's local time zone and locale,
 *  as localtime() and strftime() (POSIX) have it; like localtime() the functions that show them are
 *  not for several threads at once.
 */
#ifndef TALVERA_VALUES_H
#define TALVERA_VALUES_H

#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>
#include <time.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/* ---- Value tables ---------------------------------------------------------------------------- */

/** A value and a name for it. */
struct ust_entry {
  int32_t value;    /**< the value */
  const char *name; /**< its name */
};

/** A table, searched from its first entry on: a value may have several names, of which the first is
 *  the one that is found, and a name several values. */
struct ust_table {
  const struct ust_entry *entries; /**< the entries */
  uint32_t count;                  /**< how many */
};

/** Looks a name up by value.
 *
 *  @param table  the table
 *  @param value  the value
 *  @return the name of the first entry with @p value, or null
 */
TALVERA_API const char *ust_lookup_name_by_value(const struct ust_table *table, int value)
    TALVERA_NONNULL(1);

/** Looks an index up by value.
 *
 *  @param table  the table
 *  @param value  the value
 *  @return the index of the first entry with @p value, or -1
 */
TALVERA_API int ust_lookup_index_by_value(const struct ust_table *table, int value)
    TALVERA_NONNULL(1);

/** Looks a value up by index.
 *
 *  @param table  the table
 *  @param index  counted from 0
 *  @return the value of the entry at @p index, or -1 when there is none (so also for an index that
 *          was -1 before its conversion)
 */
TALVERA_API int ust_lookup_value_by_index(const struct ust_table *table, unsigned int index)
    TALVERA_NONNULL(1);

/** Looks an index up by name.
 *
 *  @param table  the table
 *  @param name   the name
 *  @return the index of the first entry named exactly @p name, or -1
 */
TALVERA_API int ust_lookup_index_by_name(const struct ust_table *table, const char *name)
    TALVERA_NONNULL(1, 2);

/** Looks an index up by name, ignoring case.
 *
 *  @param table  the table
 *  @param name   the name
 *  @return the index of the first entry whose name equals @p name but for the case of letters, or
 *          -1
 */
TALVERA_API int ust_lookup_index_by_name_i(const struct ust_table *table, const char *name)
    TALVERA_NONNULL(1, 2);

/** Measures the names.
 *
 *  @param table  the table
 *  @return the length of the longest name, 0 for an empty table
 */
TALVERA_API unsigned int ust_longest_strlen(const struct ust_table *table) TALVERA_NONNULL(1);

/* ---- Printers: each returns the text, for use as an argument of printf() --------------------- */

/** Prints a switch.
 *
 *  @param value  the switch
 *  @return "on" when @p value is not 0, else "off"
 */
TALVERA_API const char *p_bool(int value);

/** Prints a dotted quad.
 *
 *  @param[out] buffer  room for 20 bytes
 *  @param address      in network byte order
 *  @return @p buffer
 */
TALVERA_API char *p_ipad(char *buffer, in_addr_t address) TALVERA_NONNULL(1);

/** Prints a number in decimal, always as an unsigned one: -1 gives "4294967295", which is meant.
 *
 *  @param[out] buffer  room for 11 bytes
 *  @param value        the number
 *  @return @p buffer
 */
TALVERA_API char *p_int(char *buffer, unsigned int value) TALVERA_NONNULL(1);

/** Prints a time as strftime() does for "%a %b %d %H:%M:%S %Z %Y".
 *
 *  @param[out] buffer  room for 64 bytes; not touched when @p time is 0; an empty string when the
 *                      text does not fit or the time has no calendar date
 *  @param time         seconds since 1970
 *  @return @p buffer; the constant "(never)" when @p time is 0
 */
TALVERA_API const char *p_time(char *buffer, time_t time) TALVERA_NONNULL(1);

/** Prints a duration such as "3.045 seconds".
 *
 *  @param[out] buffer   room for 40 bytes
 *  @param seconds       whole seconds
 *  @param microseconds  shown as milliseconds, cut, with three digits at least; not carried into
 *                       the seconds, and a negative number shows as a huge one
 *  @return @p buffer
 */
TALVERA_API char *p_secs(char *buffer, unsigned long seconds, long microseconds) TALVERA_NONNULL(1);

/** Prints a value by a list of names.
 *
 *  @param value  index of the name
 *  @param names  the names
 *  @return names[value]; nothing tests that there is such an element
 */
TALVERA_API const char *p_enum(int value, const char *const names[]) TALVERA_NONNULL(2);

/** Writes a time as strftime() does for "%x %X %p". Mind the order of the arguments.
 *
 *  @param time         the time
 *  @param[out] buffer  room for 80 bytes; an empty string when the text does not fit or the time
 *                      has no calendar date
 *  @return the length written
 */
TALVERA_API size_t mkstr_date(time_t time, char *buffer) TALVERA_NONNULL(2);

/** @name Heap strings in a slot
 *  Each puts a new heap string into *slot, frees the one that was there (null: none), and returns
 *  the new one. The string is the caller's to free(), or replaced by the next call for the slot.
 *  When memory runs out the old string is gone too and the slot is null.
 *  @{ */

/** Puts "%ld" of a value into a slot.
 *
 *  @param[in,out] slot  address of the pointer to the string
 *  @param value         the value
 *  @return the new string; null when memory runs out
 */
TALVERA_API char *mkstr_long(char **slot, long value) TALVERA_NONNULL(1);

/** Puts "%lu" of a value into a slot.
 *
 *  @param[in,out] slot  address of the pointer to the string
 *  @param value         the value
 *  @return the new string; null when memory runs out
 */
TALVERA_API char *mkstr_ulong(char **slot, unsigned long value) TALVERA_NONNULL(1);

/** Puts a copy of a text into a slot.
 *
 *  @param[in,out] slot  address of the pointer to the string
 *  @param text          the text, which may be, or lie in, the string that is replaced; or null
 *  @return the new string; null when @p text is null or memory runs out
 */
TALVERA_API char *mkstr_string(char **slot, const char *text) TALVERA_NONNULL(1);

/** @} */

/* ---- Names ----------------------------------------------------------------------------------- */

/** Names of the ad-break states 0 to 6, for p_enum(): "Idle", "Wait", "Pre-AdBreak",
 *  "Pre-AdBreak-2", "AdBreak", "Post-AdBreak", "SS_ANY". */
extern TALVERA_API const char *const enum_ad_states[7];

TALVERA_END_DECLS

#endif
