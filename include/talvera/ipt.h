/** @file
 *  Firewall rules: packet-filter rules as records, rendered into iptables command lines and run.
 *
 *  @code
 *  int error = IPT_RULE_FAILED;
 *  ipt_rule *rule = ipt_make_pinhole_rule(IPT_COMMAND_APPEND, "203.0.113.7", "tcp", "8080",
 *                                         "192.168.1.10", 80);
 *  if (rule != NULL) error = ipt_process_rule(rule);
 *  if (error == 0) {
 *    rule->command = IPT_COMMAND_DELETE;  // the same record takes the rule out again
 *    error = ipt_process_rule(rule);
 *  }
 *  ipt_rule_free(rule);
 *  @endcode
 *
 *  A command line has five sections, written in this order: table, command with chain and command
 *  argument, parameters, matches, target. Each section holds at most 63 characters, shared by all
 *  of its items, and everything in front of the target at most 191. Where a value is IPT_..._NONE
 *  and a text must stand, "none" is rendered, which iptables refuses: records that are run have a
 *  chain, a command, and items other than these.
 *
 *  Texts go into the command line as they are, and a shell reads it: callers hand over no blanks,
 *  shell characters or "%" that they did not choose themselves. Messages go to sdb_log() at
 *  SDB_LOG_INFO ("ipt: ..."). Nothing is shared between records; one record is used by one thread.
 */
#ifndef TALVERA_IPT_H
#define TALVERA_IPT_H

#include <stddef.h>
#include <stdint.h>

#include "talvera/api.h"
#include "talvera/list.h"

TALVERA_BEGIN_DECLS

/* ---- Values of a rule ------------------------------------------------------------------------ */

/** Result of a rule that could not be rendered or built; nothing was run. */
#define IPT_RULE_FAILED 2012

/** Room for any command line, terminator included. */
#define IPT_LINE_SIZE 256

/** Tables, after "-t". */
enum ipt_table {
  IPT_TABLE_FILTER = 0,    /**< "filter" */
  IPT_TABLE_RAW = 1,       /**< "raw" */
  IPT_TABLE_CONNTRACK = 2, /**< "conntrack", the name of a match: iptables knows no such table */
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
  IPT_COMMAND_INSERT = 2,       /**< -I; the command argument is a rule number */
  IPT_COMMAND_DELETE = 3,       /**< -D; likewise */
  IPT_COMMAND_REPLACE = 4,      /**< -R; likewise */
  IPT_COMMAND_FLUSH = 5,        /**< -F */
  IPT_COMMAND_ZERO = 6,         /**< -Z */
  IPT_COMMAND_NEW_CHAIN = 7,    /**< -N */
  IPT_COMMAND_DELETE_CHAIN = 8, /**< -X */
  IPT_COMMAND_POLICY = 9        /**< -P; the command argument is the policy's name */
};

