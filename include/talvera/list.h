/** @defgroup talvera_list Lists
 *  A doubly linked list of opaque pointers, with optional copying, sorting, searching and hashing.
 *
 *  @include list.c
 *
 *  The caller owns the list object and passes its address to every function; list_init() fills it
 *  and list_destroy() releases what it holds. Positions count from 0. The list knows its middle
 *  element as well as both ends, so a position is at most about a quarter of the list away. It also
 *  keeps a few spare elements, so that alternating insertions and deletions allocate none.
 *
 *  Conventions, all intentional; callers rely on them:
 *    - A comparator returns a positive number when a comes BEFORE b.
 *    - The statuses for success and failure are 1 and -1 for list_insert_at(), list_append() and
 *      list_prepend(), 1 and 0 for list_iterator_start() and list_iterator_stop(), and 0 and -1 for
 *      the other functions.
 *    - A status of -1 comes with errno: EINVAL for an invalid argument or a missing callback; EBUSY
 *      while an iteration is open; ENOMEM when memory runs out.
 *    - list_empty() returns 1 when the list is NOT empty.
 *
 *  While an iteration is open (from list_iterator_start() to list_iterator_stop()), functions that
 *  would change the elements or their order fail.
 *
 *  list_init(), the list_attributes_ functions and list_concat() fail when a list pointer is null;
 *  every other function requires a valid one. Nothing is logged. A list is not thread-safe. When
 *  memory runs out, the function that needs it fails, and existing lists are unchanged.
 *  @{ */
#ifndef TALVERA_LIST_H
#define TALVERA_LIST_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Compares two data items.
 *
 *  @param a  one datum
 *  @param b  the other
 *  @return positive when @p a comes before @p b (is smaller), negative when after, 0 when equal
 */
typedef int (*list_comparator_fn)(const void *a, const void *b);

/** Decides whether a datum is the one sought.
 *
 *  @param data       the datum
 *  @param indicator  what the caller of list_seek() passed
 *  @return non-zero when it is
 */
typedef int (*list_seeker_fn)(const void *data, const void *indicator);

/** Returns the size in bytes of the object that a datum points to.
 *
 *  @param data  the datum
 *  @return the size
 */
typedef uint32_t (*list_meter_fn)(const void *data);

/** Hashes a datum.
 *
 *  @param data  the datum
 *  @return the hash
 */
typedef uint32_t (*list_hashcomputer_fn)(const void *data);

/** Turns a datum into a heap block. Stored for the caller; the library does not call it.
 *
 *  @param data       the datum
 *  @param[out] size  size of the block in bytes
 *  @return the block
 */
typedef void *(*list_serializer_fn)(const void *data, uint32_t *size);

/** Makes a datum from a serialised one. Stored for the caller; the library does not call it.
 *
 *  @param serialized  the serialised datum
 *  @param[out] size   number of bytes used
 *  @return the datum
 */
typedef void *(*list_unserializer_fn)(const void *serialized, uint32_t *size);

/** An element: a heap block of its own. */
typedef struct list_elem {
  void *data;             /**< null in both sentinels */
  struct list_elem *next; /**< null in the tail sentinel */
  struct list_elem *prev; /**< null in the head sentinel */
} list_elem;

/** Attributes of a list; all null and 0 after list_init(). */
typedef struct list_attrs {
  list_comparator_fn comparator;      /**< set by list_attributes_comparator() */
  list_seeker_fn seeker;              /**< set by list_attributes_seeker() */
  list_meter_fn meter;                /**< set by list_attributes_copy() */
  int32_t copy_data;                  /**< non-zero: the list stores, and owns, heap copies */
  list_hashcomputer_fn hash_computer; /**< set by list_attributes_hash_computer() */
  list_serializer_fn serializer;      /**< set by list_attributes_serializer() */
  list_unserializer_fn unserializer;  /**< set by list_attributes_unserializer() */
} list_attrs;

