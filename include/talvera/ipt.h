/** @defgroup talvera_ipt Firewall rules
 *  Packet-filter rules as records, which are rendered as iptables command lines and run.
 *
 *  @include ipt.c
 *
 *  A command line has five sections, in this order: table, command with chain and command argument,
 *  parameters, matches, target. A section has at most 63 characters for all of its items, and
 *  everything before the target at most 191. Where a word is required and the value is
 *  IPT_..._NONE, "none" is rendered, which iptables rejects: a record to be run must have a chain
 *  and a command, and no item of type IPT_..._NONE.
 *
 *  Strings are inserted unquoted into a shell command: never pass untrusted input. In a rule that
 *  is run, "%" must be written as "%%". Messages go to sdb_log() at SDB_LOG_INFO ("ipt: ..."). A
 *  record must be used by one thread at a time. Creating a rule's lists reseeds random(): see
 *  list_init().
 *  @{ */
#ifndef TALVERA_IPT_H
#define TALVERA_IPT_H

#include <stddef.h>
#include <stdint.h>

#include "talvera/api.h"
#include "talvera/list.h"

TALVERA_BEGIN_DECLS

/** @name Rules
 *  @{ */

/** Result when a rule cannot be built or rendered; nothing was run. */
#define IPT_RULE_FAILED 2012

/** Buffer size in bytes for any command line, terminator included. */
#define IPT_LINE_SIZE 256

/** Tables ("-t"). */
enum ipt_table {
  IPT_TABLE_FILTER = 0,    /**< "filter" */
  IPT_TABLE_RAW = 1,       /**< "raw" */
  IPT_TABLE_CONNTRACK = 2, /**< "conntrack", which iptables does not have as a table */
  IPT_TABLE_MANGLE = 3,    /**< "mangle" */
  IPT_TABLE_NAT = 4        /**< "nat" */
};

/** Built-in chains. */
enum ipt_chain {
  IPT_CHAIN_NONE = 0,       /**< "none" */
  IPT_CHAIN_PREROUTING = 1, /**< "PREROUTING" */
  IPT_CHAIN_INPUT = 2,      /**< "INPUT" */
  IPT_CHAIN_FORWARD = 3,    /**< "FORWARD" */
  IPT_CHAIN_OUTPUT = 4,     /**< "OUTPUT" */
  IPT_CHAIN_POSTROUTING = 5 /**< "POSTROUTING" */
};

/** Commands, each a dash and a letter. */
enum ipt_command {
  IPT_COMMAND_NONE = 0,         /**< "none" */
  IPT_COMMAND_APPEND = 1,       /**< -A */
  IPT_COMMAND_INSERT = 2,       /**< -I; the command argument is a rule number, or null to insert at
                                     the start of the chain */
  IPT_COMMAND_DELETE = 3,       /**< -D; the command argument is a rule number, or null to delete
                                     the matching rule */
  IPT_COMMAND_REPLACE = 4,      /**< -R; the command argument is a rule number */
  IPT_COMMAND_FLUSH = 5,        /**< -F */
  IPT_COMMAND_ZERO = 6,         /**< -Z */
  IPT_COMMAND_NEW_CHAIN = 7,    /**< -N */
  IPT_COMMAND_DELETE_CHAIN = 8, /**< -X */
  IPT_COMMAND_POLICY = 9        /**< -P; the command argument is the policy */
};

