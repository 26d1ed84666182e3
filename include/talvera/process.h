/** @file
 *  Starting, finding, signalling, waiting for and stopping programs.
 *
 *  @code
 *  char *const argv[] = {"example_daemon", "-f", NULL};
 *  char *const env[] = {"LANG=C", NULL};
 *  pid_t pid;
 *  if (process_start(&pid, "/usr/sbin/example_daemon", argv, env) == 0) {
 *    process_signal(pid, SIGHUP);
 *    process_stop(pid);
 *  }
 *  @endcode
 *
 *  Everything is logged with syslog (LOG_ERR failures to start, LOG_WARNING signal failures,
 *  LOG_DEBUG starts, stops and time-outs). Results are 0, an errno value of the failed system call,
 *  or one of the codes below. A process identifier below 2 is never signalled.
 *
 *  Every process_start() replaces the program's handler of SIGCHLD by one that collects every
 *  finished child of this process, by whatever means it was started: a program that waits for its
 *  own children elsewhere must expect them to be gone (ECHILD).
 */
#ifndef TALVERA_PROCESS_H
#define TALVERA_PROCESS_H

#include <signal.h>
#include <sys/types.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

union sigval; /* of signal.h, which strict C99 hides */

/** Results that are no errno values of a failed call. */
enum process_result {
  PROCESS_TIMEOUT = 62,   /**< the process is still there; on Linux the value of ETIME */
  PROCESS_INVALID = 2002, /**< the process identifier is below 2 */
};

/** Starts a program as a child in a process group of its own, without waiting for it.
 *
 *  A child that cannot be started ends with exit status 0, as a program that ends normally: the
 *  caller cannot tell. The failure is logged.
 *
 *  When the child cannot be given its process group, this function returns in the child as well:
 *  with the errno of setpgid(), the program not executed, and the child going on in the caller's
 *  code. A caller that must not run twice compares getpid() before and after.
 *
 *  @param[out] pid  receives the child's identifier; may be null
 *  @param path      the program, used as it is: PATH is not searched
 *  @param argv      null-terminated arguments, the program's name first
 *  @param env       null-terminated list of "NAME=value" set in the child on top of this process's
 *                   environment, an existing value being replaced; strings without "=" are skipped;
 *                   may be null
 *  @return 0, or the errno of fork()
 */
TALVERA_API int process_start(pid_t *pid, const char *path, char *const argv[], char *const env[])
    TALVERA_NONNULL(2, 3);

/** Finds the running programs of a name, with pidof.
 *
 *  @param name       name or path of the program, of which what follows the last "/" counts and
 *                    goes to the shell as it is: never pass text from outside unchecked
 *  @param[out] pids  room for @p capacity identifiers, zero-filled and then filled from the start
 *                    in pidof's order
 *  @param capacity   identifiers wanted at most
 *  @return number found, 0 to @p capacity; 0 also when pidof cannot be run
 */
TALVERA_API int process_find_all(const char *name, pid_t *pids, int capacity) TALVERA_NONNULL(1);

/** Finds a running program of a name.
 *
 *  @param name  as for process_find_all()
 *  @return the first identifier that process_find_all() finds, or 0
 */
TALVERA_API pid_t process_find(const char *name) TALVERA_NONNULL(1);

/** Reads a pid file.
 *
 *  @param path  file that begins with a process identifier in decimal
 *  @return the identifier, or 0 when there is no such file, it holds no number, or no process of
 *          that number exists
 */
TALVERA_API pid_t process_get_from_file(const char *path) TALVERA_NONNULL(1);

/** Sends a signal with kill().
 *
 *  @param pid     the process
 *  @param signal  number of the signal
 *  @return 0; PROCESS_INVALID with nothing sent; or the errno of kill(), such as ESRCH
 */
TALVERA_API int process_signal(pid_t pid, int signal);

/** Sends a signal with a value, with sigqueue().
 *
 *  @param pid     the process
 *  @param signal  number of the signal
 *  @param value   integer or pointer that the receiver's handler gets
 *  @return 0; PROCESS_INVALID with nothing sent; or the errno of sigqueue()
 */
TALVERA_API int process_queue_signal(pid_t pid, int signal, union sigval value);

/** Waits for a process to be gone, asking ten times a second. Signals do not shorten the wait.
 *
 *  Any process can be waited for, but a finished child counts as running until it is collected.
 *
 *  @param pid      the process
 *  @param seconds  time-out; 0 or less asks once
 *  @return 0 when the process is gone, PROCESS_TIMEOUT when it is still there
 */
TALVERA_API int process_wait(pid_t pid, int seconds);

/** Stops a process: SIGTERM, and SIGKILL if it is still there after 3 seconds.
 *
 *  A child of this process is collected at the end, if it has ended. Until then it looks alive: a
 *  child that nothing else collects, as the handler of process_start() does, gives PROCESS_TIMEOUT.
 *
 *  @param pid  the process
 *  @return 0 when it has ended; PROCESS_INVALID; PROCESS_TIMEOUT when it is there a second after
 *          SIGKILL; or the errno of the signal that could not be sent (ESRCH: already gone)
 */
TALVERA_API int process_stop(pid_t pid);

TALVERA_END_DECLS

#endif
