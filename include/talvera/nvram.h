/** @file
 *  Configuration store: name/value pairs in one System V shared-memory segment, which all processes
 *  of the gateway attach and read and write directly.
 *
 *  One process creates the segment with nvram_init(). Then every process attaches it:
 *
 *  @code
 *  const char *path = "/etc/config";
 *  nvram_hash = nvram_attach(path);  // the pairs are reached through nvram_hash,
 *  nvram_shmid = nvram_id(path);     // locks and status through nvram_shmid
 *  const char *name = nvram_get("hostname");
 *  if (name != NULL) printf("%.*s\n", NVRAM_VALUE_SIZE, name);
 *  nvram_set("hostname", "gateway");
 *  nvram_detach(nvram_hash);
 *  nvram_hash = NULL;
 *  @endcode
 *
 *  The segment's key is ftok(path, 1). The segment is a table of NVRAM_ENTRIES entries, without any
 *  header; a new one is all zeros, the empty store:
 *
 *      entry 0           never used: a link of 0 ends every chain
 *      entries 1 to 256  buckets, where chains start
 *      257 to 383        overflow entries, which continue chains
 *
 *  An entry has no alignment and is the same 99 bytes on every machine:
 *
 *      offset  size  field
 *      0         32  name, NUL-terminated unless it has 32 characters
 *      32        64  value, NUL-terminated unless it has 64 characters
 *      96         1  not 0: in use
 *      97         2  index of the chain's next entry, signed, big-endian; the chain ends where that
 *                  entry is not in use
 *
 *  A name's bucket is its hash modulo 256, plus 1, where the hash starts at 0 and each character of
 *  the whole name makes it hash * 31 + character. Names are compared over their first 32
 *  characters.
 *
 *  Nothing excludes other processes: programs that share a store serialise their writers
 *  themselves, and a value can change under its reader. What a process that is wrong writes into
 *  the segment leads none of these functions outside of it, nor into an endless loop: links out of
 *  range end a chain, and so does a chain that is longer than the table.
 */
#ifndef TALVERA_NVRAM_H
#define TALVERA_NVRAM_H

#include <stdint.h>

#include "talvera/api.h"

struct shmid_ds; /* <sys/shm.h> */

TALVERA_BEGIN_DECLS

#define NVRAM_ENTRIES 384   /**< entries of the table */
#define NVRAM_NAME_SIZE 32  /**< bytes of a name */
#define NVRAM_VALUE_SIZE 64 /**< bytes of a value */
#define NVRAM_ENTRY_SIZE 99 /**< bytes of an entry */

/** Smallest size of the segment in bytes: 38016. */
#define NVRAM_SEGMENT_SIZE (NVRAM_ENTRIES * NVRAM_ENTRY_SIZE)

/** Result of nvram_set() when the store is full. */
#define NVRAM_FULL (-12)

/** Identifier of the attached segment, stored here by the program; initially -1. */
extern TALVERA_API int32_t nvram_shmid;

/** Address of the attached segment, stored here by the program; initially null. The all-ones
 *  address, nvram_attach()'s failure, counts as null. */
extern TALVERA_API void *nvram_hash;

/* ---- The segment ----------------------------------------------------------------------------- */

/** Creates the segment with mode 0600, or finds the one that is there.
 *
 *  @param path  existing file that the programs have agreed on, as for ftok()
 *  @param size  bytes, at least NVRAM_SEGMENT_SIZE
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

/** Attaches the segment at an address that the system chooses.
 *
 *  @param path  as for nvram_init()
 *  @return the segment's address; null with errno EINVAL for a null path; the all-ones address, as
 *          of shmat(), with errno set on failure: EINVAL also where there is no segment, of which
 *          nvram_id() tells the cause
 */
TALVERA_API void *nvram_attach(const char *path);

/** Detaches the segment and sets nvram_shmid to -1. nvram_hash stays as it is.
 *
 *  @param segment  address that nvram_attach() has returned
 *  @return 0; -1 with errno set on failure; -1 with errno EINVAL and nothing changed for null
 */
TALVERA_API int nvram_detach(void *segment);

/** Removes the segment; processes that are attached keep it until they detach.
 *
 *  @param path  as for nvram_init()
 *  @return 0; -1 with errno set on failure, EINVAL for a null path
 */
TALVERA_API int nvram_exit(const char *path);

/** Reads the status of the segment nvram_shmid, as shmctl() IPC_STAT.
 *
 *  @param[out] status  the status
 *  @return 0; -1 with errno set on failure, EINVAL when nvram_shmid is below 0
 */
TALVERA_API int nvram_stat(struct shmid_ds *status);

/** Pins the pages of the segment nvram_shmid in memory, as shmctl() SHM_LOCK. It excludes nobody.
 *
 *  @return 0; -1 with errno set on failure, EINVAL when nvram_shmid is below 0
 */
TALVERA_API int nvram_lock(void);

/** Takes nvram_lock() back, as shmctl() SHM_UNLOCK.
 *
 *  @return 0; -1 with errno set on failure, EINVAL when nvram_shmid is below 0
 */
TALVERA_API int nvram_unlock(void);

/** @name Pairs
 *  Each of these but nvram_show_all() calls nvram_lock() first and nvram_unlock() last; with
 *  nvram_shmid at -1 that costs no system call.
 *  @{ */

/** Looks a pair up.
 *
 *  @param name  its name, or null
 *  @return the value inside the segment, NUL-terminated unless it has NVRAM_VALUE_SIZE characters;
 *          null when there is no such pair, no segment or no name
 */
TALVERA_API char *nvram_get(const char *name);

/** Sets a pair, new or not. A value of NVRAM_VALUE_SIZE characters or more is stored as that many,
 *  without a terminator, and a name of NVRAM_NAME_SIZE or more likewise.
 *
 *  @param name   its name
 *  @param value  its value
 *  @return 0; -1 with errno EINVAL when segment, name or value is null; NVRAM_FULL, with a line on
 *          standard error, when the pair's bucket is taken and no overflow entry is free; -1 with
 *          errno ELOOP when the pair is new and its chain runs in a circle
 */
TALVERA_API int nvram_set(const char *name, const char *value);

/** Removes a pair. When it is the first of its chain, the second one moves into its place.
 *
 *  @param name  its name
 *  @return 0, also when there is no such pair; -1 with errno EINVAL when segment or name is null
 */
TALVERA_API int nvram_unset(const char *name);

/** Prints every pair as "name: value" on a line of standard output, chain after chain; without a
 *  segment nothing. */
TALVERA_API void nvram_show_all(void);

/** @} */

TALVERA_END_DECLS

#endif