/** Targets ("-j"). */
enum ipt_target {
  IPT_TARGET_NONE = 0,        /**< no "-j" */
  IPT_TARGET_ACCEPT = 1,      /**< "ACCEPT" */
  IPT_TARGET_DROP = 2,        /**< "DROP" */
  IPT_TARGET_QUEUE = 3,       /**< "QUEUE" */
  IPT_TARGET_RETURN = 4,      /**< "RETURN" */
  IPT_TARGET_REJECT = 5,      /**< "REJECT" */
  IPT_TARGET_JUMP = 6,        /**< "JUMP", which iptables does not have */
  IPT_TARGET_CLASSIFY = 7,    /**< "CLASSIFY" */
  IPT_TARGET_DNAT = 8,        /**< "DNAT"; the target argument follows "--to" */
  IPT_TARGET_SNAT = 9,        /**< "SNAT"; the target argument follows "--to" */
  IPT_TARGET_DSCP = 10,       /**< "DSCP" */
  IPT_TARGET_MARK = 11,       /**< "MARK" */
  IPT_TARGET_MASQUERADE = 12, /**< "MASQUERADE" */
  IPT_TARGET_NETMAP = 13,     /**< "NETMAP" */
  IPT_TARGET_REDIRECT = 14,   /**< "REDIRECT" */
  IPT_TARGET_SAME = 15,       /**< "SAME" */
  IPT_TARGET_ULOG = 16        /**< "ULOG" */
};

/** Parameters, each a dash and a letter. */
enum ipt_param_item {
  IPT_PARAM_NONE = 0,          /**< "none" */
  IPT_PARAM_PROTOCOL = 1,      /**< -p */
  IPT_PARAM_SOURCE = 2,        /**< -s */
  IPT_PARAM_DESTINATION = 3,   /**< -d */
  IPT_PARAM_IN_INTERFACE = 4,  /**< -i */
  IPT_PARAM_OUT_INTERFACE = 5, /**< -o */
  IPT_PARAM_FRAGMENT = 6       /**< -f */
};

/** Match modules ("-m"). */
enum ipt_match_module {
  IPT_MATCH_NONE = 0,      /**< "none" */
  IPT_MATCH_STATE = 1,     /**< "state" */
  IPT_MATCH_IPRANGE = 2,   /**< "iprange" */
  IPT_MATCH_MPORT = 3,     /**< "mport" */
  IPT_MATCH_CONNTRACK = 4, /**< "conntrack" */
  IPT_MATCH_DSCP = 5,      /**< "dscp" */
  IPT_MATCH_HELPER = 6,    /**< "helper" */
  IPT_MATCH_MAC = 7,       /**< "mac" */
  IPT_MATCH_MARK = 8,      /**< "mark" */
  IPT_MATCH_TOS = 9        /**< "tos" */
};

/** Option words of parameters and matches. The caller combines them with the right item. */
enum ipt_option {
  IPT_OPTION_NONE = 0,           /**< no option word */
  IPT_OPTION_DPORT = 1,          /**< "--dport"; 1 to 7 belong to IPT_PARAM_PROTOCOL */
  IPT_OPTION_SPORT = 2,          /**< "--sport" */
  IPT_OPTION_TCP_FLAGS = 3,      /**< "--tcp-flags" */
  IPT_OPTION_TCP_OPTION = 4,     /**< "--tcp-option" */
  IPT_OPTION_SYN = 5,            /**< "--syn" */
  IPT_OPTION_NOT_SYN = 6,        /**< "! --syn" */
  IPT_OPTION_ICMP_TYPE = 7,      /**< "--icmp-type" */
  IPT_OPTION_HELPER = 8,         /**< "--helper", for IPT_MATCH_HELPER */
  IPT_OPTION_SRC_RANGE = 9,      /**< "--src-range"; 9 to 12 belong to IPT_MATCH_IPRANGE */
  IPT_OPTION_NOT_SRC_RANGE = 10, /**< "! --src-range" */
  IPT_OPTION_DST_RANGE = 11,     /**< "--dst-range" */
  IPT_OPTION_NOT_DST_RANGE = 12, /**< "! --dst-range" */
  IPT_OPTION_MAC_SOURCE = 13,    /**< "--mac-source", for IPT_MATCH_MAC */
  IPT_OPTION_SPORTS = 14,        /**< "--sports"; 14 to 16 belong to IPT_MATCH_MPORT */
  IPT_OPTION_DPORTS = 15,        /**< "--dports" */
  IPT_OPTION_PORTS = 16,         /**< "--ports" */
  IPT_OPTION_STATE = 17          /**< "--state", for IPT_MATCH_STATE */
};

