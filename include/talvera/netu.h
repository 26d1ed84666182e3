/** @defgroup talvera_netu Network
 *  IPv4 address arithmetic, address conversion, interface statistics and the duplicate-address
 *  probe.
 *
 *  @include netu.c
 *
 *  An address string is what the C library's inet_pton() (POSIX) accepts; libraries differ on
 *  leading zeros, as in 192.168.001.1. Addresses held as numbers are unsigned 32-bit values in
 *  network byte order, which on the big-endian gateway is also host byte order.
 *
 *  Nothing here keeps state. The ARP probe logs a failed fork(), and interface statistics log
 *  attributes that cannot be read, as sysfs_get_attr() does.
 *  @{ */
#ifndef TALVERA_NETU_H
#define TALVERA_NETU_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name IPv4 address arithmetic
 *  @{ */

/** Result for an invalid address string. */
#define NETU_INVALID_ADDRESS 2103

/** Computes the network part of an address: address AND mask.
 *
 *  @param address      address string
 *  @param mask         mask string; need not be contiguous
 *  @param[out] result  the address in network byte order; unchanged on failure
 *  @return 0; #NETU_INVALID_ADDRESS when either string is null or not a valid IPv4 address
 */
TALVERA_API int netu_calc_network(const char *address, const char *mask, uint32_t *result)
    TALVERA_NONNULL(3);

/** Computes the broadcast address: address OR NOT mask.
 *
 *  @param address      address string
 *  @param mask         mask string; need not be contiguous
 *  @param[out] result  the address in network byte order; unchanged on failure
 *  @return 0; #NETU_INVALID_ADDRESS when either string is null or not a valid IPv4 address
 */
TALVERA_API int netu_calc_broadcast(const char *address, const char *mask, uint32_t *result)
    TALVERA_NONNULL(3);

/** Computes the host part of an address: address AND NOT mask.
 *
 *  @param address      address string
 *  @param mask         mask string; need not be contiguous
 *  @param[out] result  the address in network byte order; unchanged on failure
 *  @return 0; #NETU_INVALID_ADDRESS when either string is null or not a valid IPv4 address
 */
TALVERA_API int netu_calc_host(const char *address, const char *mask, uint32_t *result)
    TALVERA_NONNULL(3);

/** Counts the set bits of a mask, contiguous or not: 255.0.255.0 gives 16.
 *
 *  @param mask  mask string
 *  @return 0 to 32; 0 when @p mask is null or not a valid IPv4 address
 */
TALVERA_API unsigned int netu_calc_subnet_prefix(const char *mask);

/** Makes a mask with the top @p prefix bits set.
 *
 *  @param prefix  prefix length, taken modulo 32: 32 gives 0, as 0 does
 *  @return the mask in host byte order (24 gives 0xFFFFFF00); htonl() gives network byte order
 */
TALVERA_API uint32_t netu_subnet_mask_from_prefix(unsigned int prefix);

/** Checks whether an address is unset.
 *
 *  @param address  address string, or null
 *  @return 1 for null, the empty string, and 0.0.0.0 in any spelling that inet_pton() accepts; 0
 *          for anything else
 */
TALVERA_API int netu_is_empty_ip4addr(const char *address);

/** @}
 *  @name Conversion
 *  @{ */

/** Converts an IPv4 address string.
 *
 *  @param address      address string
 *  @param[out] result  4 bytes in network byte order, of any alignment, written when the string is
 *                      valid; null to check only
 *  @return 1 when the string is valid; 0 when it is not, or is null
 */
TALVERA_API int netu_atoipv4(const char *address, void *result);

/** Converts an IPv6 address string (RFC 4291).
 *
 *  @param address      address string
 *  @param[out] result  16 bytes in network byte order, of any alignment, written when the string is
 *                      valid; null to check only
 *  @return 1 when the string is valid; 0 when it is not, or is null
 */
TALVERA_API int netu_atoipv6(const char *address, void *result);

/** Size of a MAC address string in bytes: 17 characters and the terminator. */
#define NETU_MAC_TEXT_SIZE 18

/** Formats a MAC address as six two-digit lower-case hexadecimal groups separated by ":".
 *
 *  @param mac       6 bytes
 *  @param[out] buf  at least #NETU_MAC_TEXT_SIZE bytes
 *  @return @p buf
 */
TALVERA_API char *netu_etoa(const unsigned char *mac, char *buf) TALVERA_NONNULL(1, 2);

/** Reads a MAC address without validating it.
 *
 *  Up to six hexadecimal numbers are read as strtoul() reads them, and the low byte of each is
 *  stored. Any one character separates two groups.
 *
 *  @param text      the string; one with fewer groups fills fewer bytes, and an empty group gives 0
 *  @param[out] mac  6 bytes; those without a group are unchanged
 *  @return @p mac
 */
TALVERA_API unsigned char *netu_atoe(const char *text, unsigned char *mac) TALVERA_NONNULL(1, 2);

/** Finds the name of an interface (SIOCGIFNAME, netdevice(7)).
 *
 *  @param index      interface index
 *  @param[out] name  at least 16 bytes (IFNAMSIZ); written on success
 *  @return 0; -1 with errno set when there is no such interface, no socket can be created for the
 *          query, or @p name is null
 */
TALVERA_API int netu_ifindex2name(unsigned int index, char *name);

/** @}
 *  @name Interface statistics
 *  @{ */

/** Counters of an interface, each named after its file in /sys/class/net/INTERFACE/statistics
 *  (Documentation/ABI/testing/sysfs-class-net-statistics in the kernel's source). The last four
 *  files are specific to the platform's drivers. */
enum netu_stat {
  NETU_RX_PACKETS,       /**< rx_packets */
  NETU_RX_BYTES,         /**< rx_bytes */
  NETU_RX_DROPPED,       /**< rx_dropped */
  NETU_RX_ERRORS,        /**< rx_errors */
  NETU_MULTICAST,        /**< multicast */
  NETU_TX_PACKETS,       /**< tx_packets */
  NETU_TX_BYTES,         /**< tx_bytes */
  NETU_TX_DROPPED,       /**< tx_dropped */
  NETU_TX_ERRORS,        /**< tx_errors */
  NETU_COLLISIONS,       /**< collisions */
  NETU_TX_ERRORED_BYTES, /**< tx-errored-bytes */
  NETU_RX_ERRORED_BYTES, /**< rx-errored-bytes */
  NETU_TX_DROPPED_BYTES, /**< tx-dropped-bytes */
  NETU_RX_DROPPED_BYTES, /**< rx-dropped-bytes */
  NETU_STAT_COUNT        /**< number of counters */
};

/** Counters, and their changes since the last reset, indexed by enum netu_stat. */
struct netu_linuxif_stats {
  uint32_t delta[NETU_STAT_COUNT];   /**< current minus base, modulo 2^32 */
  uint32_t current[NETU_STAT_COUNT]; /**< values of the last update */
  uint32_t base[NETU_STAT_COUNT];    /**< values of the last update before the last reset */
};

/** Reads one counter as a string.
 *
 *  @param ifname    interface
 *  @param index     enum netu_stat; must be below NETU_STAT_COUNT, which is not checked
 *  @param[out] buf  receives the string as sysfs_get_attr() reads it: pass a zeroed buffer
 *  @param size      maximum number of bytes to read, less than the size of @p buf
 *  @return 0, or the errno of the failure
 */
TALVERA_API int netu_ifstat_get(const char *ifname, unsigned int index, char *buf,
                                unsigned int size) TALVERA_NONNULL(1, 3);

/** Allocates a record of zeros.
 *
 *  @return the record, to be freed with netu_free_linuxif_stats(); null when memory runs out
 */
TALVERA_API struct netu_linuxif_stats *netu_alloc_linuxif_stats(void) TALVERA_MUST_USE;

/** Frees a record; null is ignored.
 *
 *  @param stats  the record
 */
TALVERA_API void netu_free_linuxif_stats(struct netu_linuxif_stats *stats);

/** Sets all counters of a record to 0.
 *
 *  @param[out] stats  the record
 *  @return 0
 */
TALVERA_API int netu_init_linuxif_stats(struct netu_linuxif_stats *stats) TALVERA_NONNULL(1);

/** Reads all counters of an interface and computes the deltas.
 *
 *  Values are converted as if by strtoul() in base 0. A counter beyond 32 bits becomes 2^32 - 1;
 *  one whose file can be opened but not read becomes 0. Intentionally, a counter whose file is
 *  missing or empty takes the value of the one before it in enum netu_stat (the first takes 0).
 *
 *  @param ifname         the interface
 *  @param[in,out] stats  the record
 *  @return 0
 */
TALVERA_API int netu_update_linuxif_stats(const char *ifname, struct netu_linuxif_stats *stats)
    TALVERA_NONNULL(1, 2);

/** Makes the current values the base and sets the deltas to 0.
 *
 *  @param[in,out] stats  the record
 *  @return 0
 */
TALVERA_API int netu_reset_linuxif_stats(struct netu_linuxif_stats *stats) TALVERA_NONNULL(1);

/** Returns one counter of a record.
 *
 *  @param stats  the record
 *  @param index  enum netu_stat for the delta, plus 14 for the current value, plus 28 for the base;
 *                must be below 42, which is not checked
 *  @return the counter
 */
TALVERA_API uint32_t netu_get_linuxif_stat(const struct netu_linuxif_stats *stats,
                                           unsigned int index) TALVERA_NONNULL(1);

/** @} */

/** Checks with one ARP probe whether another host uses an address.
 *
 *  Runs "arping -Dq -c 1 -I IFNAME ADDRESS" from the search path and blocks until it ends. A failed
 *  fork() is logged to syslog at LOG_ERR ("netu_arping_test fork failed (<error>)").
 *
 *  The SIGCHLD handler of process_start() may safely run in other threads meanwhile. A program with
 *  another SIGCHLD handler that reaps every child must block the signal in its other threads: a
 *  probe whose child such a handler has reaped gives 1.
 *
 *  @param ifname   interface to probe on
 *  @param address  address string
 *  @return 1 when the address is in use, or arping was killed or could not be waited for; 0
 *          otherwise, such as when no host replied or arping could not be started
 */
TALVERA_API int netu_arping_test(const char *ifname, const char *address) TALVERA_NONNULL(1, 2);

TALVERA_END_DECLS

#endif
/** @} */
