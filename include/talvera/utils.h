/** @file
 *  File and system helpers that every gateway program needs.
 *
 *  @code
 *  unsigned char *data;
 *  unsigned int length;
 *  if (uf_readall("/etc", "hostname", &data, &length) == 0) {
 *    fwrite(data, 1, length, stdout);
 *    free(data);
 *  }
 *  if (sdb_system("ip link set %s up", "eth0") != 0) puts("no such interface");
 *  @endcode
 *
 *  None of the file helpers keeps state or logs: a failure is told by the return value, with errno
 *  as the failing system call (POSIX, Linux) left it. Heap blocks handed out come from malloc and
 *  are the caller's to free.
 *
 *  A path built from two parts ("directory/name") is cut to 4095 characters, a path built from a
 *  format to 255, as snprintf cuts.
 */
#ifndef TALVERA_UTILS_H
#define TALVERA_UTILS_H

#include <dirent.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Tells whether a directory can be opened.
 *
 *  @param path  the directory
 *  @return 1 if @p path can be opened as a directory, else 0
 */
TALVERA_API int dir_exists(const char *path) TALVERA_NONNULL(1);

/** Tells whether there is something at a path.
 *
 *  @param path  the path
 *  @return 1 if stat() succeeds on @p path (which follows symbolic links), else 0
 */
TALVERA_API int uf_path_exists(const char *path) TALVERA_NONNULL(1);

/** Lists the regular files of a directory, in byte order of their names.
 *
 *  On 32-bit machines struct dirent depends on _FILE_OFFSET_BITS: callers leave it unset, as the
 *  library does.
 *
 *  Only entries that the file system itself reports as regular files (DT_REG) are listed: not
 *  directories, symbolic links, devices, nor entries of unknown type.
 *
 *  @param directory  path of the directory
 *  @param[out] list  receives an array of heap entries, to be released with
 *                    uf_free_dirent_list(); null when the result is below 1
 *  @return number of entries; 0 for none; -1 with errno set when the directory cannot be read
 */
TALVERA_API int uf_get_dirent_list(const char *directory, struct dirent ***list)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** Frees the first @p count entries and the array, and sets @p *list to null.
 *
 *  @param[in,out] list  address of the pointer that uf_get_dirent_list() set; null is ignored
 *  @param count         what uf_get_dirent_list() returned
 */
TALVERA_API void uf_free_dirent_list(struct dirent ***list, int count);

/** Looks for an entry by name.
 *
 *  @param list   entries, as uf_get_dirent_list() gives them
 *  @param count  how many of them to look at
 *  @param name   the name
 *  @return 1 if one of the first @p count entries of @p list is named exactly @p name, else 0; 0
 *          when @p count is below 1
 */
TALVERA_API int uf_contains_file_by_name(struct dirent *const *list, int count, const char *name);

/** Counts entries by name.
 *
 *  @param list       entries, as uf_get_dirent_list() gives them
 *  @param count      how many of them to ask about
 *  @param predicate  called once for each entry's name
 *  @return number of entries for which @p predicate returned non-zero; 0 when @p count is below 1
 */
TALVERA_API int uf_filtered_file_count(struct dirent *const *list, int count,
                                       int (*predicate)(const char *name));

/** Opens "directory/name" read-only.
 *
 *  @param directory  path of the directory
 *  @param name       name of the file in it
 *  @return the descriptor, or -1 with errno set
 */
TALVERA_API int uf_open(const char *directory, const char *name)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** The size of an open file.
 *
 *  @param fd  open descriptor
 *  @return the size in bytes of the open file @p fd, or 0 with errno set when fstat() fails
 */
TALVERA_API long uf_fsize(int fd);