/** Bits of an item's negation mask: what is preceded by "!".
 *
 *  The gateway's iptables accepts "!" before a value ("-d ! 10.0.0.1", "--dport ! 80"); newer
 *  versions reject that and accept IPT_NEGATE_OPTION ("! --dport 80"). Their form for an item's own
 *  value ("! -d 10.0.0.1") cannot be rendered. */
enum ipt_negation {
  IPT_NEGATE_NOTHING = 0x01,     /**< stored, never rendered */
  IPT_NEGATE_VALUE = 0x02,       /**< the item's own value */
  IPT_NEGATE_OPTION = 0x04,      /**< the option word */
  IPT_NEGATE_OPTION_VALUE = 0x08 /**< the option's value */
};

/** A parameter, such as "-p tcp --dport 80". Owned by its rule. */
typedef struct ipt_param {
  uint32_t item;      /**< enum ipt_param_item */
  uint8_t negation;   /**< bits of enum ipt_negation */
  char *value;        /**< heap string after the item's letter, or null */
  uint32_t option;    /**< enum ipt_option */
  char *option_value; /**< heap string after the option word, or null */
} ipt_param;

/** A match, such as "-m state --state NEW". Owned by its rule; same layout as ipt_param. */
typedef struct ipt_match {
  uint32_t item;      /**< enum ipt_match_module */
  uint8_t negation;   /**< bits of enum ipt_negation */
  char *value;        /**< always null */
  uint32_t option;    /**< enum ipt_option */
  char *option_value; /**< heap string after the option word, or null */
} ipt_match;

/** A rule. Made by one of the functions below and freed with ipt_rule_free(). The fields may be set
 *  directly; strings must come from malloc(). */
typedef struct ipt_rule {
  uint32_t table;         /**< enum ipt_table */
  uint32_t chain;         /**< enum ipt_chain */
  uint32_t command;       /**< enum ipt_command */
  char *command_argument; /**< heap string after the chain, or null */
  list_obj *params;       /**< list of ipt_param; null until first needed */
  list_obj *matches;      /**< list of ipt_match; null until first needed */
  uint32_t target;        /**< enum ipt_target */
  uint8_t mask;           /**< for the caller: compared, never rendered */
  char *target_argument;  /**< heap string after the target, or null */
} ipt_rule;

/** @}
 *  @name Building rules
 *  @{ */

/** Makes a rule without lists, all zero, for commands that take no items.
 *
 *  @return the rule; null when memory runs out
 */
TALVERA_API ipt_rule *ipt_simplerule_init(void) TALVERA_MUST_USE;

/** Makes a rule with two empty lists, otherwise all zero.
 *
 *  @return the rule; null when memory runs out
 */
TALVERA_API ipt_rule *ipt_rule_init(void) TALVERA_MUST_USE;

/** Frees a rule with its items and strings; null is ignored.
 *
 *  @param rule  the rule
 */
TALVERA_API void ipt_rule_free(ipt_rule *rule);

/** Appends a parameter; items are rendered in the order in which they were added.
 *
 *  The rule takes ownership of both strings in every case: on failure they have been freed.
 *
 *  @param rule          the rule; null is a failure
 *  @param item          enum ipt_param_item
 *  @param negation      bits of enum ipt_negation
 *  @param value         heap string, or null
 *  @param option        enum ipt_option; checked when the rule is rendered
 *  @param option_value  heap string, or null
 *  @return the new item, owned by the rule; null when @p item is 7 or more or its list cannot be
 *          made or extended (both are logged), or when memory runs out
 */
TALVERA_API ipt_param *ipt_rule_add_param(ipt_rule *rule, uint32_t item, uint8_t negation,
                                          char *value, uint32_t option, char *option_value);

