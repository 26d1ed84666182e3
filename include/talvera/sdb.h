/** @file
 *  What the host supplies: access to the gateway's system database and its log.
 *
 *  @code
 *  char sku[32];
 *  int error = sdb_get("system.sku", sku, sizeof sku);
 *  if (error != 0) sdb_log(SDB_LOG_WARNING, "no sku: %s", sdb_strerror(error));
 *  @endcode
 *
 *  The library calls these three functions and leaves them undefined; the program, or the gateway's
 *  own library, defines them. On a development machine `host/` has a provider to link.
 */
#ifndef TALVERA_SDB_H
#define TALVERA_SDB_H

#include <stddef.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Levels of sdb_log(), with the numbers of syslog's. */
enum sdb_log_level {
  SDB_LOG_ERROR = 3,   /**< something failed */
  SDB_LOG_WARNING = 4, /**< something is not as it should be */
  SDB_LOG_INFO = 6,    /**< what happens in ordinary work */
  SDB_LOG_DEBUG = 7    /**< for who looks for a fault */
};

/** Reads the value of a key.
 *
 *  @param key         name of the value, such as "system.sku"
 *  @param[out] buffer room for @p size bytes; receives the value, NUL-terminated
 *  @param size        bytes of room, terminator included
 *  @return 0 on success, else an error code that sdb_strerror() puts into words
 */
int sdb_get(const char *key, char *buffer, size_t size);

/** The text of an error code: those of sdb_get() and errno values.
 *
 *  @param code  error code
 *  @return static text, never null
 */
const char *sdb_strerror(int code);

/** Logs one line.
 *
 *  @param level   one of enum sdb_log_level
 *  @param format  printf format of the line, without a line feed
 */
void sdb_log(int level, const char *format, ...) TALVERA_PRINTF(2, 3);

TALVERA_END_DECLS

#endif
