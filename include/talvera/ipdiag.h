/** @defgroup talvera_ipdiag Traceroute
 *  Builds traceroute's command line and reads its results, for a diagnostics front end.
 *
 *  @include ipdiag.c
 *
 *  The caller chooses a test name, builds the command line with ipdiag_tr_makeparam(), runs it with
 *  its output redirected to work files, and reads them with the other functions:
 *
 *      /tmp/NAME-out     traceroute's standard output: a header line, then one line per hop
 *      /tmp/NAME-err     its standard error
 *      /tmp/NAME-status  written by the caller: a decimal integer on the first line, the response
 *                        time in a unit of the caller's choice
 *
 *  A path has at most 63 characters; a longer one cannot be opened. No function keeps state or logs
 *  anything.
 *  @{ */
#ifndef TALVERA_IPDIAG_H
#define TALVERA_IPDIAG_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** ICMP "destination unreachable" code reported by a hop. */
enum tr_status {
  TR_NETWORK_UNREACHABLE = 0,  /**< marker !N */
  TR_HOST_UNREACHABLE = 1,     /**< marker !H */
  TR_PROTOCOL_UNREACHABLE = 2, /**< marker !P */
  TR_FRAGMENTATION_NEEDED = 4, /**< marker !F */
  TR_SOURCE_ROUTE_FAILED = 5   /**< marker !S */
};

/** A hop. Fields that its line does not supply are unchanged. */
struct tr_hop {
  char host[257];   /**< name as printed, truncated to 256 characters */
  char address[23]; /**< address as printed, truncated to 22 characters */
  int32_t status;   /**< enum tr_status; unchanged without a marker */
  char times[64];   /**< reply times as printed, without units, separated by commas; times that do
                         not fit are omitted */
};

/** Builds a traceroute command line.
 *
 *  A switch given as 0, or a number of 0 or less, is omitted. The order is -6, -I, -i, -q, -m, -w,
 *  -t, -p, host, packet length. Host and interface are inserted unquoted: never pass untrusted
 *  input when the line goes to a shell.
 *
 *  A piece that does not fit is omitted. Intentionally, after each piece the whole length written
 *  so far is subtracted from the remaining size, which therefore reaches 0 before the buffer is
 *  full; once it is negative, all pieces from -i on are written, even past the end of the buffer.
 *  1024 bytes hold every piece with a host of up to 255 characters and an interface name of up to
 *  15.
 *
 *  @param host        destination, name or address
 *  @param ifname      outgoing interface (-i); null or empty for none
 *  @param queries     probes per hop (-q)
 *  @param max_hops    maximum time to live (-m)
 *  @param wait        seconds to wait for a reply (-w)
 *  @param tos         type of service (-t)
 *  @param port        destination port (-p)
 *  @param icmp        not 0: probe with ICMP echo (-I)
 *  @param packet_len  bytes per probe
 *  @param[out] buf    the command line; unchanged when @p size is 10 or less
 *  @param ipv6        not 0: IPv6 (-6)
 *  @param size        size of @p buf in bytes
 *  @return 0, even when pieces were omitted; -1 with errno EINVAL when @p host is null
 */
TALVERA_API int ipdiag_tr_makeparam(const char *host, const char *ifname, int32_t queries,
                                    int32_t max_hops, int32_t wait, int32_t tos, uint16_t port,
                                    int32_t icmp, int32_t packet_len, char *buf, uint16_t ipv6,
                                    uint32_t size) TALVERA_NONNULL(10);

/** Reads the hops of a test.
 *
 *  A line after the header consists of words separated by spaces and parentheses: hop number, host,
 *  address, then times, units and markers. A word that begins with "*", for a lost probe, stores
 *  nothing but takes its place in this order. Lines are read in pieces of at most 511 characters;
 *  each further piece counts as another line.
 *
 *  @param name          test name
 *  @param[in,out] hops  array of @p max_rows hops, zeroed by the caller
 *  @param max_rows      number of hops in the array
 *  @param[out] count    number of hop lines read, at most @p max_rows; each used a row, even if it
 *                       filled nothing
 *  @return 0 when there are fewer hop lines than @p max_rows; otherwise 0 if the last row's address
 *          is the first 19 characters of the destination's (given in parentheses in the header), 1
 *          if not; -1 with errno set when the file cannot be opened; -1 (EINVAL) and a count of 0
 *          when @p max_rows is below 1
 */
TALVERA_API int ipdiag_tr_formatout(const char *name, struct tr_hop *hops, int32_t max_rows,
                                    int32_t *count) TALVERA_NONNULL(1, 2, 4);

/** Reads the response time of a test.
 *
 *  @param name       test name
 *  @param[out] time  the first 15 characters of the status file's first line, converted as if by
 *                    atoi(); unchanged when the file is empty
 *  @return 0; -1 with errno set when the file cannot be opened
 */
TALVERA_API int ipdiag_tr_resptime(const char *name, int32_t *time) TALVERA_NONNULL(1, 2);

/** Reads the error of a test.
 *
 *  @param name       test name
 *  @param[out] code  0 when the first line of the error file has "bad address" in its first 63
 *                    characters (the destination could not be resolved); 1 for any other text;
 *                    unchanged when the file is empty
 *  @return 0; -1 with errno set when the file cannot be opened
 */
TALVERA_API int ipdiag_tr_err(const char *name, int32_t *code) TALVERA_NONNULL(1, 2);

TALVERA_END_DECLS

#endif
/** @} */
