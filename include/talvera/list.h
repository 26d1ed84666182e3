/** @file
 *  A doubly linked list of opaque data pointers.
 *
 *  The caller owns the list object and passes its address to every function; list_init() fills it
 *  and list_destroy() releases what it points to. Positions count from 0. Besides both ends the
 * list knows its middle element, so reaching a position takes at most about a quarter of the list,
 * and it keeps a few spare element records, so that cycles of inserting and deleting stay off the
 * heap.
 *
 *  Conventions, all of them meant and kept by every caller:
 *    - comparators return a positive number when a comes BEFORE b;
 *    - list_insert_at(), list_append() and list_prepend() return 1 for success, -1 for failure; the
 *      other functions with a status return 0 and -1, but list_iterator_start() and
 *      list_iterator_stop() return 1 and 0;
 *    - list_empty() returns 1 when the list holds something.
 *
 *  While an iteration is open (list_iterator_start() to list_iterator_stop()), whatever would
 * change the list's elements or their order is refused.
 *
 *  Only list_init(), the list_attributes_ functions and list_concat() accept a null list pointer.
 *  Nothing is logged. A list is not safe for concurrent use. Memory that runs out is told by
 *  list_insert_at() when it needs an element record; list_init(), list_concat() and the copy of a
 *  datum use what malloc() gives without a test, so there a process without memory ends.
 */
#ifndef TALVERA_LIST_H
#define TALVERA_LIST_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Compares two data: 0 when equal, positive when @p a comes before @p b (a is the smaller one),
 *  negative when @p a comes after @p b. */
typedef int (*list_comparator_fn)(const void *a, const void *b);

/** @return non-zero when the datum is the one that the caller's @p indicator asks for */
typedef int (*list_seeker_fn)(const void *data, const void *indicator);

/** @return the size in bytes of the object that @p data points to */
typedef uint32_t (*list_meter_fn)(const void *data);

/** @return a hash of one datum */
typedef uint32_t (*list_hashcomputer_fn)(const void *data);

/** Turns a datum into a heap block and sets its size in bytes. Kept for the caller; the library
 * does not call it. */
typedef void *(*list_serializer_fn)(const void *data, uint32_t *size);

/** Makes a datum from a serialized one and sets the number of bytes used. Kept for the caller; the
 *  library does not call it. */
typedef void *(*list_unserializer_fn)(const void *serialized, uint32_t *size);

/** One element, a heap block of its own. */
typedef struct list_elem {
  void *data;             /**< null in both sentinels */
  struct list_elem *next; /**< null in the tail sentinel */
  struct list_elem *prev; /**< null in the head sentinel */
} list_elem;

/** What a list knows of its data; all null and 0 after list_init(). */
typedef struct list_attrs {
  list_comparator_fn comparator;
  list_seeker_fn seeker;
  list_meter_fn meter;
  int32_t copy_data; /**< non-zero: the list stores heap copies of the data, and owns them */
  list_hashcomputer_fn hash_computer;
  list_serializer_fn serializer;
  list_unserializer_fn unserializer;
} list_attrs;

/** A list. The fields are for reading; change them through the functions. */
typedef struct list_obj {
  list_elem *head;        /**< sentinel before the first element */
  list_elem *tail;        /**< sentinel behind the last element */
  list_elem *mid;         /**< element at position (count - 1) / 2; meaningless in an empty list */
  uint32_t count;         /**< number of elements */
  list_elem **spares;     /**< array of LIST_SPARES_MAX spare element records, used as a stack */
  uint32_t spare_count;   /**< how many of them there are */
  int32_t iterating;      /**< non-zero while an iteration is open */
  uint32_t iter_position; /**< number of data that the open iteration has handed out */
  list_elem *iter_cursor; /**< element whose datum list_iterator_next() returns next */
  list_attrs attrs;
} list_obj;

/** Most element records that a list keeps for reuse. */
#define LIST_SPARES_MAX 5

/* ---- Life of a list ---- */

/** Makes an empty list without attributes.
 *
 *  Every call reseeds the process-wide generator of random() with the current time, for the pivots
 *  of list_sort(); this is meant, and a program with a seed of its own sets it afterwards.
 *
 *  @param[out] list  object to fill; what it held is not released
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_init(list_obj *list);

/** Releases elements, spare records and sentinels, and the data too when the list copies them. The
 *  object itself stays the caller's and may be initialised again. An open iteration is closed: data
 *  that it handed out go too when the list copies them. */
TALVERA_API void list_destroy(list_obj *list) TALVERA_NONNULL(1);

/* ---- Attributes: each returns 0, or -1 when list is null ---- */