/** Appends a match.
 *
 *  @param rule          the rule; null is a failure
 *  @param item          enum ipt_match_module
 *  @param negation      bits of enum ipt_negation
 *  @param option        enum ipt_option; checked when the rule is rendered
 *  @param option_value  heap string, or null; owned by the rule in every case, as with
 *                       ipt_rule_add_param()
 *  @return the new item, owned by the rule; null when @p item is 10 or more or its list cannot be
 *          made or extended (both are logged), or when memory runs out
 */
TALVERA_API ipt_match *ipt_rule_add_match(ipt_rule *rule, uint32_t item, uint8_t negation,
                                          uint32_t option, char *option_value);

/** Returns the name of a target.
 *
 *  @param target  enum ipt_target
 *  @return the name, static; null for IPT_TARGET_NONE and for invalid values
 */
TALVERA_API const char *ipt_target_string(uint32_t target);

/** Compares two rules field by field and item by item, in the order of the items.
 *
 *  Strings are equal when both are null or both have the same content; null differs from the empty
 *  string. A missing list equals an empty one. The mask is compared, though it is not rendered.
 *
 *  @param rule_a  one rule
 *  @param rule_b  the other
 *  @return 0 when equal, 1 when not; intentionally 1 when either is null, even when both are
 */
TALVERA_API int ipt_rule_compare(const ipt_rule *rule_a, const ipt_rule *rule_b);

/** @}
 *  @name Running rules
 *  @{ */

/** Renders a rule as its command line.
 *
 *  Spaces are not normalised: without a command argument, the chain's name is followed by a space;
 *  with or without a target argument, the target's name is followed by two spaces, or for DNAT and
 *  SNAT by a space, "--to" and another space.
 *
 *  Parameters share 63 characters, and so do matches. A value, option word or option value that
 *  does not fit into what is left is omitted. Rendering fails for lack of this space only when an
 *  item's own "-p" or "-m state" does not fit.
 *
 *  @param rule      the rule; null is a failure
 *  @param[out] buf  at least IPT_LINE_SIZE bytes; receives the command line, terminated, but with
 *                   unspecified content on failure
 *  @return 0; IPT_RULE_FAILED when a value is out of range or a string too long, which is logged as
 *          "ipt: error (%d) processing rule at step (%d)": error -1 for a section that failed, -2
 *          for more than 191 characters before that step; steps count from 0, the table
 */
TALVERA_API int ipt_make_rule_string(const ipt_rule *rule, char *buf) TALVERA_NONNULL(2);

/** Renders a rule, prints `CWS ipt: invoking rule "<command line>"` to standard output and runs it.
 *
 *  Intentionally, the command line is the format of sdb_system(), without arguments: "%%" reaches
 *  the shell as "%", and no other "%" is allowed.
 *
 *  @param rule  the rule; null is a failure
 *  @return 0 when the command succeeded, and also when a signal killed the shell; otherwise the
 *          command's exit code, or the errno of system() when that failed; IPT_RULE_FAILED, with
 *          nothing run, when the rule cannot be rendered
 */
TALVERA_API int ipt_process_rule(const ipt_rule *rule);

/** Deletes all rules of a chain of the filter table.
 *
 *  @param chain  enum ipt_chain
 *  @return as for ipt_process_rule(); IPT_RULE_FAILED also when memory runs out
 */
TALVERA_API int ipt_flush_chain(uint32_t chain);

/** Sets the policy of a chain of the filter table.
 *
 *  @param chain   IPT_CHAIN_INPUT, IPT_CHAIN_FORWARD or IPT_CHAIN_OUTPUT
 *  @param policy  IPT_TARGET_ACCEPT or IPT_TARGET_DROP
 *  @return as for ipt_process_rule(); IPT_RULE_FAILED also for other values and when memory runs
 *          out
 */