/** Reads a whole file.
 *
 *  A file that gets shorter after its size was taken keeps the call reading: it asks again until
 *  the bytes are there.
 *
 *  @param directory    path of the directory
 *  @param name         name of the file in it
 *  @param[out] buffer  receives a heap block of exactly @p *length bytes, without a terminator,
 *                      for the caller to free; null on failure
 *  @param[out] length  receives the file's size in bytes; 0 on failure
 *  @return 0, or -1 with errno set when the file cannot be opened, is empty (ENODATA), cannot be
 *          read, or memory runs out; also (EBADF) when open() gives descriptor 0, which is meant:
 *          programs that closed their standard input do not get it back as a data file. A file of
 *          2 GiB or more fails with EFBIG
 */
TALVERA_API int uf_readall(const char *directory, const char *name, unsigned char **buffer,
                           unsigned int *length) TALVERA_NONNULL(1, 2, 3, 4) TALVERA_MUST_USE;

/** Reads exactly @p length bytes, going on after short reads and EINTR.
 *
 *  @param fd           open descriptor, read from its current position
 *  @param[out] buffer  room for @p length bytes
 *  @param length       bytes wanted, at most INT_MAX; 0 returns 0 at once
 *  @return bytes read, fewer than @p length only at end of file; -1 with errno set on any other
 *          failure, even when some bytes had arrived
 */
TALVERA_API int uf_full_read(int fd, void *buffer, unsigned int length);

/** Writes exactly @p length bytes, going on after short writes and EINTR.
 *
 *  @param fd      open descriptor, written at its current position
 *  @param buffer  @p length bytes
 *  @param length  bytes to write, at most INT_MAX; 0 returns 0 at once
 *  @return bytes written, fewer than @p length only when write() returned 0; -1 with errno set on
 *          any other failure, even when some bytes had gone out
 */
TALVERA_API int uf_full_write(int fd, const void *buffer, unsigned int length);

/** A file mapped whole. Owned by the caller; filled by filemap_open(). */
struct filemap {
  int32_t fd;   /**< descriptor of the file; -1 when closed */
  char *path;   /**< heap copy of the path, freed by filemap_close() */
  void *map;    /**< shared mapping of the whole file; (void *)-1 when nothing is mapped */
  int32_t size; /**< bytes mapped; 0 when nothing is mapped */
};

/** Opens a file and maps all of it, shared.
 *
 *  @param path        the file
 *  @param[out] file   record to fill; on failure it is closed again (fd -1, map (void *)-1)
 *  @param flags       flags for open(); the same value is passed as creation mode
 *  @param protection  protection for mmap(), such as PROT_READ
 *  @return 0, or -1 with errno set: ENODATA for an empty file, EFBIG for one of 2 GiB or more
 */
TALVERA_API int filemap_open(const char *path, struct filemap *file, int flags, int protection)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** Unmaps and closes @p file and frees its path.
 *
 *  The path field keeps its stale value, so a record must not be closed twice; a failed
 *  filemap_open() has closed it already.
 *
 *  @param[in,out] file  the record
 */
TALVERA_API void filemap_close(struct filemap *file) TALVERA_NONNULL(1);

/** Compares two files.
 *
 *  @param path1  one file
 *  @param path2  the other
 *  @return 0 when both files have the same size and the same bytes, 1 otherwise and on any error
 */
TALVERA_API int file_diff(const char *path1, const char *path2) TALVERA_NONNULL(1, 2);

/** access() on a path built from a format.
 *
 *  @param format  printf format of the path
 *  @param mode    F_OK, or a combination of R_OK, W_OK and X_OK
 *  @return 0, or -1 with errno set
 */
TALVERA_API int file_access(const char *format, int mode, ...) TALVERA_PRINTF(1, 3);

/** Removes what a symbolic link points to.
 *
 *  This is not unlink(): for a link the target is removed and the link stays; a path that is no
 *  link is left alone. A relative target counts from the current directory. Only the first 128
 *  characters of the target count: of a longer one, the file that those name is removed instead.
 *
 *  @param path  the link
 *  @return unlink()'s result for the target: 0, or -1 with errno set; -1 for a path that is not a
 *          symbolic link; 40960 when @p path does not exist; not 0 and otherwise without meaning
 *          when @p path is null
 */
