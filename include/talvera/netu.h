/** @file
 *  IPv4 address arithmetic, conversion of addresses, interface statistics, and the ARP probe.
 *
 *  @code
 *  uint32_t network;
 *  struct netu_linuxif_stats *stats = netu_alloc_linuxif_stats();
 *  if (netu_calc_network("192.168.1.77", "255.255.255.0", &network) != 0) puts("no address");
 *  if (stats != NULL) {
 *    netu_update_linuxif_stats("eth0", stats);
 *    printf("%u bytes received\n", (unsigned)stats->current[NETU_RX_BYTES]);
 *    netu_free_linuxif_stats(stats);
 *  }
 *  @endcode
 *
 *  Address texts are what the C library's inet_pton() (POSIX) takes; libraries differ in whether
 *  they take zeros in front of a number, as in 192.168.001.1. Addresses held as numbers are
 *  unsigned 32-bit values in network byte order, as inet_pton() stores them; on the big-endian
 *  gateway that is the numeric order too.
 *
 *  Nothing here keeps state. The ARP probe logs a failed fork(), and the interface statistics what
 *  sysfs_get_attr() (talvera/utils.h) logs of an attribute that cannot be read.
 */
#ifndef TALVERA_NETU_H
#define TALVERA_NETU_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** What an address text that is not valid gives. */
#define NETU_INVALID_ADDRESS 2103

/* ---- IPv4 address arithmetic ----------------------------------------------------------------- */

/** The network part of an address: address AND mask.
 *
 *  @param address      address text
 *  @param mask         mask text; need not be contiguous
 *  @param[out] result  the address in network byte order; left as it was on failure
 *  @return 0, or #NETU_INVALID_ADDRESS when either text is null or not a valid IPv4 address
 */
TALVERA_API int netu_calc_network(const char *address, const char *mask, uint32_t *result)
    TALVERA_NONNULL(3);

/** The broadcast address: address OR NOT mask.
 *
 *  @param address      address text
 *  @param mask         mask text; need not be contiguous
 *  @param[out] result  the address in network byte order; left as it was on failure
 *  @return as netu_calc_network()
 */
TALVERA_API int netu_calc_broadcast(const char *address, const char *mask, uint32_t *result)
    TALVERA_NONNULL(3);

/** The host part of an address: address AND NOT mask.
 *
 *  @param address      address text
 *  @param mask         mask text; need not be contiguous
 *  @param[out] result  the address in network byte order; left as it was on failure
 *  @return as netu_calc_network()
 */
TALVERA_API int netu_calc_host(const char *address, const char *mask, uint32_t *result)
    TALVERA_NONNULL(3);

/** Counts the bits that are set in a mask, contiguous or not: 255.0.255.0 gives 16.
 *
 *  @param mask  mask text
 *  @return 0 to 32; 0 when @p mask is null or not a valid IPv4 address
 */
TALVERA_API unsigned int netu_calc_subnet_prefix(const char *mask);

/** The mask with the top @p prefix bits set.
 *
 *  @param prefix  prefix length, taken modulo 32: 32 gives 0, as 0 does
 *  @return the mask in numeric order (24 gives 0xFFFFFF00); htonl() makes it network byte order
 */
TALVERA_API uint32_t netu_subnet_mask_from_prefix(unsigned int prefix);

/** Whether an address is not set.
 *
 *  @param address  address text, or null
 *  @return 1 for null, for the empty string and for 0.0.0.0 in any spelling that inet_pton() takes;
 *          0 for any other address and for what is not an address
 */
TALVERA_API int netu_is_empty_ip4addr(const char *address);

/* ---- Conversion ------------------------------------------------------------------------------ */

/** Converts an IPv4 address text.
 *
 *  @param address      address text
 *  @param[out] result  4 bytes in network order, of any alignment, written when the text is valid;
 *                      null to ask for validity alone
 *  @return 1 when valid; 0 when not, or null
 */
TALVERA_API int netu_atoipv4(const char *address, void *result);

/** Converts an IPv6 address text (RFC 4291).
 *
 *  @param address      address text
 *  @param[out] result  16 bytes in network order, of any alignment, written when the text is valid;
 *                      null to ask for validity alone
 *  @return 1 when valid; 0 when not, or null
 */
TALVERA_API int netu_atoipv6(const char *address, void *result);

/** Room for the text of a MAC address: 17 characters and the terminator. */
#define NETU_MAC_TEXT_SIZE 18

/** Writes a MAC address as six two-digit lower-case hexadecimal groups joined by ":".
 *
 *  @param mac        6 bytes
 *  @param[out] text  room for #NETU_MAC_TEXT_SIZE bytes
 *  @return @p text
 */