/** A list. Read the fields; change them only through the functions. */
typedef struct list_obj {
  list_elem *head;        /**< sentinel before the first element */
  list_elem *tail;        /**< sentinel after the last element */
  list_elem *mid;         /**< element at position (count - 1) / 2; meaningless in an empty list */
  uint32_t count;         /**< number of elements */
  list_elem **spares;     /**< array of LIST_SPARES_MAX slots for spare elements, used as a stack */
  uint32_t spare_count;   /**< number of spare elements */
  int32_t iterating;      /**< non-zero while an iteration is open */
  uint32_t iter_position; /**< number of elements passed by the iteration, tail sentinel included */
  list_elem *iter_cursor; /**< element whose datum list_iterator_next() returns next */
  list_attrs attrs;       /**< attributes */
} list_obj;

/** Maximum number of spare elements of a list. */
#define LIST_SPARES_MAX 5

/** @name Initialising and releasing
 *  @{ */

/** Initialises an empty list without attributes.
 *
 *  Intentionally, every call reseeds the process-wide generator of random() with the current time,
 *  for the pivots of list_sort(); a program that needs its own seed sets it afterwards.
 *
 *  @param[out] list  object to fill; its previous content is not released
 *  @return 0; -1 when @p list is null or memory runs out: the object is then all zeros, fit only
 *          for list_init() or list_destroy()
 */
TALVERA_API int list_init(list_obj *list);

/** Releases the elements, spare elements and sentinels, and, when the list stores copies, the data.
 *
 *  The caller keeps ownership of the object, which may be initialised again. An open iteration is
 *  closed; data it returned are released too when the list stores copies. An object left by a
 *  failed list_init() is ignored.
 *
 *  @param list  the list
 */
TALVERA_API void list_destroy(list_obj *list) TALVERA_NONNULL(1);

/** @}
 *  @name Attributes
 *  @{ */

/** Sets the comparator of list_locate(), list_contains(), list_sort(), list_get_min() and
 *  list_get_max().
 *
 *  @param list        the list
 *  @param comparator  the comparator, or null for none
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_comparator(list_obj *list, list_comparator_fn comparator);

/** Sets the seeker of list_seek().
 *
 *  @param list    the list
 *  @param seeker  the seeker, or null for none
 *  @return 0; -1 when @p list is null
 */
TALVERA_API int list_attributes_seeker(list_obj *list, list_seeker_fn seeker);

/** Sets whether the list stores copies of the data inserted from now on.
 *
 *  Call it while the list is empty: with @p copy_data set, every datum is freed with its element.
 *
 *  @param list       the list
 *  @param meter      gives the size of a datum; may be null only when @p copy_data is 0
 *  @param copy_data  non-zero: store heap copies and free them with their elements
 *  @return 0; -1, with nothing changed, when @p list is null, or @p meter is null and @p copy_data
 *          is set
 */
TALVERA_API int list_attributes_copy(list_obj *list, list_meter_fn meter, int copy_data);

/** Sets the hash computer of list_hash().
 *
 *  @param list           the list
 *  @param hash_computer  the hash computer, or null to hash the pointers themselves
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

/** @}
 *  @name Elements by position
 *  @{ */

/** Inserts a datum at a position.
 *
 *  @param list      the list
 *  @param data      pointer to store, or, when the list stores copies, object to copy (a null
 *                   pointer is then stored unchanged)
 *  @param position  0 to list_size()
 *  @return 1; -1, with the list unchanged, while iterating, when @p position is out of range, and
 *          when memory runs out
 */
TALVERA_API int list_insert_at(list_obj *list, const void *data, uint32_t position)
    TALVERA_NONNULL(1);

/** Inserts a datum after the last element.
 *
 *  @param list  the list
 *  @param data  as for list_insert_at()
 *  @return 1; -1, with the list unchanged, while iterating and when memory runs out
 */