/** Targets, after "-j". */
enum ipt_target {
  IPT_TARGET_NONE = 0,        /**< no "-j" */
  IPT_TARGET_ACCEPT = 1,      /**< "ACCEPT" */
  IPT_TARGET_DROP = 2,        /**< "DROP" */
  IPT_TARGET_QUEUE = 3,       /**< "QUEUE" */
  IPT_TARGET_RETURN = 4,      /**< "RETURN" */
  IPT_TARGET_REJECT = 5,      /**< "REJECT" */
  IPT_TARGET_JUMP = 6,        /**< "JUMP": iptables knows no such target */
  IPT_TARGET_CLASSIFY = 7,    /**< "CLASSIFY" */
  IPT_TARGET_DNAT = 8,        /**< the target argument goes behind "--to" */
  IPT_TARGET_SNAT = 9,        /**< likewise */
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

/** Match modules, after "-m". */
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

/** Option words of parameters and matches. The caller pairs them with what takes them. */
enum ipt_option {
  IPT_OPTION_NONE = 0,           /**< no option word */
  IPT_OPTION_DPORT = 1,          /**< "--dport", of IPT_PARAM_PROTOCOL, as those up to 7 */
  IPT_OPTION_SPORT = 2,          /**< "--sport" */
  IPT_OPTION_TCP_FLAGS = 3,      /**< "--tcp-flags" */
  IPT_OPTION_TCP_OPTION = 4,     /**< "--tcp-option" */
  IPT_OPTION_SYN = 5,            /**< "--syn" */
  IPT_OPTION_NOT_SYN = 6,        /**< "! --syn" */
  IPT_OPTION_ICMP_TYPE = 7,      /**< "--icmp-type" */
  IPT_OPTION_HELPER = 8,         /**< "--helper", of IPT_MATCH_HELPER */
  IPT_OPTION_SRC_RANGE = 9,      /**< "--src-range", of IPT_MATCH_IPRANGE, as those up to 12 */
  IPT_OPTION_NOT_SRC_RANGE = 10, /**< "! --src-range" */
  IPT_OPTION_DST_RANGE = 11,     /**< "--dst-range" */
  IPT_OPTION_NOT_DST_RANGE = 12, /**< "! --dst-range" */
  IPT_OPTION_MAC_SOURCE = 13,    /**< "--mac-source", of IPT_MATCH_MAC */
  IPT_OPTION_SPORTS = 14,        /**< "--sports", of IPT_MATCH_MPORT, as those up to 16 */
  IPT_OPTION_DPORTS = 15,        /**< "--dports" */
  IPT_OPTION_PORTS = 16,         /**< "--ports" */
  IPT_OPTION_STATE = 17          /**< "--state", of IPT_MATCH_STATE */
};

/** Bits of an item's negation mask: what gets a "!" in front. In front of a value ("-d ! 10.0.0.1",
 *  "--dport ! 80") is where the gateway's iptables takes it; newer ones refuse that and take
 *  IPT_NEGATE_OPTION ("! --dport 80"). What they want for an item's own value ("! -d 10.0.0.1")
 *  cannot be rendered. */
enum ipt_negation {
  IPT_NEGATE_NOTHING = 0x01,     /**< carried, never rendered */
  IPT_NEGATE_VALUE = 0x02,       /**< the item's own value */
  IPT_NEGATE_OPTION = 0x04,      /**< the option word */
  IPT_NEGATE_OPTION_VALUE = 0x08 /**< the option's value */
};

/** One parameter, such as "-p tcp --dport 80". Owned by its rule. */
typedef struct ipt_param {
  uint32_t item;      /**< enum ipt_param_item */
  uint8_t negation;   /**< bits of enum ipt_negation */
  char *value;        /**< heap string behind the item's letter, or null */
  uint32_t option;    /**< enum ipt_option */
  char *option_value; /**< heap string behind the option word, or null */
} ipt_param;

/** One match, such as "-m state --state NEW". Owned by its rule; laid out as ipt_param. */
typedef struct ipt_match {
  uint32_t item;      /**< enum ipt_match_module */
  uint8_t negation;   /**< bits of enum ipt_negation */
  char *value;        /**< always null: a match has no value of its own */
  uint32_t option;    /**< enum ipt_option */
  char *option_value; /**< heap string behind the option word, or null */
} ipt_match;

/** A rule. Owned by the caller; made by one of the constructors, released with ipt_rule_free().
 *  The fields may be set directly; strings put there come from malloc. */
typedef struct ipt_rule {
  uint32_t table;         /**< enum ipt_table */
  uint32_t chain;         /**< enum ipt_chain */
  uint32_t command;       /**< enum ipt_command */
  char *command_argument; /**< owned string behind the chain, or null */
  list_obj *params;       /**< owned list of ipt_param; null until first needed */
  list_obj *matches;      /**< owned list of ipt_match; null until first needed */
  uint32_t target;        /**< enum ipt_target */
  uint8_t mask;           /**< the caller's own: compared, never rendered */
  char *target_argument;  /**< owned string behind the target, or null */
} ipt_rule;

/* ---- Building rules -------------------------------------------------------------------------- */

/** @return a new rule, all zero and without lists, for commands that take no items; null when
 *          memory runs out */
TALVERA_API ipt_rule *ipt_simplerule_init(void) TALVERA_MUST_USE;

/** @return a new rule, all zero, with two empty lists; null when memory runs out */
TALVERA_API ipt_rule *ipt_rule_init(void) TALVERA_MUST_USE;

/** Frees a rule with its items and strings; null is ignored.
 *
 *  @param rule  the rule
 */
TALVERA_API void ipt_rule_free(ipt_rule *rule);

/** Appends a parameter; items are rendered in the order in which they were added.
 *
 *  The rule takes over both strings in every case: on failure they have been freed.
 *
 *  @param rule          the rule; null is a failure
 *  @param item          one of enum ipt_param_item
 *  @param negation      bits of enum ipt_negation
 *  @param value         heap string, or null
 *  @param option        one of enum ipt_option; checked when the rule is rendered
 *  @param option_value  heap string, or null
 *  @return the new item, which stays the rule's; null when @p item is 7 or more or its list cannot
 *          be made or added to (these are logged), or when memory runs out
 */
TALVERA_API ipt_param *ipt_rule_add_param(ipt_rule *rule, uint32_t item, uint8_t negation,
                                          char *value, uint32_t option, char *option_value);

/** Appends a match.
 *
 *  @param rule          the rule; null is a failure
 *  @param item          one of enum ipt_match_module
 *  @param negation      bits of enum ipt_negation
 *  @param option        one of enum ipt_option
 *  @param option_value  heap string or null, taken over in every case
 *  @return as ipt_rule_add_param(); @p item is refused from 10 on
 */
TALVERA_API ipt_match *ipt_rule_add_match(ipt_rule *rule, uint32_t item, uint8_t negation,
                                          uint32_t option, char *option_value);

/** The name of a target.
 *
 *  @param target  one of enum ipt_target
 *  @return the name, static; null for IPT_TARGET_NONE and for values that are no target
 */
TALVERA_API const char *ipt_target_string(uint32_t target);

/* ---- Running rules --------------------------------------------------------------------------- */

/** Renders a rule into its command line.
 *
 *  Blanks are exactly as they fall: an empty command argument leaves a blank behind the chain's
 *  name, an empty target argument one or two behind the target's.
 *
 *  Parameters share 63 characters, and so do matches. The value, option word or option value that
 *  does not fit into what is left is left out; the rule fails only when its own dash and name do
 *  not fit any more.
 *
 *  @param rule         the rule, which is not changed; null is a failure
 *  @param[out] buffer  room for IPT_LINE_SIZE bytes; receives a terminated string, which on failure
 *                      means nothing
 *  @return 0; IPT_RULE_FAILED when a value is out of range or a text too long, which is logged as
 *          "ipt: error (%d) processing rule at step (%d)": error -1 for a section that failed, -2
 *          for more than 191 characters in front of step; steps count from 0, the table
 */
TALVERA_API int ipt_make_rule_string(const ipt_rule *rule, char *buffer) TALVERA_NONNULL(2);

/** Renders a rule, prints `CWS ipt: invoking rule "<command line>"` to standard output and runs it.
 *
 *  The command line is sdb_system()'s format and there are no arguments, so texts must hold no "%".
 *
 *  @param rule  the rule, which is not changed; null cannot be rendered
 *  @return the result of sdb_system(): 0 for success, and also when a signal ended the command;
 *          else its exit code, or an errno value when no shell could be started. IPT_RULE_FAILED,
 *          with nothing run, when the rule cannot be rendered
 */
TALVERA_API int ipt_process_rule(const ipt_rule *rule);

/** Takes all rules out of a chain of the filter table.
 *
 *  @param chain  one of enum ipt_chain
 *  @return as ipt_process_rule(); IPT_RULE_FAILED also when memory runs out
 */
TALVERA_API int ipt_flush_chain(uint32_t chain);

/** Sets the policy of a chain of the filter table.
 *
 *  @param chain   IPT_CHAIN_INPUT, IPT_CHAIN_FORWARD or IPT_CHAIN_OUTPUT
 *  @param policy  IPT_TARGET_ACCEPT or IPT_TARGET_DROP
 *  @return as ipt_process_rule(); IPT_RULE_FAILED also for other values and when memory runs out
 */
TALVERA_API int ipt_set_chain_policy(uint32_t chain, uint32_t policy);

/* ---- Comparing rules ------------------------------------------------------------------------- */

/** Compares two rules field by field and item by item, in the order of the items.
 *
 *  Strings are equal when both are null or both hold the same bytes: a null one differs from an
 *  empty one. A missing list is an empty one. The rule mask counts, though it is not rendered.
 *
 *  @param rule_a  one rule
 *  @param rule_b  the other
 *  @return 0 when equal, 1 when not, and 1 when either is null, even when both are, which is meant:
 *          no rule is equal to none
 */
TALVERA_API int ipt_rule_compare(const ipt_rule *rule_a, const ipt_rule *rule_b);

/* ---- User-level values ----------------------------------------------------------------------- */

/** Takes a leading "!" and the spaces behind it off a text.
 *
 *  @param bit           number of the bit to set in @p mask when there is a "!"; 8 and more set
 *                       none
 *  @param[in,out] mask  negation mask; other bits stay
 *  @param text          user-level text, or null
 *  @param[out] result   receives a pointer into @p text, or null when that is null
 */
TALVERA_API void ipt_parse_neg_val(unsigned int bit, uint8_t *mask, const char *text,
                                   const char **result) TALVERA_NONNULL(2, 4);

/** Makes a protocol as iptables wants it.
 *
 *  @param text  user-level text, or null
 *  @return a heap copy of @p text for the caller to free, when it is "tcp", "udp", "icmp" or "ALL"
 *          in exactly this case, or a decimal number; else, and when memory runs out, null
 */
TALVERA_API char *ipt_make_protocol_value(const char *text) TALVERA_MUST_USE;

/** Tells a port from a port range.
 *
 *  @param text  user-level text
 *  @return 1 when @p text is digits only, or empty; 2 when something else follows a leading digit;
 *          -1 when it does not begin with a digit, or is null
 */
TALVERA_API int ipt_check_port_input(const char *text);

/** Makes a port or port range as iptables wants it.
 *
 *  @param text  "a", "a-b" or "a b", which gives "a", "a:b" and "a:b". Of several separators one
 *               is replaced: the first "-", or with no "-" the first space
 *  @return a heap string for the caller to free; null when @p text does not begin with a digit,
 *          when it is neither digits only nor holds a separator, and when memory runs out
 */
TALVERA_API char *ipt_make_port_value(const char *text) TALVERA_MUST_USE;

/** Tells which internal ports an external port or port range goes to.
 *
 *  @param external       "a" or "a:b", as ipt_make_port_value() gives it
 *  @param internal_port  the internal port that the first external port goes to
 *  @param[out] buffer    room for @p size bytes; for one port receives the internal port, for a
 *                        range "first-last", terminated and cut when it does not fit; for a range
 *                        that begins at @p internal_port nothing is written: no translation needed
 *  @param size           bytes of room
 *  @return 0; -1 with errno EINVAL when @p external is neither
 */
TALVERA_API int ipt_calc_portrange(const char *external, int internal_port, char *buffer,
                                   size_t size);

/** @name Ready-made rules Each returns a new rule, to be released with ipt_rule_free(), or null
 *  when a text cannot be used or memory runs out. Texts are copied. A null interface, host, port,
 *  source range or, in ipt_make_maplist_rule(), destination gives null. A leading "!" is rendered
 *  in front of the value: see enum ipt_negation.
 *  @{ */

/** Makes the rule of a pinhole: connections to a port of the gateway go to a host inside.
 *
 *  Destination, protocol and external port may begin with "!", but a negated protocol comes out
 *  without it. An unknown protocol leaves the protocol's place empty, which iptables refuses.
 *
 *  @param command        one of enum ipt_command
 *  @param destination    address of the gateway that the connection is for; null leaves its place
 *                        empty
 *  @param protocol       what ipt_make_protocol_value() takes
 *  @param external_port  what ipt_make_port_value() takes
 *  @param internal_host  address of the host; with ":" and ports it is cut to 31 characters
 *  @param internal_port  the host's port, the first one for a range
 *  @return a new rule, to be released with ipt_rule_free(); null when a text cannot be used or
 *          memory runs out
 */
TALVERA_API ipt_rule *ipt_make_pinhole_rule(uint32_t command, const char *destination,
                                            const char *protocol, const char *external_port,
                                            const char *internal_host,
                                            int internal_port) TALVERA_MUST_USE;

/** Makes the rule that hides what leaves through an interface behind that interface's address.
 *
 *  @param command    IPT_COMMAND_APPEND or IPT_COMMAND_INSERT turns NAT on, IPT_COMMAND_DELETE off
 *  @param interface  name of the interface
 *  @return a new rule, to be released with ipt_rule_free(); null when a text cannot be used or
 *          memory runs out
 */
TALVERA_API ipt_rule *ipt_make_nat_onoff_rule(uint32_t command,
                                              const char *interface) TALVERA_MUST_USE;

/** Makes the rule that does NAT for a range of inner addresses.
 *
 *  @param command       one of enum ipt_command
 *  @param destination   address that packets go to; may begin with "!"
 *  @param source_range  "first-last" addresses that they come from; may begin with "!"
 *  @return a new rule, to be released with ipt_rule_free(); null when a text cannot be used or
 *          memory runs out
 */
TALVERA_API ipt_rule *ipt_make_maplist_rule(uint32_t command, const char *destination,
                                            const char *source_range) TALVERA_MUST_USE;

/** @} */

/* ---- Names ----------------------------------------------------------------------------------- */

/** @{ */
/** Name of one of the gateway's own chains. */
TALVERA_API extern const char nm_tai_mangle_prerouting_chain_name[28];
TALVERA_API extern const char nm_tai_filter_sbl_chain_name[21];
TALVERA_API extern const char nm_tai_filter_input_chain_name[23];
TALVERA_API extern const char nm_tai_filter_forward_chain_name[25];
TALVERA_API extern const char nm_tai_nat_prerouting_chain_name[25];
/** @} */

/** A TCP flag. */
typedef struct ipt_tcp_flag {
  const char *name; /**< in capitals */
  uint8_t value;    /**< the library's own bit, not that of the TCP header */
} ipt_tcp_flag;

/** SYN, ACK, FIN, RST, URG, PSH, and NONE and ALL, which both stand for all six. */
TALVERA_API extern const ipt_tcp_flag flags[8];

/** Checks an argument of "--tcp-flags": two lists of flags, such as "SYN,ACK,FIN SYN".
 *
 *  @param text  names from the table `flags` in any case, with commas between them; lists with
 *               spaces between them. What follows the 48th character is not looked at
 *  @return 0 when there are exactly two lists and no flag is in one list twice (NONE and ALL stand
 *          alone); else -1 with errno EINVAL
 */
TALVERA_API int check_tcp_flags(const char *text);

/** The number of an IP protocol (IANA's registry of Assigned Internet Protocol Numbers).
 *
 *  @param name  the registry's keyword, in any case
 *  @return the number; 0 for "none"; -1 for unknown names
 */
TALVERA_API int wkp_prot_from_name(const char *name);

/** Formats one address record of the captive portal as "192.168.1.0/24".
 *
 *  @param records      records of 10 characters, without separators: eight hexadecimal digits of an
 *                      IPv4 address, most significant first, and a prefix length of two decimal
 *                      digits. A NUL ends a record, of which the rest then reads as empty (one of
 *                      zero bytes gives "0.0.0.0/0"). Malformed digits count as far as they can be
 *                      read
 *  @param[out] buffer  receives the text, terminated and cut to @p size bytes
 *  @param size         bytes of room; 20 hold any well-formed record
 *  @param index        number of the record, from 0; must be one that @p records has
 *  @return the length of the whole text, also when it was cut
 */
TALVERA_API int captiveportal_make_addrbuf(const char *records, char *buffer, size_t size,
                                           unsigned int index) TALVERA_NONNULL(1);

TALVERA_END_DECLS

#endif
