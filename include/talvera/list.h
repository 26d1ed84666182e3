/** @file
 *  A doubly linked list of opaque data pointers.
 *
 *  @code
 *  list_obj hosts;
 *  list_init(&hosts);
 *  list_attributes_comparator(&hosts, list_comparator_string);
 *  list_append(&hosts, "tv");
 *  list_append(&hosts, "laptop");
 *  list_sort(&hosts, 1);
 *  list_iterator_start(&hosts);
 *  while (list_iterator_hasnext(&hosts)) puts(list_iterator_next(&hosts));  // laptop, tv
 *  list_iterator_stop(&hosts);
 *  list_destroy(&hosts);
 *  @endcode
 *
 *  The caller owns the list object and passes its address to every function; list_init() fills it
 *  and list_destroy() releases what it points to. Positions count from 0. Besides both ends the
 *  list knows its middle element, so reaching a position takes at most about a quarter of the list,
 *  and it keeps a few spare element records, so that cycles of inserting and deleting stay off the
 *  heap.
 *
 *  Conventions, all of them meant and kept by every caller:
 *    - comparators return a positive number when a comes BEFORE b;
 *    - list_insert_at(), list_append() and list_prepend() return 1 for success, -1 for failure; the
 *      other functions with a status return 0 and -1, but list_iterator_start() and
 *      list_iterator_stop() return 1 and 0. A status of -1 comes with errno set: EINVAL for a null
 *      pointer, a position outside of the list and a missing callback, EBUSY while iterating, or
 *      ENOMEM;
 *    - list_empty() returns 1 when the list holds something.
 *
 *  While an iteration is open (list_iterator_start() to list_iterator_stop()), whatever would
 *  change the list's elements or their order is refused.
 *
 *  Only list_init(), the list_attributes_ functions and list_concat() accept a null list pointer.
 *  Nothing is logged. A list is not safe for concurrent use. Memory that runs out is told by the
 *  result of the function that needs it; nothing is lost then, and lists that were there stay as
 *  they were.
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
 *  does not call it. */
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
  list_comparator_fn comparator; /**< of list_attributes_comparator() */
  list_seeker_fn seeker;         /**< of list_attributes_seeker() */
  list_meter_fn meter;           /**< of list_attributes_copy() */
  int32_t copy_data; /**< non-zero: the list stores heap copies of the data, and owns them */
  list_hashcomputer_fn hash_computer; /**< of list_attributes_hash_computer() */
  list_serializer_fn serializer;      /**< of list_attributes_serializer() */
  list_unserializer_fn unserializer;  /**< of list_attributes_unserializer() */
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
  list_attrs attrs;       /**< what it knows of its data */
} list_obj;

/** Most element records that a list keeps for reuse. */
#define LIST_SPARES_MAX 5

/* ---- Life of a list -------------------------------------------------------------------------- */

/** Makes an empty list without attributes.
 *
 *  Every call reseeds the process-wide generator of random() with the current time, for the pivots
 *  of list_sort(); this is meant, and a program with a seed of its own sets it afterwards.
 *
 *  @param[out] list  object to fill; what it held is not released
 *  @return 0; -1 when @p list is null; -1 when memory runs out: the object is then all zeros, good
 *          for another list_init() or for list_destroy() alone
 */
TALVERA_API int list_init(list_obj *list);

/** Releases elements, spare records and sentinels, and the data too when the list copies them. The
 *  object itself stays the caller's and may be initialised again. An open iteration is closed: data
 *  that it handed out go too when the list copies them. What a failed list_init() left is ignored.
 *
 *  @param list  the list
 */
TALVERA_API void list_destroy(list_obj *list) TALVERA_NONNULL(1);

/* ---- Attributes: each returns 0, or -1 when list is null ------------------------------------- */

/** Sets what list_locate(), list_contains(), list_sort(), list_get_min() and list_get_max() compare
 *  with; null for none.
 *
 *  @param list        the list
 *  @param comparator  the comparator, or null
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_comparator(list_obj *list, list_comparator_fn comparator);

/** Sets what list_seek() asks; null for none.
 *
 *  @param list    the list
 *  @param seeker  the seeker, or null
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_seeker(list_obj *list, list_seeker_fn seeker);

/** Says whether the list stores copies of the data that are inserted from now on.
 *
 *  Set it while the list is empty: with @p copy_data on, whatever the list holds is freed when it
 *  is deleted.
 *
 *  @param list       the list
 *  @param meter      tells a datum's size; may be null only when @p copy_data is 0
 *  @param copy_data  non-zero: store heap copies, free them when they are deleted
 *  @return 0; -1 when @p list is null, or @p meter while @p copy_data is set, and then nothing
 *          changes
 */
TALVERA_API int list_attributes_copy(list_obj *list, list_meter_fn meter, int copy_data);

