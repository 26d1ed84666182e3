/** @defgroup talvera_values Values
 *  Tables of values and their names, formatters for status pages and logs, and heap strings stored
 *  in a caller's slot.
 *
 *  @include values.c
 *
 *  Nothing here keeps state or logs. Times are shown in the process's time zone and locale, as by
 *  localtime() and strftime() (POSIX); like localtime(), the functions that show them are not
 *  thread-safe.
 *  @{ */
#ifndef TALVERA_VALUES_H
#define TALVERA_VALUES_H

#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>
#include <time.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Value tables
 *  @{ */

/** A value and its name. */
struct ust_entry {
  int32_t value;    /**< the value */
  const char *name; /**< its name */
};

/** A table of values and names. Lookups return the first matching entry; values and names may
 *  repeat. */
struct ust_table {
  const struct ust_entry *entries; /**< the entries */
  uint32_t count;                  /**< number of entries */
};

/** Looks up a name by value.
 *
 *  @param table  the table
 *  @param value  the value
 *  @return the name of the first entry with @p value, or null
 */
TALVERA_API const char *ust_lookup_name_by_value(const struct ust_table *table, int value)
    TALVERA_NONNULL(1);

/** Looks up an index by value.
 *
 *  @param table  the table
 *  @param value  the value
 *  @return the index of the first entry with @p value, or -1
 */
TALVERA_API int ust_lookup_index_by_value(const struct ust_table *table, int value)
    TALVERA_NONNULL(1);

/** Looks up a value by index.
 *
 *  @param table  the table
 *  @param index  index of the entry, from 0
 *  @return its value; -1 when there is no such entry, as when the index is the -1 of a failed
 *          lookup
 */
TALVERA_API int ust_lookup_value_by_index(const struct ust_table *table, unsigned int index)
    TALVERA_NONNULL(1);

/** Looks up an index by name.
 *
 *  @param table  the table
 *  @param name   the name
 *  @return the index of the first entry named exactly @p name, or -1
 */
TALVERA_API int ust_lookup_index_by_name(const struct ust_table *table, const char *name)
    TALVERA_NONNULL(1, 2);

/** Looks up an index by name, ignoring case.
 *
 *  @param table  the table
 *  @param name   the name
 *  @return the index of the first entry named @p name, ignoring case, or -1
 */
TALVERA_API int ust_lookup_index_by_name_i(const struct ust_table *table, const char *name)
    TALVERA_NONNULL(1, 2);

/** Returns the length of the longest name.
 *
 *  @param table  the table
 *  @return the length in characters; 0 for an empty table
 */
TALVERA_API unsigned int ust_longest_strlen(const struct ust_table *table) TALVERA_NONNULL(1);

/** @}
 *  @name Formatters
 *  The p_ functions return the string, for use as a printf() argument.
 *  @{ */

/** Formats a Boolean value.
 *
 *  @param value  the value
 *  @return "on" when @p value is not 0, otherwise "off"
 */
TALVERA_API const char *p_bool(int value);

/** Formats an IPv4 address as a dotted quad.
 *
 *  @param[out] buf  at least 20 bytes
 *  @param address   in network byte order
 *  @return @p buf
 */
TALVERA_API char *p_ipad(char *buf, in_addr_t address) TALVERA_NONNULL(1);

/** Formats a number in decimal, intentionally always as unsigned: -1 gives "4294967295".
 *
 *  @param[out] buf  at least 11 bytes
 *  @param value     the number
 *  @return @p buf
 */
TALVERA_API char *p_int(char *buf, unsigned int value) TALVERA_NONNULL(1);

/** Formats a time as strftime() does for "%a %b %d %H:%M:%S %Z %Y".
 *
 *  @param[out] buf  at least 64 bytes; unchanged when @p time is 0; an empty string when the result
 *                   does not fit or localtime() fails
 *  @param time      seconds since 1970
 *  @return @p buf; the constant "(never)" when @p time is 0
 */
TALVERA_API const char *p_time(char *buf, time_t time) TALVERA_NONNULL(1);

/** Formats a duration, such as "3.045 seconds".
 *
 *  @param[out] buf      at least 40 bytes
 *  @param seconds       whole seconds
 *  @param microseconds  shown as milliseconds, truncated, with at least three digits; not carried
 *                       into the seconds; -1000 and below show as a huge number
 *  @return @p buf
 */
TALVERA_API char *p_secs(char *buf, unsigned long seconds, long microseconds) TALVERA_NONNULL(1);

/** Returns the name of a value from an array.
 *
 *  @param value  index of the name; not checked
 *  @param names  the names
 *  @return names[value]
 */
TALVERA_API const char *p_enum(int value, const char *const names[]) TALVERA_NONNULL(2);

/** Names of the ad-break states 0 to 6, for p_enum(): "Idle", "Wait", "Pre-AdBreak",
 *  "Pre-AdBreak-2", "AdBreak", "Post-AdBreak", "SS_ANY". */
TALVERA_API extern const char *const enum_ad_states[7];

/** Formats a time as strftime() does for "%x %X %p". Note the argument order.
 *
 *  @param time      the time
 *  @param[out] buf  at least 80 bytes; an empty string when the result does not fit or localtime()
 *                   fails
 *  @return length of the string
 */
TALVERA_API size_t mkstr_date(time_t time, char *buf) TALVERA_NONNULL(2);

/** @}
 *  @name Heap strings in a slot
 *  Each function stores a new heap string in *slot, frees the previous one unless it is null, and
 *  returns the new one. The caller frees the last string with free(). When memory runs out, or
 *  mkstr_string() is given null, the previous string is freed too and the slot is null.
 *  @{ */

/** Stores a signed number in decimal.
 *
 *  @param[in,out] slot  address of the pointer to the string
 *  @param value         the number
 *  @return the new string; null when memory runs out
 */
TALVERA_API char *mkstr_long(char **slot, long value) TALVERA_NONNULL(1);

/** Stores an unsigned number in decimal.
 *
 *  @param[in,out] slot  address of the pointer to the string
 *  @param value         the number
 *  @return the new string; null when memory runs out
 */
TALVERA_API char *mkstr_ulong(char **slot, unsigned long value) TALVERA_NONNULL(1);

/** Stores a copy of a string.
 *
 *  @param[in,out] slot  address of the pointer to the string
 *  @param text          the string, which may be, or point into, the previous string; or null
 *  @return the new string; null when @p text is null or memory runs out
 */
TALVERA_API char *mkstr_string(char **slot, const char *text) TALVERA_NONNULL(1);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