/** Sets what list_locate(), list_contains(), list_sort(), list_get_min() and list_get_max() compare
 *  with; null for none. */
TALVERA_API int list_attributes_comparator(list_obj *list, list_comparator_fn comparator);

/** Sets what list_seek() asks; null for none. */
TALVERA_API int list_attributes_seeker(list_obj *list, list_seeker_fn seeker);

/** Says whether the list stores copies of the data that are inserted from now on.
 *
 *  Set it while the list is empty: with @p copy_data on, whatever the list holds is freed when it
 * is deleted.
 *
 *  @param meter      tells a datum's size; may be null only when @p copy_data is 0
 *  @param copy_data  non-zero: store heap copies, free them when they are deleted
 *  @return 0; -1 when @p list is null, or @p meter while @p copy_data is set, and then nothing
 * changes
 */
TALVERA_API int list_attributes_copy(list_obj *list, list_meter_fn meter, int copy_data);

/** Sets what list_hash() hashes a datum with; null for the pointer's own value. */
TALVERA_API int list_attributes_hash_computer(list_obj *list, list_hashcomputer_fn hash_computer);

/** Stores a serializer for the caller. */
TALVERA_API int list_attributes_serializer(list_obj *list, list_serializer_fn serializer);

/** Stores an unserializer for the caller. */
TALVERA_API int list_attributes_unserializer(list_obj *list, list_unserializer_fn unserializer);

/* ---- Elements by position ---- */

/** Inserts a datum so that it ends up at a position.
 *
 *  @param data      the pointer to store, or, when the list copies its data, the object to copy (a
 *                   null pointer is then stored as it is)
 *  @param position  0 to list_size()
 *  @return 1; -1, with the list unchanged, while iterating, when @p position is too great, and when
 *          there is no memory for an element record
 */
TALVERA_API int list_insert_at(list_obj *list, const void *data, uint32_t position)
    TALVERA_NONNULL(1);

/** list_insert_at() behind the last element. */
TALVERA_API int list_append(list_obj *list, const void *data) TALVERA_NONNULL(1);

/** list_insert_at() before the first element. */
TALVERA_API int list_prepend(list_obj *list, const void *data) TALVERA_NONNULL(1);