TALVERA_API int file_delete(const char *path);

/** Opens a file and writes a string with one write().
 *
 *  @param path    the file
 *  @param flags   flags for open(), such as O_WRONLY | O_TRUNC
 *  @param mode    creation mode, before the umask
 *  @param string  text to write, without its terminator; null gives -1 (EINVAL)
 *  @return bytes written, which one short write may make fewer than the string's length; -1 with
 *          errno set
 */
TALVERA_API int file_write_string(const char *path, int flags, mode_t mode, const char *string)
    TALVERA_NONNULL(1);

/** file_write_string() at the end of an existing file whose path is built from a format.
 *
 *  Mind the order: the string comes between the format and the format's arguments. A missing file
 *  is not created.
 *
 *  @param path_format  printf format of the path
 *  @param string       text to append; null gives -1 (EINVAL)
 *  @return as file_write_string()
 */
TALVERA_API int file_append_write(const char *path_format, const char *string, ...)
    TALVERA_PRINTF(1, 3);

/** As file_append_write(), but creates the file (mode 0660 before the umask) or empties it.
 *
 *  @param path_format  printf format of the path
 *  @param string       text to write; null gives -1 (EINVAL)
 *  @return as file_write_string()
 */
TALVERA_API int file_create_write(const char *path_format, const char *string, ...)
    TALVERA_PRINTF(1, 3);

/* ---- Commands -------------------------------------------------------------------------------- */

/** Runs a shell command with system().
 *
 *  A failure is logged with sdb_log() at SDB_LOG_DEBUG: "sdb_system (ret <code>): <command>".
 *
 *  @param format  printf format of the command, which is cut to 511 characters
 *  @return 0 when the command succeeded; its exit code; or errno when it could not be run (of
 *          system(), POSIX). A command that was killed by a signal counts as one that succeeded.
 */
TALVERA_API int sdb_system(const char *format, ...) TALVERA_PRINTF(1, 2);

/* ---- Attributes of sysfs --------------------------------------------------------------------- */

/** Reads the first line of an attribute file.
 *
 *  The text is cut at its first carriage return or line feed and otherwise not terminated: pass a
 *  buffer of zeros and, as @p size, at least one byte less than it has. Mind the order: the
 *  format's arguments come last. A read error is logged to syslog at LOG_WARNING ("error reading
 *  sysfs attribute (<path>)").
 *
 *  @param path_format  printf format of the path, which is cut to 255 characters
 *  @param[out] buf     room for @p size bytes; null is a programming error and aborts the process,
 *                      in every kind of build
 *  @param size         bytes to read at most
 *  @return bytes read, what was cut off included; -1 with errno set when the file cannot be opened
 *          (buffer untouched) or read (buffer emptied)
 */
TALVERA_API int sysfs_get_attr(const char *path_format, char *buf, size_t size, ...)
    TALVERA_PRINTF(1, 4);

/** Writes an attribute file.
 *
 *  Failures are logged to syslog: "error opening sysfs attribute file (<path>) for writing" at
 *  LOG_INFO, "error writing sysfs attribute (<path>)" at LOG_WARNING.
 *
 *  @param path_format  printf format of the path, which is cut to 255 characters
 *  @param value        text to write; no line feed is added
 *  @return 0, or 1 with errno set when the file cannot be opened or the kernel refuses the value
 */
TALVERA_API int sysfs_set_attr(const char *path_format, const char *value, ...) TALVERA_PRINTF(1, 3)
    TALVERA_NONNULL(2);

/* ---- Console --------------------------------------------------------------------------------- */

