/** @defgroup talvera_ipc_msgq Message queues
 *  Named datagram queues between daemons: local sockets (unix(7)) bound to a path.
 *
 *  @include ipc_msgq.c
 *
 *  The receiver creates a queue under a name, which is a path in the file system; senders get a
 *  handle for the same name. Each message is one datagram without a header. All sockets are
 *  non-blocking.
 *
 *  A queue or handle exists until its process exits: no function frees it. A queue's path remains
 *  after that and must be removed before the queue is created again.
 *
 *  Failures of socket(), bind() and sendto(), and of the wait for a message, are reported on
 *  standard output, and so is a null handle passed to ipc_msgq_send(); other failures are not.
 *  Several threads may send through one handle; one thread at a time may receive.
 *  @{ */
#ifndef TALVERA_IPC_MSGQ_H
#define TALVERA_IPC_MSGQ_H

#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** A receiving queue, or a sender's handle to one, on the heap. */
struct ipc_msgq {
  int32_t fd;                 /**< the socket */
  struct sockaddr_un address; /**< AF_UNIX and the zero-padded name; used with its full length */
};

/** Creates a receiving queue.
 *
 *  @param name  path to bind, which must not exist yet; at most 107 characters. "" binds the
 *               abstract address of 108 zero bytes
 *  @return the queue; null with errno set when the name is null (EINVAL) or too long
 *          (ENAMETOOLONG), memory runs out, the socket cannot be created ("socket create failed "
 *          is printed), or the path cannot be bound ("bind failed:<errno>:<message>")
 */
TALVERA_API struct ipc_msgq *ipc_msgq_createByName(const char *name) TALVERA_MUST_USE;

/** Creates a sender's handle to a queue. The queue need not exist yet.
 *
 *  @param name  path of the queue, at most 107 characters
 *  @return the handle; null with errno set when the name is null (EINVAL) or too long
 *          (ENAMETOOLONG), memory runs out, or the socket cannot be created
 *          ("socket create failed " is printed)
 */
TALVERA_API struct ipc_msgq *ipc_msgq_GetByName(const char *name) TALVERA_MUST_USE;

/** Sends a message without waiting; it fails with EAGAIN when the receiver's queue is full.
 *
 *  @param queue   sender's handle; null prints "ipc_msgq_send:Invalid server details" and gives -1
 *                 (EINVAL)
 *  @param data    @p length bytes
 *  @param length  number of bytes
 *  @return 0; -1 with errno set, and "sendto failed.Error:<errno>:<message>" printed, when sendto()
 *          fails
 */
TALVERA_API int ipc_msgq_send(const struct ipc_msgq *queue, const void *data, size_t length);

/** Receives a message, blocking until one arrives.
 *
 *  A failed wait prints two lines and gives -1, even when a signal interrupted it (EINTR).
 *
 *  @param queue     receiving queue; null gives -1 (EINVAL)
 *  @param[out] buf  at least @p size bytes; a longer message is truncated
 *  @param size      size of @p buf in bytes
 *  @return number of bytes received; -1 with errno set; always -1 (EBADF) for a queue whose
 *          descriptor is FD_SETSIZE (1024) or more, although messages can be sent to it
 */
TALVERA_API int ipc_msgq_receive(const struct ipc_msgq *queue, void *buf, size_t size);

/** @name Placeholders
 *  These functions do nothing: the path, the socket and the record stay, and the queue keeps
 *  working.
 *  @{ */

/** Does nothing.
 *
 *  @return 0
 */
TALVERA_API int ipc_msgq_create(void);

/** Does nothing; messages are not counted.
 *
 *  @param queue  ignored
 *  @return 0
 */
TALVERA_API int ipc_msgq_msg_count(const struct ipc_msgq *queue);

/** Does nothing.
 *
 *  @param queue  ignored
 *  @return 0
 */
TALVERA_API int ipc_msgq_delete(struct ipc_msgq *queue);

/** Does nothing.
 *
 *  @param queue  ignored
 *  @return 0
 */
TALVERA_API int ipc_msgq_close(struct ipc_msgq *queue);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
