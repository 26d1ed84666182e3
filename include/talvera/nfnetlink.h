/** @file
 *  Netfilter netlink: a client of the kernel's netfilter subsystems, and of its packet log.
 *
 *  @code
 *  #include <errno.h>
 *  #include <linux/netfilter/nfnetlink_log.h>
 *  #include <sys/time.h>
 *
 *  nfnetlink_log_handler print_packet = NULL;  // yours
 *  const struct timeval patience = {2, 0};     // a refused request would wait without end
 *  uint32_t buffer[16384];
 *  struct nfnetlink_log *log = nfnetlink_log_open();
 *  struct nfnetlink_log_group *group = NULL;
 *  if (log != NULL) {
 *    setsockopt(log->netlink->fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
 *    group = nfnetlink_log_bind_group(log, 5);
 *  }
 *  if (group != NULL) {
 *    nfnetlink_log_register_handler(group, print_packet, NULL);
 *    nfnetlink_log_setmode(group, NFULNL_COPY_PACKET, 128);
 *    for (;;) {
 *      int length = nfnetlink_receive(log->netlink, buffer, sizeof buffer);
 *      if (length >= 0)
 *        nfnetlink_msg_unpack(log->netlink, buffer, length);
 *      else if (errno == ENOBUFS)
 *        puts("packets were lost");
 *      else if (errno != EAGAIN && errno != EINTR && errno != ENOMSG)
 *        break;
 *    }
 *  }
 *  if (log != NULL) nfnetlink_log_close(log);
 *  @endcode
 *
 *  Messages are the kernel's own (<linux/netlink.h>, <linux/netfilter/nfnetlink.h>): in host byte
 *  order except where a field is said to be big-endian. A message is a struct nlmsghdr, a struct
 *  nfgenmsg (address family, version 0, big-endian resource id), then attributes, each with a
 *  struct nlattr before it and on a 4-byte boundary. A message's type is the subsystem's id shifted
 *  left by 8, plus the message type within the subsystem.
 *
 *  Null arguments are refused: results of -1, and null where a pointer is returned, come with errno
 *  set, to EINVAL in this case. A handler that ends a dispatch below 0 sets errno itself.
 *
 *  A handle and all that belongs to it is used by one thread at a time. Nothing here logs.
 */
#ifndef TALVERA_NFNETLINK_H
#define TALVERA_NFNETLINK_H

#include <stdint.h>
#include <sys/socket.h>

#include <linux/netlink.h>

#include <linux/netfilter/nfnetlink.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** Subsystems that a handle has room for; their ids go from 0 to one less. */
#define NFNETLINK_SUBSYSTEMS 17

struct nfnetlink_handle;

/** Called with a message of the type that it is registered for.
 *
 *  @param message     the message, in the buffer that was dispatched
 *  @param attributes  the attribute table: entry n-1 points to the last attribute of type n, or is
 *                     null; it has as many entries as the callback's attribute_count
 *  @param data        the callback's data pointer
 *  @return above 0 to go on with the next message, 0 to stop with success, negative to stop with
 *          failure
 */
typedef int (*nfnetlink_handler)(const struct nlmsghdr *message,
                                 const struct nlattr *const *attributes, void *data);

/** What is done with one message type of a subsystem. Filled in by whoever opened the subsystem. */
struct nfnetlink_callback {
  nfnetlink_handler handler; /**< null: messages of the type are skipped */
  void *data;                /**< given to the handler */
  uint16_t attribute_count;  /**< entries of the attribute table; 0: the type is skipped */
};

/** A subsystem slot of a handle. */
struct nfnetlink_subsys {
  struct nfnetlink_handle *handle;      /**< the handle that the slot belongs to */
  uint32_t subscriptions;               /**< multicast groups wanted, as a mask */
  uint8_t id;                           /**< subsystem id */
  uint8_t callback_count;               /**< entries of callbacks; 0 while the slot is free */
  struct nfnetlink_callback *callbacks; /**< heap array, by message type; null while free */
};

/** A netlink socket with its subsystems. Made by nfnetlink_open(). */
struct nfnetlink_handle {
  int32_t fd;               /**< the socket */
  struct sockaddr_nl local; /**< own address: the port id that the kernel gave, joined groups */
  struct sockaddr_nl peer;  /**< the kernel's address */
  uint32_t sequence;        /**< sequence number of the last request; count up before each */
  struct nfnetlink_subsys subsystems[NFNETLINK_SUBSYSTEMS]; /**< by subsystem id */
};

