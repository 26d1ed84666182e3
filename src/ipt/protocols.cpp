// IP protocols by name: IANA's registry of Assigned Internet Protocol Numbers.
#include <strings.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <iterator>

#include "talvera/ipt.h"
#include "talvera/values.h"

namespace {

constexpr std::size_t kBuckets = 27;  // "a" to "z", and one for everything else

// By bucket; within a bucket in the order in which names are looked up.
constexpr ust_entry kProtocols[] = {
    // a
    {13, "ARGUS"},
    {51, "AH"},
    {93, "AX.25"},
    {104, "ARIS"},
    {107, "A/N"},
    // b
    {10, "BBN-RCC-MON"},
    {49, "BNA"},
    {76, "BR-SAT-MON"},
    // c
    {7, "CBT"},
    {16, "CHAOS"},
    {62, "CFTP"},
    {72, "CPNX"},
    {73, "CPHB"},
    {110, "Compaq-Peer"},
    {126, "CRTP"},
    {127, "CRUDP"},
    // d
    {19, "DCN-MEAS"},
    {33, "DCCP"},
    {37, "DDP"},
    {48, "DSR"},
    {86, "DGP"},
    {116, "DDX"},
    // e
    {8, "EGP"},
    {14, "EMCON"},
    {50, "ESP"},
    {88, "EIGRP"},
    {97, "ETHERIP"},
    {98, "ENCAP"},
    // f
    {125, "FIRE"},
    {133, "FC"},
    // g
    {3, "GGP"},
    {47, "GRE"},
    {100, "GMTP"},
    // h
    {0, "HOPOPT"},
    {20, "HMP"},
    {139, "HIP"},
    // i
    {1, "ICMP"},
    {2, "IGMP"},
    {4, "IPINIP"},
    {4, "IPv4"},
    {9, "IGP"},
    {28, "IRTP"},
    {29, "ISO-TP4"},
    {35, "IDPR"},
    {38, "IDPR-CMTP"},
    {40, "IL"},
    {41, "IPv6"},
    {43, "IPv6-Route"},
    {44, "IPv6-Frag"},
    {45, "IDRP"},
    {52, "I-NLSP"},
    {58, "IPv6-ICMP"},
    {59, "IPv6-NoNxt"},
    {60, "IPv6-Opts"},
    {67, "IPPC"},
    {71, "IPCV"},
    {80, "ISO-IP"},
    {84, "IPTM"},
    {94, "IPIP"},
    {101, "IFMP"},
    {108, "IPComp"},
    {111, "IPX-in-IP"},
    {117, "IATP"},
    {124, "ISIS-OVER-IPV4"},
    {129, "IPLT"},
    // k
    {65, "KRYPTOLAN"},
    // l
    {25, "LEAF-1"},
    {26, "LEAF-2"},
    {91, "LARP"},
    {115, "L2TP"},
    // m
    {18, "MUX"},
    {31, "MFE-NSP"},
    {32, "MERIT-INP"},
    {55, "MOBILE"},
    {92, "MTP"},
    {95, "MICP"},
    {135, "Mobility-Header"},
    {137, "MPLS-in-IP"},
    {138, "manet"},
    // n
    {11, "NVP-II"},
    {30, "NETBLT"},
    {54, "NARP"},
    {85, "NSFNET-IGP"},
    // o
    {89, "OSPF"},
    {89, "OSPFIGP"},
    // p
    {12, "PUP"},
    {21, "PRM"},
    {75, "PVP"},
    {102, "PNNI"},
    {103, "PIM"},
    {113, "PGM"},
    {123, "PTP"},
    {131, "PIPE"},
    // q
    {106, "QNX"},
    // r
    {27, "RDP"},
    {46, "RSVP"},
    {66, "RVD"},
    {134, "RSVP-E2E-IGNORE"},
    {142, "ROHC"},
    {255, "Reserved"},
    // s
    {5, "ST"},
    {42, "SDRP"},
    {53, "SWIPE"},
    {57, "SKIP"},
    {64, "SAT-EXPAK"},
    {69, "SAT-MON"},
    {77, "SUN-ND"},
    {82, "SECURE-VMTP"},
    {90, "Sprite-RPC"},
    {96, "SCC-SP"},
    {105, "SCPS"},
    {109, "SNP"},
    {118, "STP"},
    {119, "SRP"},
    {121, "SMP"},
    {122, "SM"},
    {128, "SSCOPMCE"},
    {130, "SPS"},
    {132, "SCTP"},
    {140, "Shim6"},
    // t
    {6, "TCP"},
    {23, "TRUNK-1"},
    {24, "TRUNK-2"},
    {39, "TP++"},
    {56, "TLSP"},
    {84, "TTP"},
    {87, "TCF"},
    // u
    {17, "UDP"},
    {120, "UTI"},
    {136, "UDPLite"},
    // v
    {70, "VISA"},
    {81, "VMTP"},
    {83, "VINES"},
    {112, "VRRP"},
    // w
    {74, "WSN"},
    {78, "WB-MON"},
    {79, "WB-EXPAK"},
    {141, "WESP"},
    // x
    {15, "XNET"},
    {22, "XNS-IDP"},
    {36, "XTP"},
    // no letter
    {34, "3PC"},
    {143, "-252"},
};

constexpr std::size_t bucket_of(char lower_case) {
  return lower_case >= 'a' && lower_case <= 'z' ? static_cast<std::size_t>(lower_case - 'a')
                                                : kBuckets - 1;
}

constexpr std::size_t bucket_of(const ust_entry &entry) {
  const char first = entry.name[0];
  return bucket_of(first >= 'A' && first <= 'Z' ? static_cast<char>(first - 'A' + 'a') : first);
}

static_assert(std::is_sorted(std::begin(kProtocols), std::end(kProtocols),
                             [](const ust_entry &a, const ust_entry &b) {
                               return bucket_of(a) < bucket_of(b);
                             }));

// Where each bucket begins in the table, and the end of the last one.
constexpr std::array<std::uint8_t, kBuckets + 1> kStarts = [] {
  std::array<std::uint8_t, kBuckets + 1> starts{};
  for (const ust_entry &entry : kProtocols) {
    for (std::size_t i = bucket_of(entry) + 1; i < starts.size(); ++i)
      ++starts[i];
  }
  return starts;
}();

ust_table bucket(std::size_t index) {
  return {kProtocols + kStarts[index],
          static_cast<std::uint32_t>(kStarts[index + 1] - kStarts[index])};
}

}  // namespace

extern "C" int wkp_prot_from_name(const char *name) {
  if (name == nullptr) return -1;
  if (strcasecmp(name, "none") == 0) return 0;
  const int first = std::tolower(static_cast<unsigned char>(name[0]));
  const ust_table table = bucket(bucket_of(static_cast<char>(first)));
  const int index = ust_lookup_index_by_name_i(&table, name);
  return ust_lookup_value_by_index(&table, static_cast<unsigned int>(index));
}