/** Sets what list_hash() hashes a datum with; null for the pointer's own value.
 *
 *  @param list           the list
 *  @param hash_computer  the hash computer, or null
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_hash_computer(list_obj *list, list_hashcomputer_fn hash_computer);

/** Stores a serializer for the caller.
 *
 *  @param list        the list
 *  @param serializer  the serializer, or null
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_serializer(list_obj *list, list_serializer_fn serializer);

/** Stores an unserializer for the caller.
 *
 *  @param list          the list
 *  @param unserializer  the unserializer, or null
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_unserializer(list_obj *list, list_unserializer_fn unserializer);

/* ---- Elements by position -------------------------------------------------------------------- */

/** Inserts a datum so that it ends up at a position.
 *
 *  @param list      the list
 *  @param data      the pointer to store, or, when the list copies its data, the object to copy (a
 *                   null pointer is then stored as it is)
 *  @param position  0 to list_size()
 *  @return 1; -1, with the list unchanged, while iterating, when @p position is too great, and when
 *          there is no memory for an element record or for the copy
 */
TALVERA_API int list_insert_at(list_obj *list, const void *data, uint32_t position)
    TALVERA_NONNULL(1);

/** list_insert_at() behind the last element.
 *
 *  @param list  the list
 *  @param data  as for list_insert_at()
 *  @return as list_insert_at()
 */
TALVERA_API int list_append(list_obj *list, const void *data) TALVERA_NONNULL(1);

/** list_insert_at() before the first element.
 *
 *  @param list  the list
 *  @param data  as for list_insert_at()
 *  @return as list_insert_at()
 */
