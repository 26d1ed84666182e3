/** @file
 *  Traceroute for a diagnostics front end: its command line, and its results.
 *
 *  @code
 *  char command[1024], line[1100];
 *  struct tr_hop hops[30];
 *  int32_t count = 0;
 *  ipdiag_tr_makeparam("203.0.113.7", NULL, 1, 30, 2, 0, 0, 0, 0, command, 0, sizeof command);
 *  snprintf(line, sizeof line, "%s >/tmp/wan-out 2>/tmp/wan-err", command);
 *  if (system(line) == 0) {
 *    memset(hops, 0, sizeof hops);
 *    ipdiag_tr_formatout("wan", hops, 30, &count);
 *  }
 *  for (int32_t i = 0; i < count && i < 30; i++) puts(hops[i].address);
 *  @endcode
 *
 *  The caller chooses a test name, builds the command line with ipdiag_tr_makeparam(), runs it with
 *  the output going to three work files, and reads these with the other functions:
 *
 *      /tmp/NAME-out     traceroute's standard output: a header line, then a line for each hop
 *      /tmp/NAME-err     its standard error
 *      /tmp/NAME-status  a decimal integer on the first line: the response time, caller's unit
 *
 *  A path has at most 63 characters; a longer one cannot be opened. Nothing here keeps state or
 *  logs.
 */
#ifndef TALVERA_IPDIAG_H
#define TALVERA_IPDIAG_H

#include <stdint.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** What was unreachable, as a hop's reply said (the status of a tr_hop). */
enum tr_status {
  TR_NETWORK_UNREACHABLE = 0,  /**< marker !N */
  TR_HOST_UNREACHABLE = 1,     /**< marker !H */
  TR_PROTOCOL_UNREACHABLE = 2, /**< marker !P */
  TR_FRAGMENTATION_NEEDED = 4, /**< marker !F */
  TR_SOURCE_ROUTE_FAILED = 5   /**< marker !S */
};

/** A hop. What its line does not supply keeps what the caller put there. */
struct tr_hop {
  char host[257];   /**< name as printed, cut to 256 characters */
  char address[23]; /**< address as printed, cut to 22 characters */
  int32_t status;   /**< enum tr_status; unchanged without a marker */
  char times[64];   /**< reply times as printed, without units, joined by commas; what does not fit
                         is left out */
};

/** Builds a traceroute command line.
 *
 *  Options that are not wanted are given as 0. In this order: -6, -I, -i, -q, -m, -w, -t, -p, the
 *  host, the packet length. Host and interface go into the line as they are: a caller that gives it
 *  to a shell must not pass text from outside unchecked.
 *
 *  A piece that has no room is left out. After each piece the whole length written so far is taken
 *  off the room, so that room runs out before the buffer does; once it is below 0, all pieces from
 *  -i on are written, even past the end of the buffer. This is meant. 1024 bytes hold every piece
 *  with a host of up to 255 characters and an interface name of up to 15.
 *
 *  @param host        destination, name or address
 *  @param ifname      outgoing interface (-i); null or empty for none
 *  @param queries     probes for each hop (-q)
 *  @param max_hops    greatest time to live (-m)
 *  @param wait        seconds to wait for a reply (-w)
 *  @param tos         type of service (-t)
 *  @param port        destination port (-p)
 *  @param icmp        not 0: probe with ICMP echo (-I)
 *  @param packet_len  bytes of a probe
 *  @param[out] buf    receives the command line; left untouched when @p buf_size is 10 or less
 *  @param ipv6        not 0: IPv6 (-6)
 *  @param buf_size    bytes of @p buf
 *  @return 0, also when pieces were left out; -1 with errno EINVAL when @p host is null
 */
TALVERA_API int ipdiag_tr_makeparam(const char *host, const char *ifname, int32_t queries,
                                    int32_t max_hops, int32_t wait, int32_t tos, uint16_t port,
                                    int32_t icmp, int32_t packet_len, char *buf, uint16_t ipv6,
                                    uint32_t buf_size) TALVERA_NONNULL(10);

/** Reads the hops of a test.
 *
 *  A line after the header is taken as words between spaces and parentheses: hop number, host,
 *  address, then times, units and markers. A word that begins with "*", for a lost probe, stores
 *  nothing, but takes its place in this order. Of a line 511 characters are read at a time; what
 *  follows counts as another line.
 *
 *  @param name          test name
 *  @param[in,out] hops  table of @p max_rows hops, zero-filled by the caller
 *  @param max_rows      its size
 *  @param[out] count    receives the number of hop lines; each took a row, even if it filled
 *                       nothing
 *  @return 0 when the file was read to its end; when the table filled up first, 0 if the last hop's
 *          address is the destination's (which the header has in parentheses), else 1; -1 with
 *          errno set when the file cannot be opened; -1 (EINVAL) and a count of 0 when @p max_rows
 *          is below 1
 */
TALVERA_API int ipdiag_tr_formatout(const char *name, struct tr_hop *hops, int32_t max_rows,
                                    int32_t *count) TALVERA_NONNULL(1, 2, 4);

/** Reads the response time of a test.
 *
 *  @param name       test name
 *  @param[out] time  receives what atoi() makes of the first 15 characters of the status file;
 *                    unchanged when the file is empty
 *  @return 0, or -1 with errno set when the file cannot be opened
 */
TALVERA_API int ipdiag_tr_resptime(const char *name, int32_t *time) TALVERA_NONNULL(1, 2);

/** Tells what went wrong in a test.
 *
 *  @param name       test name
 *  @param[out] code  receives 0 when the error file's first 63 characters contain "bad address", on
 *                    its first line (the destination could not be resolved), 1 for any other text;
 *                    unchanged when the file is empty
 *  @return 0, or -1 with errno set when the file cannot be opened
 */
TALVERA_API int ipdiag_tr_err(const char *name, int32_t *code) TALVERA_NONNULL(1, 2);

TALVERA_END_DECLS

#endif
