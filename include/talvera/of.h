/** @defgroup talvera_of Ordered files
 *  Gives each regular file of a directory a position, an enable switch and a flags word, kept in a
 *  small text file, the database, in that directory.
 *
 *  @include of.c
 *
 *  A set is built from the directory (of_init_files_info()) or from the database
 *  (of_deserialize()), edited in place through the items that the lookups return, and written with
 *  of_serialize(). of_sync_dbfile() does all of this: it adapts the saved settings to the files
 *  that exist now.
 *
 *  The database is text: a header line "#VERSION:COUNT", then one line "ORDER:ENABLE:FLAGS:NAME"
 *  per item in ascending order. Flags are lower-case hexadecimal without prefix, all other numbers
 *  decimal:
 *
 *      #1:2
 *      1:1:0:b.jpg
 *      2:0:4:a.jpg
 *
 *  Names must not contain white space, at which they end when read back: the filter should exclude
 *  such files. White space inside a name on any line but the last makes the whole database
 *  unreadable, so that the next of_sync_dbfile() discards every saved setting; on the last line the
 *  name is read as its first word. The database is itself a regular file of the directory: the
 *  filter must exclude it too.
 *
 *  Numbers that do not fit in 32 bits are read as the nearest limit. Names are truncated to 31
 *  characters, both when read and when a set is built. The path "directory/name" is truncated to
 *  4095 characters.
 *
 *  Every failure gives -1, and nothing is logged. errno is EINVAL for invalid database content, a
 *  position that a set does not have and a missing filter, otherwise that of the failing call.
 *  Callers must serialise their access to a directory's database.
 *  @{ */
#ifndef TALVERA_OF_H
#define TALVERA_OF_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Size of a name in bytes, terminator included. */
#define OF_NAME_SIZE 32

/** A file. */
struct of_file_info {
  char name[OF_NAME_SIZE]; /**< file name, at most 31 characters */
  int32_t enable;          /**< 1 enabled, 0 disabled */
  int32_t order;           /**< position, 1 being first; 1 to count in a consistent set */
  uint32_t flags;          /**< caller-defined bits */
};

/** A set of files: one heap block, to be freed with of_free_files_info(). */
struct of_files_info {
  int32_t version;            /**< 1, or the version in the database's header */
  int32_t count;              /**< number of items */
  struct of_file_info *items; /**< the items, in the same block */
};

/** Decides which files belong to a set. It may be called more than once for a name.
 *
 *  @param name  file name
 *  @return non-zero when the file belongs to the set
 */
typedef int (*of_filter)(const char *name);

/** Builds the set of a directory's regular files, sorted by name as if by strcmp(), all enabled,
 *  with flags 0 and orders from 1.
 *
 *  @param[out] set  the set, which may have no items; null on failure
 *  @param filter    which files to include; called with the full name; null is a failure (EINVAL)
 *  @param dir       path of the directory
 *  @return 0; -1 when the directory does not exist or cannot be read, or memory runs out
 */
TALVERA_API int of_init_files_info(struct of_files_info **set, of_filter filter, const char *dir)
    TALVERA_NONNULL(1, 3) TALVERA_MUST_USE;

/** Frees a set and sets the caller's pointer to null. A null @p set and a null @p *set are ignored.
 *
 *  @param[in,out] set  address of the pointer to the set
 */
TALVERA_API void of_free_files_info(struct of_files_info **set);

/** Looks up an item by name.
 *
 *  @param set   the set
 *  @param name  the name
 *  @return the first item named exactly @p name, part of @p set; null when there is none
 */
TALVERA_API struct of_file_info *of_get_file_info_from_name(struct of_files_info *set,
                                                            const char *name) TALVERA_NONNULL(1, 2);

/** Looks up an item by position.
 *
 *  @param set    the set
 *  @param order  the position
 *  @return the first item of the array with this order, part of @p set; null when there is none
 */