TALVERA_API int list_prepend(list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Looks at an element.
 *
 *  @param list      the list
 *  @param position  counted from 0
 *  @return its datum, which stays the list's; null for a position outside of the list
 */
TALVERA_API void *list_get_at(const list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Removes an element.
 *
 *  @param list      the list
 *  @param position  counted from 0
 *  @return its datum, now the caller's (to be released with free() when the list copies its data);
 *          null while iterating and for a position outside of the list
 */
TALVERA_API void *list_extract_at(list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** list_extract_at() of the first element.
 *
 *  @param list  the list
 *  @return as list_extract_at(): null also when the list is empty
 */
TALVERA_API void *list_fetch(list_obj *list) TALVERA_NONNULL(1);

/** Deletes an element, and its datum when the list copies its data.
 *
 *  @param list      the list
 *  @param position  counted from 0
 *  @return 0; -1 while iterating and for a position outside of the list
 */
TALVERA_API int list_delete_at(list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Deletes the elements from @p first to @p last inclusive, and their data when the list copies its
 *  data. To empty a list use list_clear().
 *
 *  @param list   the list
 *  @param first  position of the first one
 *  @param last   position of the last one
 *  @return 0; -1 while iterating, when @p last is below @p first, and when @p last is outside of
 *          the list
 */
TALVERA_API int list_delete_range(list_obj *list, uint32_t first, uint32_t last) TALVERA_NONNULL(1);

/** Deletes all elements, and their data when the list copies its data.
 *
 *  @param list  the list
 *  @return 0; -1 while iterating
 */
TALVERA_API int list_clear(list_obj *list) TALVERA_NONNULL(1);

/** Counts the elements.
 *
 *  @param list  the list
 *  @return number of elements
 */
TALVERA_API uint32_t list_size(const list_obj *list) TALVERA_NONNULL(1);

/** Tells whether the list holds something. Mind the sense, which is meant: callers test it this
 *  way.
 *
 *  @param list  the list
 *  @return 1 when the list holds at least one element, 0 when it is empty
 */
TALVERA_API int list_empty(const list_obj *list) TALVERA_NONNULL(1);

/* ---- Searching ------------------------------------------------------------------------------- */

/** Finds a datum: the first element for which the comparator, called as (@p data, element's datum),
 *  returns 0; without a comparator the first one that holds the same pointer.
 *
 *  @param list  the list
 *  @param data  what to look for
 *  @return its position, or -1
 */
TALVERA_API int list_locate(const list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Tells whether list_locate() finds a datum.
 *
 *  @param list  the list
 *  @param data  what to look for
 *  @return 1 if it does, else 0
 */
TALVERA_API int list_contains(const list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Asks the seeker.
 *
 *  @param list       the list
 *  @param indicator  what the seeker is to look for
 *  @return the first datum, from the head, for which the seeker, called as (datum, @p indicator),
 *          returns non-zero; null if there is none, or no seeker
 */
TALVERA_API void *list_seek(const list_obj *list, const void *indicator) TALVERA_NONNULL(1);

/** Finds the greatest datum.
 *
 *  @param list  the list
 *  @return the greatest datum by the comparator, the first one of several; null when the list is
 *          empty or has no comparator
 */
TALVERA_API void *list_get_max(const list_obj *list) TALVERA_NONNULL(1);

/** Finds the smallest datum.
 *
 *  @param list  the list
 *  @return the smallest datum by the comparator, the first one of several; null when the list is
 *          empty or has no comparator
 */
TALVERA_API void *list_get_min(const list_obj *list) TALVERA_NONNULL(1);

/* ---- Whole lists ----------------------------------------------------------------------------- */

/** Makes a new list of the data of two lists. The pointers are shared, not copied: the new list has
 *  no attributes and frees no data.
 *
 *  @param first, second     the sources; they may be one and the same list
 *  @param[out] destination  another object, initialised here; what it held is not released
 *  @return 0; -1 when a pointer is null or @p destination is one of the sources; -1 when memory
 *          runs out: @p destination is then an empty list, or what a failed list_init() leaves
 */
TALVERA_API int list_concat(const list_obj *first, const list_obj *second, list_obj *destination);

/** Sorts by the comparator, by exchanging data between the elements. Not stable.
 *
 *  @param list       the list
 *  @param direction  positive: ascending, smallest first; negative: descending; 0 leaves the order
 *  @return 0; -1 while iterating or without a comparator
 */
TALVERA_API int list_sort(list_obj *list, int direction) TALVERA_NONNULL(1);

/** Hashes count and data in their order: h = 2 * count + 100, then for each datum with its hash x
 *  (without a hash computer the lower 32 bits of the pointer) t = (h ^ x) + h, h = t % count + t,
 *  all in 32 bits.
 *
 *  @param list  the list
 *  @return the hash; 100 for an empty list
 */
TALVERA_API uint32_t list_hash(const list_obj *list) TALVERA_NONNULL(1);

/* ---- Iteration: one at a time, from the first element to the last ---------------------------- */

/** Opens an iteration.
 *
 *  @param list  the list
 *  @return 1; 0 when an iteration is open already, which goes on
 */
TALVERA_API int list_iterator_start(list_obj *list) TALVERA_NONNULL(1);

/** Goes on to the next element. Ask list_iterator_hasnext() first: behind the last element this
 *  returns null.
 *
 *  @param list  the list
 *  @return the next datum; null when no iteration is open
 */
TALVERA_API void *list_iterator_next(list_obj *list) TALVERA_NONNULL(1);

/** Tells whether the iteration goes on.
 *
 *  @param list  the list
 *  @return 1 while list_iterator_next() has a datum to give; 0 at the end and when no iteration is
 *          open
 */
TALVERA_API int list_iterator_hasnext(const list_obj *list) TALVERA_NONNULL(1);

/** Closes the iteration.
 *
 *  @param list  the list
 *  @return 1; 0 when no iteration is open
 */
TALVERA_API int list_iterator_stop(list_obj *list) TALVERA_NONNULL(1);

/** @name Ready-made comparators
 *  @{ */

/** Compares two values of the type in the name. NaN equals everything.
 *
 *  @param a  address of one value
 *  @param b  address of the other
 *  @return positive when @p a comes before @p b (is less), negative when after, 0 when equal
 */
TALVERA_API int list_comparator_int8_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_int16_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_int32_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_int64_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint8_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint16_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint32_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_uint64_t(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_float(const void *a, const void *b) TALVERA_NONNULL(1, 2);
TALVERA_API int list_comparator_double(const void *a, const void *b) TALVERA_NONNULL(1, 2);

/** Compares two strings: strcmp() with its arguments swapped, so that the sign follows the
 *  convention of lists.
 *
 *  @param a  first character of one string
 *  @param b  first character of the other
 *  @return positive when @p a comes before @p b, negative when after, 0 when equal
 */
TALVERA_API int list_comparator_string(const void *a, const void *b) TALVERA_NONNULL(1, 2);

/** @}
 *  @name Ready-made meters
 *  @{ */

/** Meters a value of the type in the name.
 *
 *  @param data  not looked at
 *  @return sizeof the type
 */
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

/** Meters a string.
 *
 *  @param data  its first character
 *  @return the string's length and its terminator
 */
TALVERA_API uint32_t list_meter_string(const void *data) TALVERA_NONNULL(1);

/** @}
 *  @name Ready-made hash computers
 *  @{ */

/** Hashes a value of the type in the name.
 *
 *  @param data  address of the value
 *  @return an integer itself: a signed one sign-extended, one of 64 bits cut to its lower half; a
 *          float or double cut to a signed 32-bit integer: beyond its limits the limit, for NaN 0
 */
TALVERA_API uint32_t list_hashcomputer_int8_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_int16_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_int32_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_int64_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint8_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint16_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint32_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_uint64_t(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_float(const void *data) TALVERA_NONNULL(1);
TALVERA_API uint32_t list_hashcomputer_double(const void *data) TALVERA_NONNULL(1);

/** Hashes a string.
 *
 *  @param data  its first character
 *  @return the hash; 123 for the empty string
 */
TALVERA_API uint32_t list_hashcomputer_string(const void *data) TALVERA_NONNULL(1);

/** @} */

TALVERA_END_DECLS

#endif
