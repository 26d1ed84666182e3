// IP protocols by name: IANA's registry of Assigned Internet Protocol Numbers.
#include <strings.h>

#include <array>
#include <cctype>
#include <cstdint>
#include <iterator>

#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

// NUL-terminated names of protocols 0, 1, 2, ..., empty for numbers without a keyword, followed by
// the names of kOtherNumbers. Pointers to names would be larger and need a load-time relocation
// each.
constexpr char kNames[] =
    // 0
    "HOPOPT\0ICMP\0IGMP\0GGP\0IPINIP\0ST\0TCP\0CBT\0EGP\0IGP\0"
    // 10
    "BBN-RCC-MON\0NVP-II\0PUP\0ARGUS\0EMCON\0XNET\0CHAOS\0UDP\0MUX\0DCN-MEAS\0"
    // 20
    "HMP\0PRM\0XNS-IDP\0TRUNK-1\0TRUNK-2\0LEAF-1\0LEAF-2\0RDP\0IRTP\0ISO-TP4\0"
    // 30
    "NETBLT\0MFE-NSP\0MERIT-INP\0DCCP\0"
    "3PC\0IDPR\0XTP\0DDP\0IDPR-CMTP\0TP++\0"
    // 40
    "IL\0IPv6\0SDRP\0IPv6-Route\0IPv6-Frag\0IDRP\0RSVP\0GRE\0DSR\0BNA\0"
    // 50
    "ESP\0AH\0I-NLSP\0SWIPE\0NARP\0MOBILE\0TLSP\0SKIP\0IPv6-ICMP\0IPv6-NoNxt\0"
    // 60
    "IPv6-Opts\0\0CFTP\0\0SAT-EXPAK\0KRYPTOLAN\0RVD\0IPPC\0\0SAT-MON\0"
    // 70
    "VISA\0IPCV\0CPNX\0CPHB\0WSN\0PVP\0BR-SAT-MON\0SUN-ND\0WB-MON\0WB-EXPAK\0"
    // 80
    "ISO-IP\0VMTP\0SECURE-VMTP\0VINES\0IPTM\0NSFNET-IGP\0DGP\0TCF\0EIGRP\0OSPF\0"
    // 90
    "Sprite-RPC\0LARP\0MTP\0AX.25\0IPIP\0MICP\0SCC-SP\0ETHERIP\0ENCAP\0\0"
    // 100
    "GMTP\0IFMP\0PNNI\0PIM\0ARIS\0SCPS\0QNX\0A/N\0IPComp\0SNP\0"
    // 110
    "Compaq-Peer\0IPX-in-IP\0VRRP\0PGM\0\0L2TP\0DDX\0IATP\0STP\0SRP\0"
    // 120
    "UTI\0SMP\0SM\0PTP\0ISIS-OVER-IPV4\0FIRE\0CRTP\0CRUDP\0SSCOPMCE\0IPLT\0"
    // 130
    "SPS\0PIPE\0SCTP\0FC\0RSVP-E2E-IGNORE\0Mobility-Header\0UDPLite\0MPLS-in-IP\0manet\0HIP\0"
    // 140; 143 is intentionally named "-252"
    "Shim6\0WESP\0ROHC\0-252\0"
    // others
    "IPv4\0TTP\0OSPFIGP\0Reserved\0none\0";
constexpr unsigned kNumbers = 144;
constexpr std::array<std::uint8_t, 5> kOtherNumbers = {4, 84, 89, 255, 0};

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" int wkp_prot_from_name(const char *name) {
  if (name == nullptr) return -1;
  const int initial = std::tolower(static_cast<unsigned char>(name[0]));
  unsigned number = 0;
  for (const char *candidate = kNames; candidate != std::end(kNames) - 1; ++number) {
    // Most names differ in the first character.
    if ((*candidate | 0x20) == initial && strcasecmp(candidate, name) == 0) {
      return static_cast<int>(number < kNumbers ? number : kOtherNumbers[number - kNumbers]);
    }
    while (*candidate++ != '\0') {
    }
  }
  return -1;
}