TALVERA_API int ipt_set_chain_policy(uint32_t chain, uint32_t policy);

/** @}
 *  @name User input and names
 *  @{ */

/** Skips a leading "!" and the spaces after it.
 *
 *  @param bit           number of the bit to set in @p mask when there is a "!"; 8 or more sets
 *                       none
 *  @param[in,out] mask  negation mask; other bits are unchanged
 *  @param text          user input, or null
 *  @param[out] result   pointer into @p text; null when that is null
 */
TALVERA_API void ipt_parse_neg_val(unsigned int bit, uint8_t *mask, const char *text,
                                   const char **result) TALVERA_NONNULL(2, 4);

/** Makes a protocol value for iptables.
 *
 *  @param text  user input, or null
 *  @return a heap copy of @p text, which the caller frees with free(), when it is "tcp", "udp",
 *          "icmp" or "ALL" (case-sensitive), or a decimal number; otherwise, and when memory runs
 *          out, null
 */
TALVERA_API char *ipt_make_protocol_value(const char *text) TALVERA_MUST_USE;

/** Distinguishes a port from a port range.
 *
 *  @param text  user input
 *  @return 1 when @p text consists of digits or is empty; 2 when it begins with a digit and has
 *          other characters; -1 when it does not begin with a digit, or is null
 */
TALVERA_API int ipt_check_port_input(const char *text);

/** Makes a port or port-range value for iptables.
 *
 *  @param text  "a", "a-b" or "a b", which give "a", "a:b" and "a:b". Only one separator is
 *               replaced: the first "-" or, without a "-", the first space
 *  @return a heap string, which the caller frees with free(), empty when @p text is; null when
 *          @p text is null, begins with a character other than a digit, or has characters other
 *          than digits but no separator, and when memory runs out
 */
TALVERA_API char *ipt_make_port_value(const char *text) TALVERA_MUST_USE;

/** Computes the internal ports for an external port or port range.
 *
 *  @param external       "a" or "a:b", as from ipt_make_port_value(); an empty string counts as "a"
 *  @param internal_port  the internal port for the first external port
 *  @param[out] buf       receives the internal port, or "first-last" for a range, terminated,
 *                        truncated when it does not fit; unchanged for a range that begins at
 *                        @p internal_port, which needs no translation
 *  @param size           size of @p buf in bytes
 *  @return 0; -1 with errno EINVAL when @p external has neither form. Anything after "a:b" is
 *          ignored; of a range that begins at @p internal_port, only the first number and the
 *          presence of a ":" are checked
 */
TALVERA_API int ipt_calc_portrange(const char *external, int internal_port, char *buf, size_t size);

/** Checks an argument of "--tcp-flags": two lists of flags, such as "SYN,ACK,FIN SYN".
 *
 *  @param text  names from ::flags in upper or lower case, separated by commas; the lists are
 *               separated by spaces. Anything after the 48th character is ignored
 *  @return 0 when there are exactly two lists, all names are known and no flag occurs twice in a
 *          list (NONE and ALL must stand alone); otherwise, and for null, -1 with errno EINVAL
 */
TALVERA_API int check_tcp_flags(const char *text);

/** A TCP flag. */
typedef struct ipt_tcp_flag {
  const char *name; /**< in upper case */
  uint8_t value;    /**< the library's own bit, not that of the TCP header */
} ipt_tcp_flag;

/** SYN, ACK, FIN, RST, URG and PSH, then NONE and ALL, which intentionally both have the bits of
 *  all six. */
TALVERA_API extern const ipt_tcp_flag flags[8];

/** Returns the number of an IP protocol (IANA, Assigned Internet Protocol Numbers).
 *
 *  @param name  the registry's keyword for a number from 0 to 142 or for 255, in upper or lower
 *               case, with "-" for each space
 *  @return the number; 4 also for "IPINIP", 89 also for "OSPF"; 0 for "none"; intentionally 143 for
 *          "-252"; -1 for unknown names and for null
 */