/** @return the datum at a position, which stays the list's; null for a position outside of it */
TALVERA_API void *list_get_at(const list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Removes an element.
 *
 *  @return its datum, now the caller's (to be released with free() when the list copies its data);
 * null while iterating and for a position outside of the list
 */
TALVERA_API void *list_extract_at(list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** list_extract_at() of the first element. */
TALVERA_API void *list_fetch(list_obj *list) TALVERA_NONNULL(1);

/** Deletes an element, and its datum when the list copies its data.
 *
 *  @return 0; -1 while iterating and for a position outside of the list
 */
TALVERA_API int list_delete_at(list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Deletes the elements from @p first to @p last inclusive, and their data when the list copies its
 *  data. To empty a list use list_clear().
 *
 *  @return 0; -1 while iterating, when @p last is below @p first, and when @p last is outside of
 * the list
 */
TALVERA_API int list_delete_range(list_obj *list, uint32_t first, uint32_t last) TALVERA_NONNULL(1);

/** Deletes all elements, and their data when the list copies its data.
 *
 *  @return 0; -1 while iterating
 */
TALVERA_API int list_clear(list_obj *list) TALVERA_NONNULL(1);

/** @return number of elements */
TALVERA_API uint32_t list_size(const list_obj *list) TALVERA_NONNULL(1);

/** Mind the sense, which is meant: callers test it this way.
 *
 *  @return 1 when the list holds at least one element, 0 when it is empty
 */
TALVERA_API int list_empty(const list_obj *list) TALVERA_NONNULL(1);

/* ---- Searching ---- */

/** Finds a datum: the first element for which the comparator, called as (@p data, element's datum),
 *  returns 0; without a comparator the first one that holds the same pointer.
 *
 *  @return its position, or -1
 */
TALVERA_API int list_locate(const list_obj *list, const void *data) TALVERA_NONNULL(1);

/** @return 1 if list_locate() finds the datum, else 0 */
TALVERA_API int list_contains(const list_obj *list, const void *data) TALVERA_NONNULL(1);

/** @return the first datum, from the head, for which the seeker, called as (datum, @p indicator),
 *          returns non-zero; null if there is none, or no seeker */
TALVERA_API void *list_seek(const list_obj *list, const void *indicator) TALVERA_NONNULL(1);

/** @return the greatest datum by the comparator, the first one of several; null when the list is
 *          empty or has no comparator */
TALVERA_API void *list_get_max(const list_obj *list) TALVERA_NONNULL(1);

/** @return the smallest datum, like list_get_max() */
TALVERA_API void *list_get_min(const list_obj *list) TALVERA_NONNULL(1);

/* ---- Whole lists ---- */

/** Makes a new list of the data of two lists. The pointers are shared, not copied: the new list has
 *  no attributes and frees no data.
 *
 *  @param first, second     the sources; they may be one and the same list
 *  @param[out] destination  another object, initialised here; what it held is not released
 *  @return 0; -1 when a pointer is null or @p destination is one of the sources
 */
TALVERA_API int list_concat(const list_obj *first, const list_obj *second, list_obj *destination);

/** Sorts by the comparator, by exchanging data between the elements. Not stable.
 *
 *  @param direction  positive: ascending, smallest first; negative: descending; 0 leaves the order
 *  @return 0; -1 while iterating or without a comparator
 */
TALVERA_API int list_sort(list_obj *list, int direction) TALVERA_NONNULL(1);

/** Hashes count and data in their order: h = 2 * count + 100, then for each datum with its hash x
 *  (without a hash computer the lower 32 bits of the pointer) t = (h ^ x) + h, h = t % count + t,
 *  all in 32 bits.
 *
 *  @return the hash; 100 for an empty list
 */
TALVERA_API uint32_t list_hash(const list_obj *list) TALVERA_NONNULL(1);

/* ---- Iteration: one at a time, from the first element to the last ---- */

/** @return 1; 0 when an iteration is open already, which goes on */
TALVERA_API int list_iterator_start(list_obj *list) TALVERA_NONNULL(1);

/** Ask list_iterator_hasnext() first: behind the last element this returns null.
 *
 *  @return the next datum; null when no iteration is open
 */
TALVERA_API void *list_iterator_next(list_obj *list) TALVERA_NONNULL(1);

/** @return 1 while list_iterator_next() has a datum to give; 0 at the end and when no iteration is
 *          open */
TALVERA_API int list_iterator_hasnext(const list_obj *list) TALVERA_NONNULL(1);

/** @return 1; 0 when no iteration is open */
TALVERA_API int list_iterator_stop(list_obj *list) TALVERA_NONNULL(1);

/* ---- Ready-made comparators, for pointers to values of the type ---- */

TALVERA_API int list_comparator_int8_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_int16_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_int32_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_int64_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint8_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint16_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint32_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint64_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
/** NaN equals everything. */
TALVERA_API int list_comparator_float(const void *a, const void *b) TALVERA_NONNULL(1, 2);
/** NaN equals everything. */
TALVERA_API int list_comparator_double(const void *a, const void *b) TALVERA_NONNULL(1, 2);
/** For pointers to the first characters of strings: strcmp() with its arguments swapped, so that
 * the sign follows the convention of lists. */
TALVERA_API int list_comparator_string(const void *a, const void *b) TALVERA_NONNULL(1, 2);

/* ---- Ready-made meters: sizeof the type, whatever the argument ---- */

TALVERA_API uint32_t list_meter_int8_t(const void *data);
TALVERA_API uint32_t list_meter_int16_t(const void *data);
TALVERA_API uint32_t list_meter_int32_t(const void *data);
TALVERA_API uint32_t list_meter_int64_t(const void *data);
TALVERA_API uint32_t list_meter_uint8_t(const void *data);
TALVERA_API uint32_t list_meter_uint16_t(const void *data);
TALVERA_API uint32_t list_meter_uint32_t(const void *data);
TALVERA_API uint32_t list_meter_uint64_t(const void *data);
TALVERA_API uint32_t list_meter_float(const void *data);
TALVERA_API uint32_t list_meter_double(const void *data);
/** The string's length and its terminator. */
TALVERA_API uint32_t list_meter_string(const void *data) TALVERA_NONNULL(1);

/* ---- Ready-made hash computers, for pointers to values of the type ----
 * Integers hash to themselves: signed ones sign-extended, 64-bit ones cut to their lower half. */

TALVERA_API uint32_t list_hashcomputer_int8_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_int16_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_int32_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_int64_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint8_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint16_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint32_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint64_t(const void *data) TALVERA_NONNULL(1);
/** The value cut to a signed 32-bit integer; beyond its limits the limit, for NaN 0. */
TALVERA_API uint32_t list_hashcomputer_float(const void *data) TALVERA_NONNULL(1);
/** As list_hashcomputer_float(). */
TALVERA_API uint32_t list_hashcomputer_double(const void *data) TALVERA_NONNULL(1);
/** 123 for the empty string. */
TALVERA_API uint32_t list_hashcomputer_string(const void *data) TALVERA_NONNULL(1);

TALVERA_END_DECLS

#endif