/* ---- Handles and subsystems ------------------------------------------------------------------ */

/** Opens a netfilter netlink socket and binds it to a port id of the kernel's choice.
 *
 *  Sequence numbers start at time().
 *
 *  @return a handle to release with nfnetlink_close(), or null with errno set
 */
TALVERA_API struct nfnetlink_handle *nfnetlink_open(void) TALVERA_MUST_USE;

/** Joins the multicast groups that the subsystems of @p handle want.
 *
 *  Groups are only ever added: closing a subsystem does not leave its groups.
 *
 *  @param handle  the handle
 *  @return 0; -1 with errno set when binding fails, the groups then being those of before; -1 for
 *          null
 */
TALVERA_API int nfnetlink_rebind(struct nfnetlink_handle *handle);

/** Takes a subsystem's slot, with an empty callback table, and joins its groups.
 *
 *  @param handle          the handle
 *  @param id              subsystem id, of which the low 8 bits count
 *  @param callback_count  number of message types, of which the low 8 bits count
 *  @param subscriptions   multicast groups to join, as a mask
 *  @return the slot, which stays the handle's; null with errno set when @p handle is null, the id
 *          is 17 or more, the slot is in use, memory runs out or the groups cannot be joined
 */
TALVERA_API struct nfnetlink_subsys *nfnetlink_subsys_open(struct nfnetlink_handle *handle,
                                                           unsigned int id,
                                                           unsigned int callback_count,
                                                           uint32_t subscriptions);

/** Frees a slot's callback table and clears the slot.
 *
 *  @param[in,out] subsys  the slot
 *  @return 0; -1 for null
 */
TALVERA_API int nfnetlink_subsys_close(struct nfnetlink_subsys *subsys);

/** Closes all subsystems and the socket, and frees the handle.
 *
 *  A socket with descriptor 0 is left open, which is meant: 0 counts as no socket.
 *
 *  @param handle  the handle
 *  @return 0; -1 for null
 */
TALVERA_API int nfnetlink_close(struct nfnetlink_handle *handle);

/* ---- Requests -------------------------------------------------------------------------------- */

/** Appends to a message under construction, which begins with its nlmsg_len set to 0.
 *
 *  The first piece is the netlink header; its own length field (normally 16) becomes the message's
 *  length. Each later piece (the general header, then every attribute, header and payload together)
 *  goes to the message's end, and the length grows by the piece's, rounded up to a multiple of 4.
 *  The bytes of the rounding are not written, and nothing checks the buffer's size.
 *
 *  @param[in,out] message  buffer of the caller's, large enough, and zeroed
 *  @param data             the piece
 *  @param length           its bytes, not rounded
 *  @return 0; -1 when @p message or @p data is null
 */
TALVERA_API int nfnetlink_msg_pack(struct nlmsghdr *message, const void *data, unsigned int length);

/** Sends a message to the kernel.
 *
 *  @param handle   the handle
 *  @param message  a whole message, nlmsg_len bytes
 *  @return bytes sent; -1 with errno set; -1 when an argument is null
 */
TALVERA_API int nfnetlink_send(struct nfnetlink_handle *handle, const struct nlmsghdr *message);

/** Sends a message and dispatches what arrives until the kernel has acknowledged it.
 *
 *  Blocks. An error reply of the kernel's is not told: the wait goes on after it, and ends with
 *  whatever comes next. Of a datagram 8192 bytes are received, and the rest is lost. After any
 *  other end than an acknowledgement that of this request may still be to come.
 *
 *  @param handle   the handle
 *  @param message  a whole message, nlmsg_len bytes, that asks for an acknowledgement
 *  @return 0 when the kernel acknowledged, or a datagram came without a whole first message; the
 *          result of a handler that stopped the dispatch; -1 when sending, receiving (other than
 *          for a signal) or dispatching fails, when a datagram's first message has a sequence
 *          number that is neither 0 nor the handle's (EPROTO), or an argument is null
 */
TALVERA_API int nfnetlink_send_wait_ack(struct nfnetlink_handle *handle,
                                        const struct nlmsghdr *message);

/* ---- Reception ------------------------------------------------------------------------------- */