TALVERA_API int wkp_prot_from_name(const char *name);

/** Formats an address record of the captive portal in the form "192.168.1.0/24".
 *
 *  @param records   records of 10 characters, without separators: eight hexadecimal digits of an
 *                   IPv4 address, most significant first, and a prefix length of two decimal
 *                   digits. A NUL ends a record early, and the rest reads as empty (a record of ten
 *                   NULs gives "0.0.0.0/0"); a number ends at its first invalid character
 *  @param[out] buf  receives the string, terminated, truncated to @p size bytes
 *  @param size      size of @p buf in bytes; 20 suffice for any well-formed record
 *  @param index     number of the record, from 0; must exist in @p records
 *  @return the length of the whole string, even when it was truncated
 */
TALVERA_API int captiveportal_make_addrbuf(const char *records, char *buf, size_t size,
                                           unsigned int index) TALVERA_NONNULL(1);

/** @}
 *  @name Canned rules
 *  Each function returns a new rule, to be freed with ipt_rule_free(), or null when a string is
 *  invalid or memory runs out. Strings are copied. A null interface, host, port, source range or,
 *  in ipt_make_maplist_rule(), destination is invalid. A leading "!" of a destination, external
 *  port or source range is rendered before the value: see enum ipt_negation.
 *  @{ */

/** Makes the rule of a pinhole, which forwards connections that arrive at a port of the gateway to
 *  a host on the home network.
 *
 *  Destination, protocol and external port may begin with "!", but a negated protocol is rendered
 *  without it. An unknown protocol leaves its value empty, which iptables rejects.
 *
 *  @param command        enum ipt_command
 *  @param destination    address of the gateway; null leaves its value empty
 *  @param protocol       as for ipt_make_protocol_value()
 *  @param external_port  as for ipt_make_port_value()
 *  @param internal_host  address of the host; together with ":" and the ports, truncated to 31
 *                        characters
 *  @param internal_port  port of the host, the first one for a range
 *  @return a new rule, to be freed with ipt_rule_free(); null when a string is invalid or memory
 *          runs out
 */
TALVERA_API ipt_rule *ipt_make_pinhole_rule(uint32_t command, const char *destination,
                                            const char *protocol, const char *external_port,
                                            const char *internal_host,
                                            int internal_port) TALVERA_MUST_USE;

/** Makes the rule that masquerades what leaves through an interface.
 *
 *  @param command    IPT_COMMAND_APPEND or IPT_COMMAND_INSERT turns NAT on, IPT_COMMAND_DELETE off
 *  @param interface  name of the interface
 *  @return a new rule, to be freed with ipt_rule_free(); null when a string is invalid or memory
 *          runs out
 */
TALVERA_API ipt_rule *ipt_make_nat_onoff_rule(uint32_t command,
                                              const char *interface) TALVERA_MUST_USE;

/** Makes the rule that does NAT for a range of internal addresses.
 *
 *  @param command       enum ipt_command
 *  @param destination   destination address of the packets; may begin with "!"
 *  @param source_range  "first-last" source addresses; may begin with "!"
 *  @return a new rule, to be freed with ipt_rule_free(); null when a string is invalid or memory
 *          runs out
 */
TALVERA_API ipt_rule *ipt_make_maplist_rule(uint32_t command, const char *destination,
                                            const char *source_range) TALVERA_MUST_USE;

/** @}
 *  @name Chain names
 *  @{ */

/** Name of one of the gateway's own chains. */
TALVERA_API extern const char nm_tai_mangle_prerouting_chain_name[28];
TALVERA_API extern const char nm_tai_filter_sbl_chain_name[21];
TALVERA_API extern const char nm_tai_filter_input_chain_name[23];
TALVERA_API extern const char nm_tai_filter_forward_chain_name[25];
TALVERA_API extern const char nm_tai_nat_prerouting_chain_name[25];

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
