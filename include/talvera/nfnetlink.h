/** @defgroup talvera_nfnetlink Netfilter netlink
 *  A client of the kernel's netfilter subsystems, and of its packet log.
 *
 *  @include nfnetlink.c
 *
 *  Messages are the kernel's own (<linux/netlink.h>, <linux/netfilter/nfnetlink.h>), in host byte
 *  order except for fields stated to be big-endian. A message is a struct nlmsghdr, a struct
 *  nfgenmsg (address family, version 0, big-endian resource ID), then attributes on 4-byte
 *  boundaries, each a struct nlattr and a payload. The type of a message is the subsystem ID
 *  shifted left by 8, plus the message type within the subsystem.
 *
 *  A function that returns -1, or null where it returns a pointer, sets errno, to EINVAL for a null
 *  argument; only nfnetlink_log_nfa_get_ptr() leaves it unchanged. A handler that ends a dispatch
 *  with a negative result must set errno itself.
 *
 *  A handle and everything that belongs to it must be used by one thread at a time. Nothing here
 *  logs.
 *  @{ */
#ifndef TALVERA_NFNETLINK_H
#define TALVERA_NFNETLINK_H

#include <stdint.h>
#include <sys/socket.h>

#include <linux/netlink.h>

#include <linux/netfilter/nfnetlink.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Handles and subsystems
 *  @{ */

/** Number of subsystem slots of a handle; subsystem IDs are below it. */
#define NFNETLINK_SUBSYSTEMS 17

struct nfnetlink_handle;

/** Handles a message of the type it is registered for.
 *
 *  @param message     the message, in the dispatched buffer
 *  @param attributes  attribute table with attribute_count entries: entry n-1 points to the last
 *                     attribute of type n, or is null
 *  @param data        data pointer of the callback
 *  @return positive to continue with the next message, 0 to stop with success, negative to stop
 *          with failure
 */
typedef int (*nfnetlink_handler)(const struct nlmsghdr *message,
                                 const struct nlattr *const *attributes, void *data);

/** Callback for one message type of a subsystem. Filled in by whoever opened the subsystem. */
struct nfnetlink_callback {
  nfnetlink_handler handler; /**< null: the type is skipped */
  void *data;                /**< passed to the handler */
  uint16_t attribute_count;  /**< size of the attribute table; 0: the type is skipped */
};

/** A subsystem slot of a handle. */
struct nfnetlink_subsys {
  struct nfnetlink_handle *handle;      /**< the handle it belongs to */
  uint32_t subscriptions;               /**< multicast groups, as a mask */
  uint8_t id;                           /**< subsystem ID */
  uint8_t callback_count;               /**< size of callbacks; 0 while the slot is free */
  struct nfnetlink_callback *callbacks; /**< heap array by message type; null while free */
};

/** A netlink socket and its subsystems. Made by nfnetlink_open(). */
struct nfnetlink_handle {
  int32_t fd;               /**< the socket */
  struct sockaddr_nl local; /**< own address: port ID given by the kernel, joined groups */
  struct sockaddr_nl peer;  /**< the kernel's address */
  uint32_t sequence;        /**< sequence number of the last request; increment before each */
  struct nfnetlink_subsys subsystems[NFNETLINK_SUBSYSTEMS]; /**< by subsystem ID */
};

/** Opens a netfilter netlink socket and binds it to a port ID chosen by the kernel.
 *
 *  Sequence numbers start at the current time, as from time().
 *
 *  @return a handle, to be closed with nfnetlink_close(); null with errno set on failure
 */
TALVERA_API struct nfnetlink_handle *nfnetlink_open(void) TALVERA_MUST_USE;

/** Joins the multicast groups of all subsystems of a handle.
 *
 *  Groups are only ever added: closing a subsystem does not leave its groups.
 *
 *  @param handle  the handle
 *  @return 0; -1 with errno set, and the groups unchanged, when binding fails; -1 for null
 */
TALVERA_API int nfnetlink_rebind(struct nfnetlink_handle *handle);

/** Opens a subsystem, with an empty callback table, and joins its groups.
 *
 *  @param handle          the handle
 *  @param id              subsystem ID; only the low 8 bits count
 *  @param callback_count  number of message types; only the low 8 bits count
 *  @param subscriptions   multicast groups to join, as a mask
 *  @return the slot, owned by the handle; null with errno set when @p handle is null, the ID is 17
 *          or more, the slot is in use, memory runs out or the groups cannot be joined
 */
TALVERA_API struct nfnetlink_subsys *nfnetlink_subsys_open(struct nfnetlink_handle *handle,
                                                           unsigned int id,
                                                           unsigned int callback_count,
                                                           uint32_t subscriptions);

/** Closes a subsystem: frees its callback table and clears the slot.
 *
 *  @param[in,out] subsys  the slot
 *  @return 0; -1 for null
 */
TALVERA_API int nfnetlink_subsys_close(struct nfnetlink_subsys *subsys);

/** Closes all subsystems and the socket, and frees the handle.
 *
 *  Intentionally, a socket with descriptor 0 is left open: 0 counts as no socket.
 *
 *  @param handle  the handle
 *  @return 0; -1 for null
 */
TALVERA_API int nfnetlink_close(struct nfnetlink_handle *handle);

/** @}
 *  @name Requests
 *  @{ */

/** Appends a piece to a message, whose nlmsg_len must be 0 at first.
 *
 *  The first piece is the netlink header; its own length field (normally 16) becomes the message's
 *  length. Each later piece (the nfgenmsg header, then every attribute, header and payload
 *  together) goes to the end, and the length grows by the piece's, rounded up to a multiple of 4.
 *  The padding bytes are not written, and the size of the buffer is not checked.
 *
 *  @param[in,out] message  the caller's buffer, large enough, and zeroed
 *  @param data             the piece: @p length bytes
 *  @param length           number of bytes, without padding
 *  @return 0; -1 when @p message or @p data is null
 */
TALVERA_API int nfnetlink_msg_pack(struct nlmsghdr *message, const void *data, unsigned int length);

/** Sends a message to the kernel.
 *
 *  @param handle   the handle
 *  @param message  a complete message, nlmsg_len bytes
 *  @return number of bytes sent; -1 with errno set on failure and when an argument is null
 */
TALVERA_API int nfnetlink_send(struct nfnetlink_handle *handle, const struct nlmsghdr *message);

/** Sends a message and dispatches what arrives until the kernel has acknowledged it.
 *
 *  Blocks. Kernel error replies are not reported: the wait continues after one, until something
 *  else ends it. Datagrams are truncated to 8192 bytes. When the wait ends without an
 *  acknowledgement, that of this request may still arrive later.
 *
 *  @param handle   the handle
 *  @param message  a complete message, nlmsg_len bytes, that requests an acknowledgement
 *  @return 0 when the kernel acknowledged the message, a multi-part reply ended, or a datagram had
 *          no complete first message; the result of a handler that stopped the dispatch; -1 when
 *          sending, receiving (unless interrupted by a signal) or dispatching fails, when the first
 *          message of a datagram has a sequence number that is neither 0 nor the handle's (EPROTO),
 *          or when an argument is null
 */
TALVERA_API int nfnetlink_send_wait_ack(struct nfnetlink_handle *handle,
                                        const struct nlmsghdr *message);

/** @}
 *  @name Reception
 *  @{ */

/** Receives one datagram of messages from the kernel.
 *
 *  @param handle    the handle
 *  @param[out] buf  at least @p size bytes, aligned for a struct nlmsghdr
 *  @param size      size of @p buf in bytes; a longer datagram is truncated
 *  @return number of bytes received; -1 with errno set, to ENOMSG when the sender is not the
 *          kernel; -1 when an argument is null
 */
TALVERA_API int nfnetlink_receive(struct nfnetlink_handle *handle, void *buf, unsigned int size);

/** Calls the handlers of the messages in a buffer, in order.
 *
 *  - An acknowledgement (NLMSG_ERROR with error 0) ends the dispatch with 0, and so does the end of
 *    a multi-part reply (NLMSG_DONE with NLM_F_MULTI and error 0).
 *  - With another error these messages are skipped: kernel error replies are not reported.
 *  - A message whose callback has no handler or no attribute count is skipped.
 *  - When the callback has both, the handler is called, and a result below 1 ends the dispatch.
 *  - A message that is too short (EBADMSG), or of an unknown subsystem or a type beyond the
 *    subsystem's callbacks (EOPNOTSUPP), ends the dispatch with -1.
 *
 *  Nothing past @p length is read, whatever lengths the messages state. A trailing partial message
 *  is ignored.
 *
 *  @param handle  the handle
 *  @param data    received bytes, aligned as handlers need them (4 bytes for struct nlmsghdr)
 *  @param length  number of bytes
 *  @return the result that ended the dispatch; at the end of the buffer, that of the last message,
 *          which is 1 for a skipped one; 0 when the buffer has no complete first message; -1 when
 *          @p handle or @p data is null, or memory runs out for a table of more than 64 attributes
 */
TALVERA_API int nfnetlink_msg_unpack(struct nfnetlink_handle *handle, const void *data, int length);

/** Builds the attribute table of a message.
 *
 *  Entry n-1 gets the last attribute of type n; the top bit of the type field is ignored.
 *  Attributes of type 0 and of types beyond the table are ignored; parsing stops at the first
 *  attribute that is shorter than its header or longer than the remaining bytes.
 *
 *  @param[out] table  pointers into the message; null for types that it does not have
 *  @param table_size  number of entries of @p table
 *  @param first       the first attribute
 *  @param length      number of bytes of attributes; below 1 for none
 *  @return 0; -1 when @p table or @p first is null or @p table_size is below 1
 */
TALVERA_API int nfnetlink_msg_parse_attr(const struct nlattr **table, int table_size,
                                         const struct nlattr *first, int length);

/** @}
 *  @name Packet log
 *  Packets that a firewall rule sends to a log group (iptables' NFLOG target) are delivered to the
 *  program that has bound the group (<linux/netfilter/nfnetlink_log.h>). A program opens a log
 *  handle, binds groups, sets how much of each packet is copied and registers a handler per group;
 *  then it calls nfnetlink_receive() and nfnetlink_msg_unpack() with the log handle's netlink
 *  handle.
 *
 *  The kernel ends a datagram of several packets with an NLMSG_DONE message without NLM_F_MULTI:
 *  nfnetlink_msg_unpack() then returns -1, after the handlers have seen all of the packets.
 *
 *  Each request waits for the kernel's acknowledgement as nfnetlink_send_wait_ack() does: if the
 *  kernel rejects it, the function does not return until something else ends the wait, such as a
 *  time-out set with SO_RCVTIMEO on the netlink handle's socket.
 *
 *  Packets that arrive during the wait are dispatched. A packet for a group without a handler, a
 *  packet whose handler stops the dispatch, and several packets in one datagram end the wait;
 *  pending datagrams up to the kernel's reply are then dispatched as well, so nothing stale is left
 *  for the next request. nfnetlink_log_bind_group() and nfnetlink_log_unbind_group() return the
 *  kernel's result when its reply is found; the other requests return the result of the wait, even
 *  if the kernel acknowledged them, and may be retried. A handler must not close the log during a
 *  request.
 *  @{ */

/** Size of the attribute table of a packet: types NFULA_PACKET_HDR (1) to 17. */
#define NFNETLINK_LOG_ATTRIBUTES 17

struct nfnetlink_log;
struct nfnetlink_log_group;

/** Handles a packet logged to a group.
 *
 *  @param group       the group
 *  @param header      nfgenmsg header of the message: address family, group as big-endian res_id
 *  @param attributes  attributes of the packet, for nfnetlink_log_nfa_get_ptr()
 *  @param data        data pointer, as registered
 *  @return as for nfnetlink_handler
 */
typedef int (*nfnetlink_log_handler)(struct nfnetlink_log_group *group,
                                     const struct nfgenmsg *header,
                                     const struct nlattr *const *attributes, void *data);

/** A bound log group. Made by nfnetlink_log_bind_group(), owned by its log handle. */
struct nfnetlink_log_group {
  struct nfnetlink_log_group *next; /**< the group bound before this one */
  struct nfnetlink_log *log;        /**< the log handle it belongs to */
  uint16_t number;                  /**< group number */
  nfnetlink_log_handler handler;    /**< null until registered */
  void *data;                       /**< passed to the handler */
};

/** A packet-log client. Made by nfnetlink_log_open(). */
struct nfnetlink_log {
  struct nfnetlink_handle *netlink;   /**< its netlink handle */
  struct nfnetlink_subsys *subsys;    /**< slot of the packet-log subsystem */
  struct nfnetlink_log_group *groups; /**< newest first */
};

/** Opens a log handle.
 *
 *  @return the handle, to be closed with nfnetlink_log_close(); null with errno set on failure
 */
TALVERA_API struct nfnetlink_log *nfnetlink_log_open(void) TALVERA_MUST_USE;

/** Closes the socket of a log handle and frees the handle and its groups. No unbind requests are
 *  sent: the kernel drops the groups with the socket.
 *
 *  @param log  the log handle
 *  @return 0
 */
TALVERA_API int nfnetlink_log_close(struct nfnetlink_log *log) TALVERA_NONNULL(1);

/** Asks the kernel to log packets of a protocol family through this subsystem.
 *
 *  @param log     the log handle
 *  @param family  such as AF_INET; only the low 8 bits are sent
 *  @return 0; negative on failure; -1 for a null @p log
 */
TALVERA_API int nfnetlink_log_bind_pf(struct nfnetlink_log *log, unsigned int family);

/** Reverses nfnetlink_log_bind_pf().
 *
 *  @param log     the log handle
 *  @param family  such as AF_INET; only the low 8 bits are sent
 *  @return 0; negative on failure; -1 for a null @p log
 */
TALVERA_API int nfnetlink_log_unbind_pf(struct nfnetlink_log *log, unsigned int family);

/** Binds a log group to this client.
 *
 *  @param log    the log handle
 *  @param group  group number; only the low 16 bits count
 *  @return the group; null with errno set when it is already bound on this handle (EBUSY, with
 *          nothing sent), when @p log is null, or on failure
 */
TALVERA_API struct nfnetlink_log_group *nfnetlink_log_bind_group(struct nfnetlink_log *log,
                                                                 unsigned int group);

/** Sets the handler of a group, replacing any earlier one.
 *
 *  @param group    the group
 *  @param handler  called with each packet of the group
 *  @param data     passed to the handler
 *  @return 0; -1 for a null @p group
 */
TALVERA_API int nfnetlink_log_register_handler(struct nfnetlink_log_group *group,
                                               nfnetlink_log_handler handler, void *data);

/** Unbinds a group and frees it.
 *
 *  A group that is not on its log handle's list is not freed.
 *
 *  @param group  the group
 *  @return 0; -1 when the request fails, with the group unchanged, and for null
 */
TALVERA_API int nfnetlink_log_unbind_group(struct nfnetlink_log_group *group);

/** Sets how much of each packet of a group is copied to the program.
 *
 *  @param group  the group
 *  @param mode   NFULNL_COPY_NONE, NFULNL_COPY_META or NFULNL_COPY_PACKET; only the low 8 bits are
 *                sent
 *  @param range  maximum number of bytes of the packet
 *  @return 0; -1 on failure and for a null @p group
 */
TALVERA_API int nfnetlink_log_setmode(struct nfnetlink_log_group *group, unsigned int mode,
                                      uint32_t range);

/** Finds an attribute of a logged packet.
 *
 *  @param attributes  table passed to the nfnetlink_log_handler
 *  @param type        attribute type (enum nfulnl_attr_type); only the low 16 bits count
 *  @return the payload, in the message; null when the packet has no such attribute, the type is 0
 *          or above #NFNETLINK_LOG_ATTRIBUTES, or @p attributes is null
 */
TALVERA_API const void *nfnetlink_log_nfa_get_ptr(const struct nlattr *const *attributes,
                                                  unsigned int type);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