/** Receives one datagram of messages from the kernel.
 *
 *  @param handle       the handle
 *  @param[out] buffer  room for @p length bytes, aligned for a struct nlmsghdr
 *  @param length       its size; what is longer is cut
 *  @return bytes received; -1 with errno set, to ENOMSG when the sender is not the kernel; -1 when
 *          an argument is null
 */
TALVERA_API int nfnetlink_receive(struct nfnetlink_handle *handle, void *buffer,
                                  unsigned int length);

/** Calls the handlers of the messages in a buffer, one after the other.
 *
 *  - An acknowledgement (type 2, error number 0) ends the dispatch with 0. So does the end of a
 *    multi-part answer (type 3 with NLM_F_MULTI, number 0).
 *  - With another number they are passed over. Error replies of the kernel's are thus not told.
 *  - A message whose callback has no handler or attribute count is passed over.
 *  - Otherwise its handler is called, and ends the dispatch with its result if that is below 1.
 *  - A message that is too short (EBADMSG), or of an unknown subsystem or a type beyond the
 *    subsystem's callbacks (EOPNOTSUPP) ends the dispatch with -1.
 *
 *  Nothing is read beyond @p length, whatever the messages say. A rest that is no whole message is
 *  left alone.
 *
 *  @param handle  the handle
 *  @param buffer  what was received, aligned as handlers need it (4 bytes for struct nlmsghdr)
 *  @param length  bytes received
 *  @return the result that ended the dispatch; at the end of the buffer that of the last message,
 *          which is 1 for one passed over; 0 when the buffer does not hold a first message; -1 when
 *          @p handle or @p buffer is null, or memory runs out for a table of more than 64
 *          attributes
 */
TALVERA_API int nfnetlink_msg_unpack(struct nfnetlink_handle *handle, const void *buffer,
                                     int length);

/** Builds the table of a message's attributes.
 *
 *  Entry n-1 gets the last attribute of type n, the top bit of the type field not counting.
 *  Attributes of type 0 and of types beyond the table are ignored; reading stops at the
 *  first attribute that is shorter than its header or longer than what is left.
 *
 *  @param[out] table  receives pointers into the message, null for what it does not have
 *  @param table_size  entries of @p table
 *  @param first       the first attribute
 *  @param length      bytes of attributes; below 1 for none
 *  @return 0; -1 when @p table or @p first is null or @p table_size below 1
 */
TALVERA_API int nfnetlink_msg_parse_attr(const struct nlattr **table, int table_size,
                                         const struct nlattr *first, int length);

/** @name The packet log
 *  Packets that a firewall rule sends to a log group (iptables' NFLOG target) are delivered to the
 *  program that has bound the group (<linux/netfilter/nfnetlink_log.h>). A program opens a log
 *  handle, binds groups, sets what is copied of each packet and registers a handler for each group;
 *  then it calls nfnetlink_receive() and nfnetlink_msg_unpack() with the log handle's netlink
 *  handle.
 *
 *  Behind several packets in one datagram the kernel puts a message of type 3 without NLM_F_MULTI:
 *  nfnetlink_msg_unpack() then gives -1, after the handlers have seen all of the packets.
 *
 *  Each request waits for the kernel's acknowledgement as nfnetlink_send_wait_ack() does, with what
 *  that says about errors that the kernel replies: a refused request does not return, unless
 *  SO_RCVTIMEO is set on the netlink handle's socket.
 *
 *  Packets that arrive meanwhile are dispatched. One for a group without handler, one whose handler
 *  stops the dispatch and several in one datagram end the wait; what else is there up to the
 *  kernel's answer is then dispatched as well, so that the next request finds nothing left over.
 *  Groups are bound and unbound as the kernel has answered. The other requests give the result of
 *  the wait, even if the kernel has acknowledged them, and can be repeated.
 *  @{ */

/** Entries of the attribute table of a packet: types NFULA_PACKET_HDR (1) to 17 are seen. */
#define NFNETLINK_LOG_ATTRIBUTES 17

struct nfnetlink_log;
struct nfnetlink_log_group;

/** Called with a packet logged to a group.
 *
 *  @param group       the group's node
 *  @param header      the message's general header: address family, group as big-endian res_id
 *  @param attributes  what is known of the packet, for nfnetlink_log_nfa_get_ptr()
 *  @param data        as registered
 *  @return as nfnetlink_handler
 */