TALVERA_API char *netu_etoa(const unsigned char *mac, char *text) TALVERA_NONNULL(1, 2);

/** Reads a MAC address without validating it.
 *
 *  Up to six times a hexadecimal number is read as strtoul() reads it, and its low byte stored. Any
 *  one character separates two groups.
 *
 *  @param text      the text; one with fewer groups fills fewer bytes
 *  @param[out] mac  6 bytes; those that the text does not reach keep their contents
 *  @return @p mac
 */
TALVERA_API unsigned char *netu_atoe(const char *text, unsigned char *mac) TALVERA_NONNULL(1, 2);

/** Finds the name of an interface (SIOCGIFNAME, netdevice(7)).
 *
 *  @param index      interface index
 *  @param[out] name  room for 16 bytes (IFNAMSIZ), written when found
 *  @return 0, or -1 with errno set when there is no such interface or @p name is null
 */
TALVERA_API int netu_ifindex2name(unsigned int index, char *name);

/* ---- Interface statistics -------------------------------------------------------------------- */

/** Counters of an interface: what they count is named after the file that they are read from, below
 *  /sys/class/net/INTERFACE/statistics (Documentation/ABI/testing/sysfs-class-net-statistics). The
 *  last four files are the platform drivers' own. */
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

/** Counters and how they changed since the last reset. Indexed by enum netu_stat. */
struct netu_linuxif_stats {
  uint32_t delta[NETU_STAT_COUNT];   /**< current less base, modulo 2^32 */
  uint32_t current[NETU_STAT_COUNT]; /**< as read by the last update */
  uint32_t base[NETU_STAT_COUNT];    /**< as read by the last update before the last reset */
};

/** Reads the text of one counter.
 *
 *  @param ifname       interface
 *  @param index        enum netu_stat; must be below NETU_STAT_COUNT, which is not tested
 *  @param[out] buffer  receives the text as sysfs_get_attr() reads it: pass zeros
 *  @param size         bytes to read at most, at least one less than @p buffer has
 *  @return 0, or the errno of the failure
 */
TALVERA_API int netu_ifstat_get(const char *ifname, unsigned int index, char *buffer,
                                unsigned int size) TALVERA_NONNULL(1, 3);

/** @return a record of zeros, to release with netu_free_linuxif_stats(); null without memory */
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

/** Reads all counters of an interface, and works out the deltas.
 *
 *  Texts are taken as strtoul() takes them in base 0; a counter beyond 32 bits reads as 2^32 - 1. A
 *  counter whose file is missing or empty takes the value of the one before it in enum netu_stat
 *  (the first takes 0), which is meant; one that cannot be read gives 0.
 *
 *  @param ifname         the interface
 *  @param[in,out] stats  the record
 *  @return 0
 */
TALVERA_API int netu_update_linuxif_stats(const char *ifname, struct netu_linuxif_stats *stats)
    TALVERA_NONNULL(1, 2);

/** Makes the current values the base, and the deltas 0.
 *
 *  @param[in,out] stats  the record
 *  @return 0
 */
TALVERA_API int netu_reset_linuxif_stats(struct netu_linuxif_stats *stats) TALVERA_NONNULL(1);

/** One counter of a record.
 *
 *  @param stats  the record
 *  @param index  enum netu_stat for the delta; that plus 14 for the current value, plus 28 for the
 *                base; must be below 42, which is not tested
 *  @return the counter
 */
TALVERA_API uint32_t netu_get_linuxif_stat(const struct netu_linuxif_stats *stats,
                                           unsigned int index) TALVERA_NONNULL(1);

/* ---- Duplicate addresses --------------------------------------------------------------------- */

/** Asks with one ARP probe whether another host uses an address.
 *
 *  Runs "arping -Dq -c 1 -I IFNAME ADDRESS" from the search path and blocks until it has ended. A
 *  failed fork() is logged to syslog at LOG_ERR ("netu_arping_test fork failed (<error>)").
 *
 *  The handler of process_start() may run in any thread meanwhile. A program with another handler
 *  of SIGCHLD that collects every child must block the signal in its other threads: a probe whose
 *  child such a handler has collected gives 1.
 *
 *  @param ifname   interface to probe on
 *  @param address  address text
 *  @return 1 when the address is in use, or arping was killed or could not be waited for; 0 when
 *          nobody answered, or arping could not be started
 */
TALVERA_API int netu_arping_test(const char *ifname, const char *address) TALVERA_NONNULL(1, 2);

TALVERA_END_DECLS

#endif
