/** @file
 *  Named message queues: local datagram sockets (unix(7)) bound to a path.
 *
 *  @code
 *  char message[512];
 *  struct ipc_msgq *queue = ipc_msgq_createByName("/var/run/example");  // the receiver
 *  int length = queue != NULL ? ipc_msgq_receive(queue, message, sizeof message) : -1;
 *  if (length > 0) fwrite(message, 1, (size_t)length, stdout);
 *
 *  struct ipc_msgq *peer = ipc_msgq_GetByName("/var/run/example");  // a sender
 *  if (peer != NULL && ipc_msgq_send(peer, "hello", 5) != 0) perror("send");
 *  @endcode
 *
 *  The receiving daemon creates a queue under a name, which is its path in the file system; senders
 *  get a handle to the same name. Each message is one datagram, with no header of the library's
 *  own. All sockets are non-blocking.
 *
 *  Nothing ends a queue but the end of its process, and its path stays even then: the creator, or
 *  the system start-up, removes a stale path before it creates the queue anew.
 *
 *  Failures of system calls, and a null sender's handle, print a line to standard output; refused
 *  names and arguments and a lack of memory do not. Several threads may send through one handle;
 *  one reader at a time may receive.
 */
#ifndef TALVERA_IPC_MSGQ_H
#define TALVERA_IPC_MSGQ_H

#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** A receiving queue, or a sender's handle to one. A heap record. */
struct ipc_msgq {
  int32_t fd;                 /**< the socket */
  struct sockaddr_un address; /**< AF_UNIX and the name, zero-filled; used with its whole length */
};

/** Does nothing. @return 0 */
TALVERA_API int ipc_msgq_create(void);

/** Creates a receiving queue.
 *
 *  @param name  path to bind, of at most 107 characters, which must not exist; "" binds the
 *               abstract address of 108 zero bytes
 *  @return the queue; null with errno set when the name is null (EINVAL) or too long
 *          (ENAMETOOLONG), memory runs out, there is no socket ("socket create failed " is
 *          printed), or the path cannot be bound ("bind failed:<errno>:<its text>")
 */
TALVERA_API struct ipc_msgq *ipc_msgq_createByName(const char *name) TALVERA_MUST_USE;

/** Makes a sender's handle to the queue of a name. The queue need not exist yet.
 *
 *  @param name  path of the queue, of at most 107 characters
 *  @return the handle; null with errno set as for ipc_msgq_createByName(), which alone binds
 */
TALVERA_API struct ipc_msgq *ipc_msgq_GetByName(const char *name) TALVERA_MUST_USE;

/** Sends a message, without waiting: a receiver whose queue is full is a failure (EAGAIN).
 *
 *  @param queue   sender's handle; null prints "ipc_msgq_send:Invalid server details"
 *  @param buffer  @p length bytes
 *  @param length  bytes of the message
 *  @return 0; -1 with errno set, and "sendto failed.Error:<errno>:<its text>" printed
 */
TALVERA_API int ipc_msgq_send(const struct ipc_msgq *queue, const void *buffer, size_t length);

/** Waits for a message, as long as it takes, and receives it.
 *
 *  A failed wait prints two lines and gives -1: so does a signal that interrupts it (EINTR).
 *
 *  @param queue        receiving queue; null gives -1 (EINVAL)
 *  @param[out] buffer  room for @p length bytes, to which the message is cut
 *  @param length       bytes of room
 *  @return bytes received, or -1 with errno set; always -1 (EBADF) for a queue whose descriptor is
 *          FD_SETSIZE (1024) or more, although messages can be sent to it
 */
TALVERA_API int ipc_msgq_receive(const struct ipc_msgq *queue, void *buffer, size_t length);

/** Does nothing: messages are not counted.
 *
 *  @param queue  not looked at
 *  @return 0
 */
TALVERA_API int ipc_msgq_msg_count(const struct ipc_msgq *queue);

/** Does nothing: the path stays and the queue works on.
 *
 *  @param queue  not looked at
 *  @return 0
 */
TALVERA_API int ipc_msgq_delete(struct ipc_msgq *queue);

/** Does nothing: socket and record stay and the queue works on.
 *
 *  @param queue  not looked at
 *  @return 0
 */
TALVERA_API int ipc_msgq_close(struct ipc_msgq *queue);

TALVERA_END_DECLS

#endif
