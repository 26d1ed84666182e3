/** @defgroup talvera_sdb System database and log
 *  Three functions that the library calls but does not define. On the gateway, a platform library
 *  defines them.
 *
 *  @include sdb.c
 *
 *  Elsewhere, a program can link `talvera_sdb`, a stand-in for development machines, which takes
 *  values from the file of "key=value" lines named by the environment variable TALVERA_SDB and logs
 *  to standard error.
 *  @{ */
#ifndef TALVERA_SDB_H
#define TALVERA_SDB_H

#include <stddef.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Levels of sdb_log(), numbered as in syslog. */
enum sdb_log_level {
  SDB_LOG_ERROR = 3,   /**< failures */
  SDB_LOG_WARNING = 4, /**< unexpected conditions */
  SDB_LOG_INFO = 6,    /**< ordinary events */
  SDB_LOG_DEBUG = 7    /**< details for troubleshooting */
};

/** Reads the value of a key.
 *
 *  @param key       name of the value, such as "system.sku"
 *  @param[out] buf  receives the value, NUL-terminated
 *  @param size      size of @p buf in bytes, terminator included
 *  @return 0; otherwise an error code for sdb_strerror()
 */
int sdb_get(const char *key, char *buf, size_t size);

/** Returns the message for an error code: one of sdb_get()'s or an errno value.
 *
 *  @param code  error code
 *  @return static string, never null
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
/** @} */
