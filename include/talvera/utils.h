/** @defgroup talvera_utils Files and system
 *  Directory lists, whole files, exact-length transfers, mapped files, shell commands, sysfs
 *  attributes, the console, persistent files, random numbers and host names.
 *
 *  @include utils.c
 *
 *  The file functions keep no state and do not log. They report a failure in the return value;
 *  errno is that of the failing system call unless an entry names another value. The caller frees
 *  returned heap blocks with free() unless an entry names another function.
 *
 *  A path built from two parts ("directory/name") is truncated to 4095 characters, a path built
 *  from a format to 255.
 *  @{ */
#ifndef TALVERA_UTILS_H
#define TALVERA_UTILS_H

#include <dirent.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Directories
 *  @{ */

/** Checks whether a directory can be opened.
 *
 *  @param path  the directory
 *  @return 1 if it can, otherwise 0
 */
TALVERA_API int dir_exists(const char *path) TALVERA_NONNULL(1);

/** Checks whether stat() succeeds on a path; it follows symbolic links.
 *
 *  @param path  the path
 *  @return 1 if it does, otherwise 0
 */
TALVERA_API int uf_path_exists(const char *path) TALVERA_NONNULL(1);

/** Lists the regular files of a directory, sorted by name as if by strcmp().
 *
 *  Only entries that the file system itself reports as regular files (DT_REG) are listed: not
 *  directories, symbolic links, devices, or entries of unknown type.
 *
 *  On 32-bit machines struct dirent depends on _FILE_OFFSET_BITS; callers must not define it, since
 *  the library is compiled without it.
 *
 *  @param directory  path of the directory
 *  @param[out] list  array of heap entries, to be freed with uf_free_dirent_list(); null when the
 *                    result is below 1
 *  @return number of entries; 0 for none; -1 with errno set when the directory cannot be read
 */
TALVERA_API int uf_get_dirent_list(const char *directory, struct dirent ***list)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** Frees the first @p count entries and the array, and sets @p *list to null.
 *
 *  @param[in,out] list  address of the pointer set by uf_get_dirent_list(); null is ignored
 *  @param count         result of uf_get_dirent_list()
 */
TALVERA_API void uf_free_dirent_list(struct dirent ***list, int count);

/** Checks whether a list contains an entry with the given name.
 *
 *  @param list   entries from uf_get_dirent_list(); may be null when @p count is below 1
 *  @param count  number of entries to search
 *  @param name   the name; may be null when @p count is below 1
 *  @return 1 if one of them is named exactly @p name, otherwise 0; 0 when @p count is below 1
 */
TALVERA_API int uf_contains_file_by_name(struct dirent *const *list, int count, const char *name);

/** Counts the entries whose names satisfy a predicate.
 *
 *  @param list       entries from uf_get_dirent_list(); may be null when @p count is below 1
 *  @param count      number of entries to test
 *  @param predicate  called once with the name of each
 *  @return number of calls that returned non-zero; 0 when @p count is below 1
 */
TALVERA_API int uf_filtered_file_count(struct dirent *const *list, int count,
                                       int (*predicate)(const char *name));

/** @}
 *  @name Reading and writing
 *  @{ */

/** Opens "directory/name" read-only.
 *
 *  @param directory  path of the directory
 *  @param name       name of the file in it
 *  @return the descriptor; -1 with errno set
 */
TALVERA_API int uf_open(const char *directory, const char *name)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** Returns the size of an open file.
 *
 *  @param fd  open descriptor
 *  @return the size in bytes; 0 with errno set when fstat() fails
 */
TALVERA_API long uf_fsize(int fd);

/** Reads a whole file.
 *
 *  If the file shrinks after its size is determined, the call does not return until the missing
 *  bytes appear. A file of 2 GiB or more fails with EFBIG, or with EOVERFLOW where off_t has 32
 *  bits.
 *
 *  @param directory    path of the directory
 *  @param name         name of the file in it
 *  @param[out] data    heap block of exactly @p *length bytes, without a terminator, which the
 *                      caller frees with free(); null on failure
 *  @param[out] length  size of the file in bytes; 0 on failure
 *  @return 0; -1 with errno set when the file cannot be opened, is empty (ENODATA) or cannot be
 *          read, or when memory runs out; intentionally also (EBADF) when open() returns descriptor
 *          0
 */
TALVERA_API int uf_readall(const char *directory, const char *name, unsigned char **data,
                           unsigned int *length) TALVERA_NONNULL(1, 2, 3, 4) TALVERA_MUST_USE;

/** Reads exactly @p size bytes, continuing after short reads and EINTR.
 *
 *  @param fd        open descriptor, read from its current position
 *  @param[out] buf  at least @p size bytes
 *  @param size      number of bytes to read, at most INT_MAX; 0 returns 0 immediately
 *  @return number of bytes read, fewer than @p size only at end of file; -1 with errno set on
 *          failure, even if some bytes were already read
 */
TALVERA_API int uf_full_read(int fd, void *buf, unsigned int size);

/** Writes exactly @p length bytes, continuing after short writes and EINTR.
 *
 *  @param fd      open descriptor, written at its current position
 *  @param data    @p length bytes
 *  @param length  number of bytes to write, at most INT_MAX; 0 returns 0 immediately
 *  @return number of bytes written, fewer than @p length only when write() returned 0; -1 with
 *          errno set on failure, even if some bytes were already written
 */
TALVERA_API int uf_full_write(int fd, const void *data, unsigned int length);

/** A file mapped as a whole; filled by filemap_open(). */
struct filemap {
  int32_t fd;   /**< descriptor of the file; -1 when closed */
  char *path;   /**< heap copy of the path, freed by filemap_close() */
  void *map;    /**< shared mapping of the whole file; (void *)-1 when nothing is mapped */
  int32_t size; /**< number of bytes mapped; 0 when nothing is mapped */
};

/** Opens a file and maps all of it, shared.
 *
 *  @param path        the file
 *  @param[out] file   record to fill; closed again on failure (fd -1, map (void *)-1)
 *  @param flags       flags for open(); also passed as its creation mode
 *  @param protection  protection for mmap(), such as PROT_READ
 *  @return 0; -1 with errno set: ENODATA for an empty file, EFBIG for one of 2 GiB or more
 *          (EOVERFLOW where off_t has 32 bits)
 */
TALVERA_API int filemap_open(const char *path, struct filemap *file, int flags, int protection)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** Unmaps and closes a file and frees the path.
 *
 *  The path field keeps its stale value, so a record must not be closed twice; a failed
 *  filemap_open() has already closed it.
 *
 *  @param[in,out] file  the record
 */
TALVERA_API void filemap_close(struct filemap *file) TALVERA_NONNULL(1);

/** Compares two files.
 *
 *  @param path1  one file
 *  @param path2  the other
 *  @return 0 when both have the same size and content; 1 otherwise and on any error
 */
TALVERA_API int file_diff(const char *path1, const char *path2) TALVERA_NONNULL(1, 2);

/** Calls access() on a path built from a format.
 *
 *  @param format  printf format of the path
 *  @param mode    F_OK, or a combination of R_OK, W_OK and X_OK
 *  @return 0; -1 with errno set
 */
TALVERA_API int file_access(const char *format, int mode, ...) TALVERA_PRINTF(1, 3);

/** Removes the target of a symbolic link; the link itself stays. A path that is not a symbolic link
 *  is not removed.
 *
 *  A relative target is resolved against the current directory. Only the first 128 characters of
 *  the target count: for a longer one, the file that those characters name is removed.
 *
 *  @param path  the link
 *  @return 0; -1 with errno set when unlink() fails on the target; -1 for a path that is not a
 *          symbolic link; 40960 when lstat() fails, as for a path that does not exist; unspecified
 *          but not 0 when @p path is null
 */
TALVERA_API int file_delete(const char *path);

/** Opens a file and writes a string with a single write().
 *
 *  @param path    the file
 *  @param flags   flags for open(), such as O_WRONLY | O_TRUNC
 *  @param mode    creation mode, before the umask
 *  @param string  string to write, without its terminator; null gives -1 (EINVAL)
 *  @return number of bytes written, which may be fewer than the string has; -1 with errno set
 */
TALVERA_API int file_write_string(const char *path, int flags, mode_t mode, const char *string)
    TALVERA_NONNULL(1);

/** Appends a string to an existing file, whose path is built from a format, with a single write().
 *  A missing file is not created. Note the argument order: the format's arguments come last.
 *
 *  @param path_format  printf format of the path
 *  @param string       string to append; null gives -1 (EINVAL)
 *  @return number of bytes written, which may be fewer than the string has; -1 with errno set
 */
TALVERA_API int file_append_write(const char *path_format, const char *string, ...)
    TALVERA_PRINTF(1, 3);

/** Writes a string as file_append_write() does, after creating the file (mode 0660 before the
 *  umask) or emptying it.
 *
 *  @param path_format  printf format of the path
 *  @param string       string to write; null gives -1 (EINVAL)
 *  @return number of bytes written, which may be fewer than the string has; -1 with errno set
 */
TALVERA_API int file_create_write(const char *path_format, const char *string, ...)
    TALVERA_PRINTF(1, 3);

/** @}
 *  @name Commands, attributes and the console
 *  @{ */

/** Runs a shell command with system().
 *
 *  A failure is logged with sdb_log() at SDB_LOG_DEBUG: "sdb_system (ret <code>): <command>".
 *
 *  @param format  printf format of the command, which is truncated to 511 characters
 *  @return 0 when the command succeeded, and also when a signal killed the shell; otherwise the
 *          command's exit code, or the errno of system() when that failed
 */
TALVERA_API int sdb_system(const char *format, ...) TALVERA_PRINTF(1, 2);

/** Reads the first line of a sysfs attribute.
 *
 *  The string is cut at its first carriage return or line feed and not otherwise terminated: pass a
 *  zeroed buffer. Note the argument order: the format's arguments come last. A read error is logged
 *  to syslog at LOG_WARNING ("error reading sysfs attribute (<path>)").
 *
 *  @param path_format  printf format of the path, which is truncated to 255 characters
 *  @param[out] buf     at least @p size + 1 bytes, zeroed; null is a programming error and aborts
 *                      the process in every build
 *  @param size         maximum number of bytes to read
 *  @return number of bytes read, including those cut off; -1 with errno set when the file cannot be
 *          opened (buffer unchanged) or read (buffer emptied)
 */
TALVERA_API int sysfs_get_attr(const char *path_format, char *buf, size_t size, ...)
    TALVERA_PRINTF(1, 4);

/** Writes a sysfs attribute.
 *
 *  Failures are logged to syslog: "error opening sysfs attribute file (<path>) for writing" at
 *  LOG_INFO, "error writing sysfs attribute (<path>)" at LOG_WARNING.
 *
 *  @param path_format  printf format of the path, which is truncated to 255 characters
 *  @param value        string to write; no line feed is added
 *  @return 0; 1 with errno set when the file cannot be opened or the kernel rejects the value
 */
TALVERA_API int sysfs_set_attr(const char *path_format, const char *value, ...) TALVERA_PRINTF(1, 3)
    TALVERA_NONNULL(2);

/** Prints a message to "/dev/console", which the first message opens (close-on-exec) and the
 *  process keeps open.
 *
 *  A message that is not truncated and ends in a line feed is followed by a carriage return.
 *
 *  @param format  printf format of the message, which is truncated to 255 characters
 *  @return negative with errno set when the console cannot be opened (the next call tries again);
 *          otherwise unspecified
 */
TALVERA_API int cons_printk(const char *format, ...) TALVERA_PRINTF(1, 2);

/** @}
 *  @name Persistent files
 *  All but pfs_clearing_set() run the pfs tool through a shell: pfs_newbox() the "pfs" found in
 *  PATH, the others "/sbin/pfs". Paths are inserted unquoted into a shell command: never pass
 *  untrusted input.
 *  @{ */

/** Marks a clearing (factory reset) as in progress: from this call until the process exits,
 *  pfs_remember_file() and pfs_commit() do nothing. */
TALVERA_API void pfs_clearing_set(void);

/** Stops the running "pfs" and runs "pfs -e > /dev/null 2>&1".
 *
 *  @return the result of sdb_system()
 */
TALVERA_API int pfs_newbox(void);

/** Runs "/sbin/pfs -r <line>" for each output line of "/sbin/pfs -l" that contains a string.
 *
 *  @param substring  string to find, ignoring case; null or empty matches every line
 *  @return the result of pclose() for the listing, which is -1 (ECHILD) when the handler that
 *          process_start() installs reaped it first; 0 when it could not be started
 */
TALVERA_API int pfs_forget_files(const char *substring);

/** Runs "/sbin/pfs -r <path>", even during a clearing.
 *
 *  @param path  the file
 *  @return the result of sdb_system()
 */
TALVERA_API int pfs_forget_file(const char *path) TALVERA_NONNULL(1);

/** Runs "/sbin/pfs -a <path>", except during a clearing.
 *
 *  @param path  the file
 *  @return the result of sdb_system(); 1 during a clearing
 */
TALVERA_API int pfs_remember_file(const char *path) TALVERA_NONNULL(1);

/** Runs "/sbin/pfs -s", except during a clearing.
 *
 *  @return the result of sdb_system(); 1 during a clearing
 */
TALVERA_API int pfs_commit(void);

/** @}
 *  @name Random numbers
 *  @{ */

/** Reads random bytes from "/dev/random", which may block (random(4)).
 *
 *  @param[out] buf  at least @p size bytes; a byte that cannot be read, as when a signal interrupts
 *                   the wait, becomes 0xFF
 *  @param size      number of bytes to read
 *  @return 0; -1 with errno set when the device cannot be opened
 */
TALVERA_API int rand_read(void *buf, size_t size);

/** Reads random bytes from "/dev/urandom", which does not block.
 *
 *  @param[out] buf  at least @p size bytes; a byte that cannot be read becomes 0xFF
 *  @param size      number of bytes to read
 *  @return 0; -1 with errno set when the device cannot be opened
 */
TALVERA_API int urand_read(void *buf, size_t size);

/** Returns a random number from "/dev/random", which may block.
 *
 *  @return the next four bytes of the device as a big-endian number; UINT32_MAX, which is also a
 *          valid number, when the device cannot be opened
 */
TALVERA_API uint32_t rand_generate_uint32(void);

/** Returns a random number from "/dev/urandom", which does not block.
 *
 *  @return the next four bytes of the device as a big-endian number; UINT32_MAX, which is also a
 *          valid number, when the device cannot be opened
 */
TALVERA_API uint32_t urand_generate_uint32(void);

/** @} */

/** Resolves a host name to its first address as a string.
 *
 *  @param name      host name, or an address as a string
 *  @param[out] buf  at least @p size bytes (INET_ADDRSTRLEN suffices); empty when the lookup fails
 *                   or the address does not fit
 *  @param size      size of @p buf in bytes
 *  @return 0 when the name was found; otherwise the result of gethostbyname_r(), or its h_errno
 *          value (such as HOST_NOT_FOUND, netdb.h)
 */
TALVERA_API int hostname_to_addr(const char *name, char *buf, size_t size) TALVERA_NONNULL(1);

TALVERA_END_DECLS

#endif
/** @} */