typedef int (*nfnetlink_log_handler)(struct nfnetlink_log_group *group,
                                     const struct nfgenmsg *header,
                                     const struct nlattr *const *attributes, void *data);

/** A bound log group. Made by nfnetlink_log_bind_group(), owned by its log handle. */
struct nfnetlink_log_group {
  struct nfnetlink_log_group *next; /**< bound before this one */
  struct nfnetlink_log *log;        /**< the log handle that the group is bound on */
  uint16_t number;                  /**< group number */
  nfnetlink_log_handler handler;    /**< null until registered */
  void *data;                       /**< given to the handler */
};

/** A packet-log client. Made by nfnetlink_log_open(). */
struct nfnetlink_log {
  struct nfnetlink_handle *netlink;   /**< its netlink handle */
  struct nfnetlink_subsys *subsys;    /**< the packet-log subsystem's slot */
  struct nfnetlink_log_group *groups; /**< newest first */
};

/** @return a log handle to release with nfnetlink_log_close(), or null with errno set */
TALVERA_API struct nfnetlink_log *nfnetlink_log_open(void) TALVERA_MUST_USE;

/** Frees the log handle with its groups and closes its socket. No unbind requests are sent: the
 *  kernel drops the groups with the socket.
 *
 *  @param log  the log handle
 *  @return 0
 */
TALVERA_API int nfnetlink_log_close(struct nfnetlink_log *log) TALVERA_NONNULL(1);

/** Asks the kernel to log packets of a protocol family through this subsystem.
 *
 *  @param log     the log handle
 *  @param family  such as AF_INET; its low 8 bits are sent
 *  @return 0; below 0 on failure; -1 for a null @p log
 */
TALVERA_API int nfnetlink_log_bind_pf(struct nfnetlink_log *log, unsigned int family);

/** Takes nfnetlink_log_bind_pf() back.
 *
 *  @param log     the log handle
 *  @param family  such as AF_INET; its low 8 bits are sent
 *  @return as nfnetlink_log_bind_pf()
 */
TALVERA_API int nfnetlink_log_unbind_pf(struct nfnetlink_log *log, unsigned int family);

/** Binds a log group to this client.
 *
 *  @param log    the log handle
 *  @param group  group number, of which the low 16 bits count
 *  @return the group's node; null with errno set when the group is bound on this handle already
 *          (EBUSY; nothing is sent then), when @p log is null, or on failure
 */
TALVERA_API struct nfnetlink_log_group *nfnetlink_log_bind_group(struct nfnetlink_log *log,
                                                                 unsigned int group);

/** Sets a group's handler, in place of any earlier one.
 *
 *  @param group    the group's node
 *  @param handler  called with each packet of the group
 *  @param data     given to the handler
 *  @return 0; -1 for a null @p group
 */
TALVERA_API int nfnetlink_log_register_handler(struct nfnetlink_log_group *group,
                                               nfnetlink_log_handler handler, void *data);

/** Unbinds a group and frees its node.
 *
 *  A node that is not on its log handle's list is not freed.
 *
 *  @param group  the group's node
 *  @return 0; -1 when the request fails, the node then staying as it is, and for null
 */
TALVERA_API int nfnetlink_log_unbind_group(struct nfnetlink_log_group *group);

/** Sets how much of each packet of a group is copied to the program.
 *
 *  @param group  the group's node
 *  @param mode   NFULNL_COPY_NONE (0), _META (1) or _PACKET (2); the low 8 bits are sent
 *  @param range  greatest number of bytes of the packet
 *  @return 0; -1 on failure and for a null @p group
 */
TALVERA_API int nfnetlink_log_setmode(struct nfnetlink_log_group *group, unsigned int mode,
                                      uint32_t range);

/** Finds an attribute of a logged packet.
 *
 *  @param attributes  the table that a nfnetlink_log_handler was given
 *  @param type        attribute type (enum nfulnl_attr_type), of which the low 16 bits count
 *  @return the payload, in the message; null when the packet has no such attribute, the type is 0
 *          or above #NFNETLINK_LOG_ATTRIBUTES, or @p attributes is null
 */
TALVERA_API const void *nfnetlink_log_nfa_get_ptr(const struct nlattr *const *attributes,
                                                  unsigned int type);

/** @} */

TALVERA_END_DECLS

#endif
