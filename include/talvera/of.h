/** @file
 *  Ordered files: a place, an enable switch and a flags word for each regular file of a directory,
 *  kept in a small text file in that directory.
 *
 *  @code
 *  int is_photo(const char *name);  // yours: not 0 for the names that belong to the set
 *  struct of_files_info *set;
 *  if (of_sync_dbfile(is_photo, "/photos", ".order") == 0 &&
 *      of_deserialize(&set, is_photo, "/photos", ".order", 0) == 0) {
 *    struct of_file_info *first = of_get_file_info_from_order(set, 1);
 *    if (first != NULL) puts(first->name);
 *    of_free_files_info(&set);
 *  }
 *  @endcode
 *
 *  A set is built from the directory (of_init_files_info()) or from the saved file
 *  (of_deserialize()), edited in place through the items that the look-ups return, and written with
 *  of_serialize(). of_sync_dbfile() does the whole pass: it fits the saved settings to the files
 *  that are there now.
 *
 *  The database file is text. A header line "#VERSION:COUNT", then a line "ORDER:ENABLE:FLAGS:NAME"
 *  for each item in ascending order, all numbers decimal but the flags, which are lower-case
 *  hexadecimal without prefix:
 *
 *      #1:2
 *      1:1:0:b.jpg
 *      2:0:4:a.jpg
 *
 *  Names must not contain white space, at which they end when they are read back: the filter should
 *  leave such files out. One before the last makes the whole database unreadable, so that the next
 *  of_sync_dbfile() drops every saved setting; the last one is read as its first word.
 *
 *  Numbers outside 32 bits are read as the nearest limit. A name of more than 31 characters is cut
 *  to 31 when it is read, as it is when a set is built. The path "directory/name" is cut to 4095
 *  characters.
 *
 *  The database is itself a regular file of the directory: the filter has to leave it out. Every
 *  failure is the result -1, and nothing is logged. errno is EINVAL for a database whose content is
 *  bad, a place that a set does not have and a missing filter, and otherwise as the failing call
 * left it. Callers serialise their access to one directory's database.
 */
#ifndef TALVERA_OF_H
#define TALVERA_OF_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

#define OF_NAME_SIZE 32 /**< bytes of a name with its terminator */

/** One file. */
struct of_file_info {
  char name[OF_NAME_SIZE]; /**< file name, at most 31 characters and a terminator */
  int32_t enable;          /**< 1 enabled, 0 disabled */
  int32_t order;           /**< its place, 1 being first; 1 to count in a consistent set */
  uint32_t flags;          /**< bits of the caller's own */
};

/** A set of files: one heap block with the items behind the header. Released with
 *  of_free_files_info(). */
struct of_files_info {
  int32_t version;            /**< 1, or what the header of the database said */
  int32_t count;              /**< number of items */
  struct of_file_info *items; /**< the items, in the same block */
};

/** Tells which files belong to a set: non-zero for a name that does. It may be asked more than once
 *  about a name. */
typedef int (*of_filter)(const char *name);

/** Builds the set of a directory's regular files, in byte order of their names, all enabled, with
 *  flags 0 and orders from 1 on.
 *
 *  Names are cut to 31 characters; the filter sees them whole.
 *
 *  @param[out] set  receives the set; null on failure. A directory without such files gives a set
 *                   of no items.
 *  @param filter    which files to take; null is a failure (EINVAL)
 *  @param dir       path of the directory
 *  @return 0, or -1 when the directory does not exist or cannot be read, or memory runs out
 */
TALVERA_API int of_init_files_info(struct of_files_info **set, of_filter filter, const char *dir)
    TALVERA_NONNULL(1, 3) TALVERA_MUST_USE;

/** Frees the set that @p set points to and sets that pointer to null; null is ignored.
 *
 *  @param[in,out] set  address of the pointer to the set
 */
TALVERA_API void of_free_files_info(struct of_files_info **set);

/** Looks an item up by its name.
 *
 *  @param set   the set
 *  @param name  the name
 *  @return the first item named exactly @p name, or null; it belongs to @p set
 */
TALVERA_API struct of_file_info *of_get_file_info_from_name(struct of_files_info *set,
                                                            const char *name) TALVERA_NONNULL(1, 2);

