// IP protocols by name: IANA's registry of Assigned Internet Protocol Numbers.
#include <strings.h>

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "talvera/ipt.h"

namespace talvera::ipt {
namespace {

struct Protocol {
  char name[16];
  std::uint8_t number;
};

// By first letter; within a letter in lookup order.
constexpr Protocol kProtocols[] = {
    // a
    {"ARGUS", 13},
    {"AH", 51},
    {"AX.25", 93},
    {"ARIS", 104},
    {"A/N", 107},
    // b
    {"BBN-RCC-MON", 10},
    {"BNA", 49},
    {"BR-SAT-MON", 76},
    // c
    {"CBT", 7},
    {"CHAOS", 16},
    {"CFTP", 62},
    {"CPNX", 72},
    {"CPHB", 73},
    {"Compaq-Peer", 110},
    {"CRTP", 126},
    {"CRUDP", 127},
    // d
    {"DCN-MEAS", 19},
    {"DCCP", 33},
    {"DDP", 37},
    {"DSR", 48},
    {"DGP", 86},
    {"DDX", 116},
    // e
    {"EGP", 8},
    {"EMCON", 14},
    {"ESP", 50},
    {"EIGRP", 88},
    {"ETHERIP", 97},
    {"ENCAP", 98},
    // f
    {"FIRE", 125},
    {"FC", 133},
    // g
    {"GGP", 3},
    {"GRE", 47},
    {"GMTP", 100},
    // h
    {"HOPOPT", 0},
    {"HMP", 20},
    {"HIP", 139},
    // i
    {"ICMP", 1},
    {"IGMP", 2},
    {"IPINIP", 4},
    {"IPv4", 4},
    {"IGP", 9},
    {"IRTP", 28},
    {"ISO-TP4", 29},
    {"IDPR", 35},
    {"IDPR-CMTP", 38},
    {"IL", 40},
    {"IPv6", 41},
    {"IPv6-Route", 43},
    {"IPv6-Frag", 44},
    {"IDRP", 45},
    {"I-NLSP", 52},
    {"IPv6-ICMP", 58},
    {"IPv6-NoNxt", 59},
    {"IPv6-Opts", 60},
    {"IPPC", 67},
    {"IPCV", 71},
    {"ISO-IP", 80},
    {"IPTM", 84},
    {"IPIP", 94},
    {"IFMP", 101},
    {"IPComp", 108},
    {"IPX-in-IP", 111},
    {"IATP", 117},
    {"ISIS-OVER-IPV4", 124},
    {"IPLT", 129},
    // k
    {"KRYPTOLAN", 65},
    // l
    {"LEAF-1", 25},
    {"LEAF-2", 26},
    {"LARP", 91},
    {"L2TP", 115},
    // m
    {"MUX", 18},
    {"MFE-NSP", 31},
    {"MERIT-INP", 32},
    {"MOBILE", 55},
    {"MTP", 92},
    {"MICP", 95},
    {"Mobility-Header", 135},
    {"MPLS-in-IP", 137},
    {"manet", 138},
    // n
    {"NVP-II", 11},
    {"NETBLT", 30},
    {"NARP", 54},
    {"NSFNET-IGP", 85},
    // o
    {"OSPF", 89},
    {"OSPFIGP", 89},
    // p
    {"PUP", 12},
    {"PRM", 21},
    {"PVP", 75},
    {"PNNI", 102},
    {"PIM", 103},
    {"PGM", 113},
    {"PTP", 123},
    {"PIPE", 131},
    // q
    {"QNX", 106},
    // r
    {"RDP", 27},
    {"RSVP", 46},
    {"RVD", 66},
    {"RSVP-E2E-IGNORE", 134},
    {"ROHC", 142},
    {"Reserved", 255},
    // s
    {"ST", 5},
    {"SDRP", 42},
    {"SWIPE", 53},
    {"SKIP", 57},
    {"SAT-EXPAK", 64},
    {"SAT-MON", 69},
    {"SUN-ND", 77},
    {"SECURE-VMTP", 82},
    {"Sprite-RPC", 90},
    {"SCC-SP", 96},
    {"SCPS", 105},
    {"SNP", 109},
    {"STP", 118},
    {"SRP", 119},
    {"SMP", 121},
    {"SM", 122},
    {"SSCOPMCE", 128},
    {"SPS", 130},
    {"SCTP", 132},
    {"Shim6", 140},
    // t
    {"TCP", 6},
    {"TRUNK-1", 23},
    {"TRUNK-2", 24},
    {"TP++", 39},
    {"TLSP", 56},
    {"TTP", 84},
    {"TCF", 87},
    // u
    {"UDP", 17},
    {"UTI", 120},
    {"UDPLite", 136},
    // v
    {"VISA", 70},
    {"VMTP", 81},
    {"VINES", 83},
    {"VRRP", 112},
    // w
    {"WSN", 74},
    {"WB-MON", 78},
    {"WB-EXPAK", 79},
    {"WESP", 141},
    // x
    {"XNET", 15},
    {"XNS-IDP", 22},
    {"XTP", 36},
    // no letter
    {"3PC", 34},
    {"-252", 143},
};

constexpr std::size_t kPackedSize = [] {
  std::size_t size = 0;
  for (const Protocol &protocol : kProtocols)
    size += std::string_view(protocol.name).size() + 2;
  return size;
}();

// The stored form of the table: for each protocol its number, its name and a NUL. Pointers would be
// larger and need a load-time relocation each.
constexpr std::array<char, kPackedSize> kPacked = [] {
  std::array<char, kPackedSize> packed{};
  auto *end = packed.begin();
  for (const Protocol &protocol : kProtocols) {
    *end++ = static_cast<char>(protocol.number);
    for (const char c : std::string_view(protocol.name))
      *end++ = c;
    ++end;
  }
  return packed;
}();

// The initial by which lookups skip entries: a letter, or NUL for all else.
char initial(char lower_case) {
  return lower_case >= 'a' && lower_case <= 'z' ? lower_case : '\0';
}

}  // namespace
}  // namespace talvera::ipt

using namespace talvera::ipt;

extern "C" int wkp_prot_from_name(const char *name) {
  if (name == nullptr) return -1;
  if (strcasecmp(name, "none") == 0) return 0;
  const char wanted = initial(static_cast<char>(std::tolower(static_cast<unsigned char>(name[0]))));
  for (const char *entry = kPacked.begin(); entry != kPacked.end();) {
    const char *const candidate = entry + 1;
    if (initial(static_cast<char>(*candidate | 0x20)) == wanted &&
        strcasecmp(candidate, name) == 0) {
      return static_cast<std::uint8_t>(*entry);
    }
    entry = candidate;
    while (*entry++ != '\0') {
    }
  }
  return -1;
}
