/** @defgroup talvera_process Processes
 *  Starts, finds, signals, waits for and stops programs.
 *
 *  @include process.c
 *
 *  Messages go to syslog: failures to start at LOG_ERR, failed signals at LOG_WARNING, and starts,
 *  stops and time-outs at LOG_DEBUG. Except for the functions that find processes, results are 0,
 *  the errno value of the failed system call, or one of enum process_result. A process ID below 2
 *  is never signalled.
 *
 *  Every call to process_start() installs a SIGCHLD handler, in place of the program's own, that
 *  reaps every child of this process that has exited, however it was started. A program that waits
 *  for its own children elsewhere must expect ECHILD.
 *  @{ */
#ifndef TALVERA_PROCESS_H
#define TALVERA_PROCESS_H

#include <signal.h>
#include <sys/types.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

union sigval; /* in <signal.h>, which hides it in strict C99 mode */

/** Results that are not errno values of a failed call. */
enum process_result {
  PROCESS_TIMEOUT = 62,   /**< the process is still there; the value of ETIME on Linux */
  PROCESS_INVALID = 2002, /**< the process ID is below 2 */
};

/** Starts a program as a child in its own process group, without waiting for it.
 *
 *  A child that cannot execute the program logs that and exits with status 0; one that cannot set
 *  @p env exits with status 0 without logging. The caller cannot tell either from a normal exit.
 *
 *  When setpgid() fails in the child, this function also returns in the child, with the errno of
 *  setpgid() and the program not executed, and the child continues in the caller's code. A caller
 *  that must not run twice compares getpid() before and after.
 *
 *  @param[out] pid  the child's process ID; may be null
 *  @param path      the program; PATH is not searched
 *  @param argv      null-terminated arguments, the program's name first
 *  @param env       null-terminated list of "NAME=value" added to the environment that the child
 *                   inherits, replacing existing values; strings without "=" are skipped; may be
 *                   null
 *  @return 0, or the errno of fork()
 */
TALVERA_API int process_start(pid_t *pid, const char *path, char *const argv[], char *const env[])
    TALVERA_NONNULL(2, 3);

/** Finds processes by program name, using pidof.
 *
 *  @param name       name or path of the program; the part after the last "/" is inserted unquoted
 *                    into a shell command: never pass untrusted input
 *  @param[out] pids  array of @p capacity process IDs: zeroed, then filled in pidof's order
 *  @param capacity   maximum number of process IDs
 *  @return number found, 0 to @p capacity; also 0 when pidof cannot be run
 */
TALVERA_API int process_find_all(const char *name, pid_t *pids, int capacity) TALVERA_NONNULL(1);

/** Finds a process by program name, using pidof.
 *
 *  @param name  as for process_find_all()
 *  @return the first process ID that process_find_all() finds, or 0
 */
TALVERA_API pid_t process_find(const char *name) TALVERA_NONNULL(1);

/** Reads a pid file.
 *
 *  @param path  file that begins with a process ID in decimal
 *  @return the process ID; 0 when there is no such file, it does not begin with a number, or the
 *          process does not exist
 */
TALVERA_API pid_t process_get_from_file(const char *path) TALVERA_NONNULL(1);

/** Sends a signal with kill().
 *
 *  @param pid     the process
 *  @param signal  signal number
 *  @return 0; PROCESS_INVALID with nothing sent; or the errno of kill(), such as ESRCH
 */
TALVERA_API int process_signal(pid_t pid, int signal);

/** Sends a signal with a value, with sigqueue().
 *
 *  @param pid     the process
 *  @param signal  signal number
 *  @param value   integer or pointer for the receiver's handler
 *  @return 0; PROCESS_INVALID with nothing sent; or the errno of sigqueue()
 */
TALVERA_API int process_queue_signal(pid_t pid, int signal, union sigval value);

/** Waits until a process is gone, polling ten times a second. Signals do not shorten the wait.
 *
 *  The process need not be a child; a zombie counts as running until it is reaped.
 *
 *  @param pid      the process
 *  @param seconds  time-out; 0 or less polls once
 *  @return 0 when the process is gone; PROCESS_TIMEOUT when it is still there
 */
TALVERA_API int process_wait(pid_t pid, int seconds);

/** Stops a process: SIGTERM, then SIGKILL if it is still there after 3 seconds.
 *
 *  A process that is a child of the caller is reaped at the end. Until then its zombie looks alive:
 *  unless something else reaps it (for example the process_start() handler), the result is
 *  PROCESS_TIMEOUT.
 *
 *  @param pid  the process
 *  @return 0 when it has ended; PROCESS_INVALID; PROCESS_TIMEOUT when it is still there a second
 *          after SIGKILL; or the errno of the kill() that failed (ESRCH: already gone)
 */
TALVERA_API int process_stop(pid_t pid);

TALVERA_END_DECLS

#endif
/** @} */