TALVERA_API struct of_file_info *of_get_file_info_from_order(struct of_files_info *set,
                                                             int32_t order) TALVERA_NONNULL(1);

/** Moves an item to another position; the items in between move by one.
 *
 *  @param set        the set that @p item belongs to
 *  @param item       the item to move
 *  @param new_order  its new position, 1 to the set's count
 *  @return 0; -1, with nothing changed, when there is no such position
 */
TALVERA_API int of_set_order_for_item(struct of_files_info *set, struct of_file_info *item,
                                      int32_t new_order) TALVERA_NONNULL(1, 2);

/** Sets the enable switch of an item.
 *
 *  @param[out] item  the item
 *  @param enable     0 disables; any other value enables
 *  @return 0
 */
TALVERA_API int of_set_enable_for_item(struct of_file_info *item, int enable) TALVERA_NONNULL(1);

/** Sets the flags of an item.
 *
 *  @param[out] item  the item
 *  @param flags      caller-defined bits
 *  @return 0
 */
TALVERA_API int of_set_flags_for_item(struct of_file_info *item, uint32_t flags) TALVERA_NONNULL(1);

/** Writes a set to the database "dir/dbname", which is created or replaced.
 *
 *  Items with orders 1 to count + 1 are written, sorted by order. All others are omitted; of
 *  several items with the same order, only the first in the array is written. The header has
 *  version 1 and the set's count, however many lines follow.
 *
 *  @param set     the set
 *  @param dir     path of the directory
 *  @param dbname  name of the database in it
 *  @return 0; -1 when the file cannot be opened for writing (mode "w+") or written completely; -1
 *          with the file unchanged when memory runs out
 */
TALVERA_API int of_serialize(const struct of_files_info *set, const char *dir, const char *dbname)
    TALVERA_NONNULL(1, 2, 3);

/** Reads the database "dir/dbname" into a new set, with the items in the order of its lines.
 *
 *  A file without a valid header gives a set without items. Any version is accepted when the count
 *  is 0. Content after the last item is ignored.
 *
 *  @param[out] set  the set; unchanged on failure, but null when it was to be built from the
 *                   directory and could not be
 *  @param filter    which files to include when the set is built from the directory
 *  @param dir       path of the directory
 *  @param dbname    name of the database in it
 *  @param create    when the file cannot be opened: 0 fails, any other value builds the set with
 *                   of_init_files_info()
 *  @return 0; -1 when the file cannot be opened and no set is built instead; when it has fewer
 *          valid items than its header states, a negative count, or items of a version other than
 *          1; or when memory runs out
 */
TALVERA_API int of_deserialize(struct of_files_info **set, of_filter filter, const char *dir,
                               const char *dbname, uint8_t create)
    TALVERA_NONNULL(1, 3, 4) TALVERA_MUST_USE;

/** Brings the database up to date with the directory.
 *
 *  Files in the database keep their switch and flags; one by one, in strcmp() order of their names,
 *  they are moved to their saved order, unless that is below 1 or above the current number of
 *  files. Then each new file is moved to the top, enabled and with flags 0, so that the last of
 *  them comes first. Because of the successive moves, known files may change places when files have
 *  been added or removed. Removed files are dropped.
 *
 *  When the database cannot be read, or memory runs out while it is being read, the result is that
 *  of a new directory: in strcmp() order of the names, all enabled. A database without a valid
 *  header has no items, so all files are new and the last in strcmp() order comes first.
 *
 *  Apart from qsort(), this takes O(n log n) time for n files.
 *
 *  @param filter  which files to include; null is a failure (EINVAL)
 *  @param dir     path of the directory
 *  @param dbname  name of the database in it
 *  @return 0; -1, with the database unchanged, when the directory cannot be read or memory runs out
 *          (other than for reading the database); -1 when the database cannot be written
 */
TALVERA_API int of_sync_dbfile(of_filter filter, const char *dir, const char *dbname)
    TALVERA_NONNULL(2, 3);

TALVERA_END_DECLS

#endif
/** @} */
