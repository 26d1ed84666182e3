/** @defgroup talvera_nvram Configuration store
 *  Name/value pairs in a System V shared-memory segment, which all processes of the gateway attach,
 *  read and write directly.
 *
 *  @include nvram.c
 *
 *  One process creates the segment with nvram_init(). Then every process attaches it and stores its
 *  address in ::nvram_hash and its identifier in ::nvram_shmid.
 *
 *  The segment's key is ftok(path, 1). The segment is a table of NVRAM_ENTRIES entries without a
 *  header; a new one is all zeros, which is the empty store:
 *
 *      entry 0             never used: a link of 0 ends every chain
 *      entries 1 to 256    buckets, where chains start
 *      entries 257 to 383  overflow entries, which continue chains
 *
 *  An entry is unaligned and has the same layout of 99 bytes on every machine:
 *
 *      offset  size  field
 *      0         32  name, NUL-terminated unless it has 32 characters
 *      32        64  value, NUL-terminated unless it has 64 characters
 *      96         1  not 0: in use
 *      97         2  index of the chain's next entry, signed, big-endian; the chain ends where that
 *                    entry is not in use
 *
 *  A name's bucket is its hash modulo 256, plus 1. The hash starts at 0 and becomes hash * 31 +
 *  character for each character of the whole name. Names are compared over their first 32
 *  characters.
 *
 *  There is no mutual exclusion: programs that share a store must serialise their writers, and a
 *  value can change under its reader. Corrupt content never leads these functions outside the
 *  segment or into an endless loop: a chain ends at a link out of range, and after as many entries
 *  as the table has.
 *  @{ */
#ifndef TALVERA_NVRAM_H
#define TALVERA_NVRAM_H

#include <stdint.h>

#include "talvera/api.h"

struct shmid_ds; /* <sys/shm.h> */

TALVERA_BEGIN_DECLS

/** @name Segment
 *  @{ */

#define NVRAM_ENTRIES 384   /**< Number of entries in the table. */
#define NVRAM_NAME_SIZE 32  /**< Size of a name in bytes. */
#define NVRAM_VALUE_SIZE 64 /**< Size of a value in bytes. */
#define NVRAM_ENTRY_SIZE 99 /**< Size of an entry in bytes. */

/** Minimum size of the segment in bytes: 38016. */
#define NVRAM_SEGMENT_SIZE (NVRAM_ENTRIES * NVRAM_ENTRY_SIZE)

/** Identifier of the attached segment, stored here by the program; initially -1. */
TALVERA_API extern int32_t nvram_shmid;

/** Address of the attached segment, stored here by the program; initially null. The all-ones
 *  address, which nvram_attach() returns on failure, counts as null. */
TALVERA_API extern void *nvram_hash;

/** Creates the segment with mode 0600, or finds the existing one.
 *
 *  @param path  existing file on which the programs have agreed, as for ftok()
 *  @param size  size in bytes, at least NVRAM_SEGMENT_SIZE
 *  @return the segment's identifier; -1 with errno set on failure, EINVAL for a null path or size 0
 */
TALVERA_API int nvram_init(const char *path, unsigned int size);

/** Finds the segment.
 *
 *  @param path  as for nvram_init()
 *  @return the segment's identifier; -1 with errno set on failure, EINVAL for a null path
 */
TALVERA_API int nvram_open(const char *path);

/** Same as nvram_open(). @copydetails nvram_open */
TALVERA_API int nvram_id(const char *path);

/** Attaches the segment at an address chosen by the system.
 *
 *  @param path  as for nvram_init()
 *  @return the segment's address; null with errno EINVAL for a null path; on failure the all-ones
 *          address, as from shmat(), with errno set: EINVAL also when there is no segment, in which
 *          case nvram_id() gives the cause
 */
TALVERA_API void *nvram_attach(const char *path);

/** Detaches the segment and, even on failure, sets ::nvram_shmid to -1. ::nvram_hash is unchanged.
 *
 *  @param segment  address returned by nvram_attach()
 *  @return 0; -1 with errno set on failure; -1 with errno EINVAL, and nothing changed, for null
 */
TALVERA_API int nvram_detach(void *segment);

/** Removes the segment; processes that have attached it keep it until they detach.
 *
 *  @param path  as for nvram_init()
 *  @return 0; -1 with errno set on failure, EINVAL for a null path
 */
TALVERA_API int nvram_exit(const char *path);

/** Reads the status of the segment ::nvram_shmid (shmctl() with IPC_STAT).
 *
 *  @param[out] status  the status
 *  @return 0; -1 with errno set on failure, EINVAL when ::nvram_shmid is negative
 */
TALVERA_API int nvram_stat(struct shmid_ds *status);

/** Locks the segment ::nvram_shmid into memory (shmctl() with SHM_LOCK). It does not exclude other
 *  processes.
 *
 *  @return 0; -1 with errno set on failure, EINVAL when ::nvram_shmid is negative
 */
TALVERA_API int nvram_lock(void);

/** Reverses nvram_lock() (shmctl() with SHM_UNLOCK).
 *
 *  @return 0; -1 with errno set on failure, EINVAL when ::nvram_shmid is negative
 */
TALVERA_API int nvram_unlock(void);

/** @}
 *  @name Pairs
 *  All of these except nvram_show_all() call nvram_lock() first and nvram_unlock() last, unless
 *  ::nvram_shmid is negative.
 *  @{ */

/** Result of nvram_set() when the store is full. */
#define NVRAM_FULL (-12)

/** Looks up a value.
 *
 *  @param name  name of the pair, or null
 *  @return the value in the segment, NUL-terminated unless it has NVRAM_VALUE_SIZE characters; null
 *          when there is no such pair, no segment or no name
 */
TALVERA_API char *nvram_get(const char *name);

/** Sets a pair, new or existing. A name of NVRAM_NAME_SIZE characters or more, or a value of
 *  NVRAM_VALUE_SIZE or more, is stored truncated to that size and without a terminator.
 *
 *  @param name   name of the pair
 *  @param value  its value
 *  @return 0; -1 with errno EINVAL when segment, name or value is null; -1 with errno ELOOP when
 *          the pair is new and its chain is circular; NVRAM_FULL, with errno ENOMEM and a line on
 *          standard error, when the pair is new, its bucket is in use and no overflow entry is free
 */
TALVERA_API int nvram_set(const char *name, const char *value);

/** Removes a pair. When it is the first of its chain, the second one moves into its place.
 *
 *  @param name  name of the pair
 *  @return 0, even when there is no such pair; -1 with errno EINVAL when segment or name is null
 */
TALVERA_API int nvram_unset(const char *name);

/** Prints every pair to standard output, one "name: value" line each, chain by chain; prints
 *  nothing without a segment. */
TALVERA_API void nvram_show_all(void);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