/** Looks an item up by its place.
 *
 *  @param set    the set
 *  @param order  the place
 *  @return the first item, in the order of the array, that has this order, or null; it belongs to
 *          @p set
 */
TALVERA_API struct of_file_info *of_get_file_info_from_order(struct of_files_info *set,
                                                             int32_t order) TALVERA_NONNULL(1);

/** Moves an item to another place; the items in between move up or down by one.
 *
 *  @param set        the set that @p item belongs to
 *  @param item       the item to move
 *  @param new_order  its new place, 1 to the set's count
 *  @return 0, or -1 with nothing changed when there is no such place
 */
TALVERA_API int of_set_order_for_item(struct of_files_info *set, struct of_file_info *item,
                                      int32_t new_order) TALVERA_NONNULL(1, 2);

/** Sets the item's enable switch.
 *
 *  @param[out] item  the item
 *  @param enable     0 for 0, any other value for 1
 *  @return 0
 */
TALVERA_API int of_set_enable_for_item(struct of_file_info *item, int enable) TALVERA_NONNULL(1);

/** Sets the item's flags.
 *
 *  @param[out] item  the item
 *  @param flags      bits of the caller's own
 *  @return 0
 */
TALVERA_API int of_set_flags_for_item(struct of_file_info *item, uint32_t flags) TALVERA_NONNULL(1);

/** Writes a set to the database file "dir/dbname", which is created or replaced.
 *
 *  Items are written in ascending order from 1 to count + 1. Left out are items whose order lies
 *  outside that range, and of items that share an order all but the first in the array. The header
 *  has version 1 and the set's count, however many lines follow.
 *
 *  @param set     the set
 *  @param dir     path of the directory
 *  @param dbname  name of the database file in it
 *  @return 0; -1 when the file cannot be opened for writing (mode "w+") or not be written whole; -1
 *          with the file as it was when memory runs out
 */
TALVERA_API int of_serialize(const struct of_files_info *set, const char *dir, const char *dbname)
    TALVERA_NONNULL(1, 2, 3);

/** Reads the database file "dir/dbname" into a new set, with the items in the order of its lines.
 *
 *  A file without a proper header is a set of no items. Any version is accepted as long as the
 *  count is 0. What follows the last item is not looked at.
 *
 *  @param[out] set  receives the set; untouched on failure, but null when the set had to be built
 *                   and could not be
 *  @param filter    used when the set has to be built from the directory
 *  @param dir       path of the directory
 *  @param dbname    name of the database file in it
 *  @param create    when the file cannot be opened: 0 fails, otherwise the result is that of
 *                   of_init_files_info()
 *  @return 0, or -1 when the file cannot be opened, has fewer proper items than its header tells, a
 *          negative count, or items of a version other than 1, or when memory runs out
 */
TALVERA_API int of_deserialize(struct of_files_info **set, of_filter filter, const char *dir,
                               const char *dbname, uint8_t create)
    TALVERA_NONNULL(1, 3, 4) TALVERA_MUST_USE;

/** Brings the database file up to date with the directory.
 *
 *  Files that the database knows keep their switch and flags; one after the other, in byte order of
 *  their names, they are moved to their saved order, unless that is below 1 or exceeds the number
 *  of files now. Then each new file is moved to the top, enabled and with flags 0, the last of them
 *  ending first. As the moves follow each other, known files may change places when files have
 *  come or gone. Files that are gone drop out.
 *
 *  Without a database that can be read (or the memory to read it) the result is that of a new
 *  directory: alphabetical, all enabled. One without a proper header reads as no items, and so
 *  makes all files new: the last of the alphabet comes first.
 *
 *  The cost grows with the number of files n as n log n.
 *
 *  @param filter  which files to take; null is a failure (EINVAL)
 *  @param dir     path of the directory
 *  @param dbname  name of the database file in it
 *  @return 0; -1 when the directory cannot be read or memory runs out, with the database as it was;
 *          -1 when it cannot be written
 */
TALVERA_API int of_sync_dbfile(of_filter filter, const char *dir, const char *dbname)
    TALVERA_NONNULL(2, 3);

TALVERA_END_DECLS

#endif