TALVERA_API int list_append(list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Inserts a datum before the first element.
 *
 *  @param list  the list
 *  @param data  as for list_insert_at()
 *  @return 1; -1, with the list unchanged, while iterating and when memory runs out
 */
TALVERA_API int list_prepend(list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Returns the datum of an element.
 *
 *  @param list      the list
 *  @param position  counted from 0
 *  @return the datum, which stays in the list; null when @p position is out of range
 */
TALVERA_API void *list_get_at(const list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Removes an element and returns its datum.
 *
 *  @param list      the list
 *  @param position  counted from 0
 *  @return the datum, now the caller's (to be freed with free() when the list stores copies); null
 *          while iterating and when @p position is out of range
 */
TALVERA_API void *list_extract_at(list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Removes the first element and returns its datum.
 *
 *  @param list  the list
 *  @return the datum, as from list_extract_at(); null while iterating and when the list is empty
 */
TALVERA_API void *list_fetch(list_obj *list) TALVERA_NONNULL(1);

/** Deletes an element and, when the list stores copies, its datum.
 *
 *  @param list      the list
 *  @param position  counted from 0
 *  @return 0; -1 while iterating and when @p position is out of range
 */
TALVERA_API int list_delete_at(list_obj *list, uint32_t position) TALVERA_NONNULL(1);

/** Deletes the elements from @p first to @p last inclusive and, when the list stores copies, their
 *  data. To empty a list, use list_clear().
 *
 *  @param list   the list
 *  @param first  position of the first one
 *  @param last   position of the last one
 *  @return 0; -1 while iterating, when @p last is below @p first, and when @p last is out of range
 */
TALVERA_API int list_delete_range(list_obj *list, uint32_t first, uint32_t last) TALVERA_NONNULL(1);

/** Deletes all elements and, when the list stores copies, their data.
 *
 *  @param list  the list
 *  @return 0; -1 while iterating
 */
TALVERA_API int list_clear(list_obj *list) TALVERA_NONNULL(1);

/** Returns the number of elements.
 *
 *  @param list  the list
 *  @return number of elements
 */
TALVERA_API uint32_t list_size(const list_obj *list) TALVERA_NONNULL(1);

/** Checks whether the list holds anything. Note the inverted sense, which is intentional: callers
 *  rely on it.
 *
 *  @param list  the list
 *  @return 1 when the list has at least one element, 0 when it is empty
 */
TALVERA_API int list_empty(const list_obj *list) TALVERA_NONNULL(1);

/** @}
 *  @name Searching
 *  @{ */

/** Finds a datum: the first element for which the comparator, called with (@p data, element's
 *  datum), returns 0; without a comparator, the first that holds the same pointer.
 *
 *  @param list  the list
 *  @param data  datum to find
 *  @return its position, or -1
 */
TALVERA_API int list_locate(const list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Checks whether list_locate() finds a datum.
 *
 *  @param list  the list
 *  @param data  datum to find
 *  @return 1 if it does, otherwise 0
 */
TALVERA_API int list_contains(const list_obj *list, const void *data) TALVERA_NONNULL(1);

/** Finds a datum with the seeker.
 *
 *  @param list       the list
 *  @param indicator  passed to the seeker
 *  @return the first datum, from the head, for which the seeker, called with (datum, @p indicator),
 *          returns non-zero; null when there is none, or no seeker
 */
TALVERA_API void *list_seek(const list_obj *list, const void *indicator) TALVERA_NONNULL(1);

/** Finds the greatest datum.
 *
 *  @param list  the list
 *  @return the greatest datum by the comparator, the first of equal ones; null when the list is
 *          empty or has no comparator
 */
TALVERA_API void *list_get_max(const list_obj *list) TALVERA_NONNULL(1);

/** Finds the smallest datum.
 *
 *  @param list  the list
 *  @return the smallest datum by the comparator, the first of equal ones; null when the list is
 *          empty or has no comparator
 */
TALVERA_API void *list_get_min(const list_obj *list) TALVERA_NONNULL(1);

/** @}
 *  @name Whole lists
 *  @{ */

/** Concatenates two lists into a new one. The data are shared, not copied: the new list has no
 *  attributes and frees no data.
 *
 *  @param first             first source
 *  @param second            second source; may be @p first
 *  @param[out] destination  another object, initialised here; its previous content is not released
 *  @return 0; -1 when a pointer is null or @p destination is one of the sources; -1 when memory
 *          runs out, with @p destination an empty list or as a failed list_init() leaves it
 */
TALVERA_API int list_concat(const list_obj *first, const list_obj *second, list_obj *destination);

/** Sorts by the comparator, exchanging data between elements. Not stable.
 *
 *  @param list       the list
 *  @param direction  positive: ascending, smallest first; negative: descending; 0 keeps the order
 *  @return 0; -1 while iterating or without a comparator
 */
TALVERA_API int list_sort(list_obj *list, int direction) TALVERA_NONNULL(1);

/** Hashes the number of elements and the data, in order.
 *
 *  h = 2 * count + 100; then for each datum with hash x (without a hash computer, the low 32 bits
 *  of the pointer) t = (h ^ x) + h, h = t % count + t, all in 32 bits.
 *
 *  @param list  the list
 *  @return the hash; 100 for an empty list
 */
TALVERA_API uint32_t list_hash(const list_obj *list) TALVERA_NONNULL(1);

/** @}
 *  @name Iteration
 *  From the first element to the last; one iteration at a time.
 *  @{ */

/** Starts an iteration.
 *
 *  @param list  the list
 *  @return 1; 0 when an iteration is already open, which continues
 */
TALVERA_API int list_iterator_start(list_obj *list) TALVERA_NONNULL(1);

/** Returns the next datum. Call list_iterator_hasnext() first: null is returned past the last one.
 *
 *  @param list  the list
 *  @return the next datum; null past the last one or when no iteration is open
 */
TALVERA_API void *list_iterator_next(list_obj *list) TALVERA_NONNULL(1);

/** Checks whether the iteration has another datum.
 *
 *  @param list  the list
 *  @return 1 when it has; 0 at the end and when no iteration is open
 */
TALVERA_API int list_iterator_hasnext(const list_obj *list) TALVERA_NONNULL(1);

/** Ends the iteration.
 *
 *  @param list  the list
 *  @return 1; 0 when no iteration is open
 */
TALVERA_API int list_iterator_stop(list_obj *list) TALVERA_NONNULL(1);

/** @}
 *  @name Comparators
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

/** Compares two strings: strcmp() with its arguments swapped, for the sign convention of lists.
 *
 *  @param a  first character of one string
 *  @param b  first character of the other
 *  @return positive when @p a comes before @p b, negative when after, 0 when equal
 */
TALVERA_API int list_comparator_string(const void *a, const void *b) TALVERA_NONNULL(1, 2);

/** @}
 *  @name Meters
 *  @{ */

/** Returns the size of the type in the name.
 *
 *  @param data  ignored
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

/** Returns the size of a string, terminator included.
 *
 *  @param data  first character of the string
 *  @return the size in bytes
 */
TALVERA_API uint32_t list_meter_string(const void *data) TALVERA_NONNULL(1);

/** @}
 *  @name Hash computers
 *  @{ */

/** Hashes a value of the type in the name.
 *
 *  @param data  address of the value
 *  @return for an integer, its low 32 bits, sign-extended if it is shorter and signed; for a float
 *          or double, its value truncated to a signed 32-bit integer, saturating at the limits, and
 *          0 for NaN
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
 *  @param data  first character of the string
 *  @return the hash, on which the first character intentionally has no effect; 123 for the empty
 *          string
 */
TALVERA_API uint32_t list_hashcomputer_string(const void *data) TALVERA_NONNULL(1);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