/** Prints a message on "/dev/console", which the first message opens (close-on-exec) and the
 *  process keeps.
 *
 *  A message that fits and ends in a line feed is followed by a carriage return.
 *
 *  @param format  printf format of the message, which is cut to 255 characters
 *  @return negative with errno set when the console cannot be opened (the next call tries again);
 *          otherwise no meaningful value
 */
TALVERA_API int cons_printk(const char *format, ...) TALVERA_PRINTF(1, 2);

/** @name Persistent files
 *  What the tool "/sbin/pfs" is told, through sdb_system() and with its results. Paths go to the
 *  shell as they are.
 *  @{ */

/** Notes that a factory clearing is in progress: from now on, in this process, no file is added
 *  and nothing is committed. */
TALVERA_API void pfs_clearing_set(void);

/** Stops the running "pfs" and runs "pfs -e > /dev/null 2>&1".
 *
 *  @return the result of sdb_system()
 */
TALVERA_API int pfs_newbox(void);

/** Runs "/sbin/pfs -r <line>" for each line of "/sbin/pfs -l" with a text in it.
 *
 *  @param substring  text to look for, ignoring case; null or empty is in every line
 *  @return the result of pclose() for the listing, which is -1 (ECHILD) when the handler that
 *          process_start() installs has collected it first; 0 when it could not be started
 */
TALVERA_API int pfs_forget_files(const char *substring);

/** Runs "/sbin/pfs -r <path>", also during a clearing.
 *
 *  @param path  the file
 *  @return the result of sdb_system()
 */
TALVERA_API int pfs_forget_file(const char *path) TALVERA_NONNULL(1);

/** Runs "/sbin/pfs -a <path>"; during a clearing it runs nothing and returns 1.
 *
 *  @param path  the file
 *  @return the result of sdb_system(), or 1
 */
TALVERA_API int pfs_remember_file(const char *path) TALVERA_NONNULL(1);

/** Runs "/sbin/pfs -s"; during a clearing it runs nothing and returns 1.
 *
 *  @return the result of sdb_system(), or 1
 */
TALVERA_API int pfs_commit(void);

/** @} */

/* ---- Random numbers -------------------------------------------------------------------------- */

/** Reads random bytes from "/dev/random", which may wait for them (random(4)).
 *
 *  @param[out] buffer  room for @p length bytes; a byte that cannot be read, as when a signal
 *                      interrupts the wait for it, becomes 0xFF
 *  @param length       bytes wanted
 *  @return 0, or -1 with errno set when the device cannot be opened
 */
TALVERA_API int rand_read(void *buffer, size_t length);

/** As rand_read(), from "/dev/urandom", which does not wait.
 *
 *  @param[out] buffer  room for @p length bytes; a byte that cannot be read becomes 0xFF
 *  @param length       bytes wanted
 *  @return as rand_read()
 */
TALVERA_API int urand_read(void *buffer, size_t length);

/** Makes a random number.
 *
 *  @return a number from "/dev/random", the first byte read being the highest; all ones, a value
 *          like any other, also when the device cannot be opened
 */
TALVERA_API uint32_t rand_generate_uint32(void);

/** As rand_generate_uint32(), from "/dev/urandom".
 *
 *  @return as rand_generate_uint32()
 */
TALVERA_API uint32_t urand_generate_uint32(void);

/* ---- Host look-up ---------------------------------------------------------------------------- */

/** Resolves a host name to the text of its first address.
 *
 *  @param name         host name, or an address as text
 *  @param[out] buffer  room for @p size bytes; empty when the look-up fails and when the address
 *                      does not fit (INET_ADDRSTRLEN bytes always do)
 *  @param size         bytes of room
 *  @return 0 when the name was found; else the result of gethostbyname_r(), or its h_errno value
 *          (such as HOST_NOT_FOUND, netdb.h)
 */
TALVERA_API int hostname_to_addr(const char *name, char *buffer, size_t size) TALVERA_NONNULL(1);

TALVERA_END_DECLS

#endif
