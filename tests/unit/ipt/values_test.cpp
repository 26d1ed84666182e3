// User-level values: negation, protocols, ports, TCP flags, protocol names, captive-portal records.
#include <cctype>
#include <sstream>

#include "unit/ipt/fixture.h"

namespace talvera::test {
namespace {

// The text of a heap string, which is freed; "(null)" for null.
std::string taken(char *text) {
  const std::string result = text != nullptr ? text : "(null)";
  std::free(text);
  return result;
}

TEST(Values, Negation) {
  // Text, bit; the mask, which starts as 0x10, and the rest.
  const std::tuple<const char *, unsigned, unsigned, const char *> cases[] = {
      {"tcp", 1, 0x10, "tcp"}, {"!   tcp", 3, 0x18, "tcp"},  {"!x", 8, 0x10, "x"},
      {"! !x", 0, 0x11, "!x"}, {"!\ttcp", 7, 0x90, "\ttcp"}, {" !tcp", 1, 0x10, " !tcp"},
      {"", 1, 0x10, ""},       {"!", 1, 0x12, ""},           {"!x", 32, 0x10, "x"},
  };
  for (const auto &[text, bit, expected, expected_rest] : cases) {
    SCOPED_TRACE(text);
    std::uint8_t mask = 0x10;
    const char *rest = nullptr;
    ipt_parse_neg_val(bit, &mask, text, &rest);
    EXPECT_STREQ(rest, expected_rest);
    EXPECT_EQ(rest + std::strlen(rest), text + std::strlen(text));
    EXPECT_EQ(mask, expected);
  }
  std::uint8_t mask = 0x10;
  const char *rest = "";
  ipt_parse_neg_val(1, &mask, nullptr, &rest);
  EXPECT_EQ(rest, nullptr);
  EXPECT_EQ(mask, 0x10);
}

TEST(Values, Protocols) {
  for (const char *text : {"tcp", "udp", "icmp", "ALL", "0", "6", "0123456789012345678901234567"})
    EXPECT_EQ(taken(ipt_make_protocol_value(text)), text);
  for (const char *text : {"", "TCP", "all", "tcp ", "tc", "tcpx", "6x", "-6", " 6", "sctp"})
    EXPECT_EQ(ipt_make_protocol_value(text), nullptr) << text;
  EXPECT_EQ(ipt_make_protocol_value(nullptr), nullptr);
}

TEST(Values, Ports) {
  const std::tuple<const char *, int, const char *> cases[] = {
      {"80", 1, "80"},
      {"", 1, ""},
      {"1000-2000-3000", 2, "1000:2000-3000"},
      {"1000 2000-3000", 2, "1000 2000:3000"},
      {"1000 2000 3000", 2, "1000:2000 3000"},
      {"1000-", 2, "1000:"},
      {"1000:2000", 2, "(null)"},
      {"x80", -1, "(null)"},
      {":", -1, "(null)"},
      {"/", -1, "(null)"},
  };
  for (const auto &[text, kind, value] : cases) {
    EXPECT_EQ(ipt_check_port_input(text), kind) << text;
    EXPECT_EQ(taken(ipt_make_port_value(text)), value) << text;
  }
  EXPECT_EQ(ipt_check_port_input(nullptr), -1);
  EXPECT_EQ(ipt_make_port_value(nullptr), nullptr);
}

TEST(Values, PortRanges) {
  const std::tuple<const char *, int, int, std::string> cases[] = {
      {"80", 123456, 0, "123456"},
      {"", 7, 0, "7"},
      {"1000:1010", 2000, 0, "2000-2010"},
      {"1000:1010", 990, 0, "990-1000"},
      {"1000:1010", 1000, 0, "held"},  // nothing to translate
      {"1010:1000", 2000, 0, "2000-1990"},
      {"1000:2000:3000", 1, 0, "1-1001"},
      {"1:65535", -1, 0, "-1-65533"},
      {"1:99999999999999999999", 0, 0, "0-2147483646"},
      {"99999999999999999999:2", 0, 0, "0--2147483645"},
      {"1000-1010", 2000, -1, "held"},
      {":1", 1, -1, "held"},
      {"1000:", 2000, -1, "held"},
      {"1000:", 1000, 0, "held"},
      {"1000x2000:3000", 1, -1, "held"},
  };
  for (const auto &[external, internal, result, text] : cases) {
    SCOPED_TRACE(external);
    for (const std::size_t size : {33U, 6U}) {  // what there is no room for is cut
      char buffer[33] = "held";
      EXPECT_EQ(ipt_calc_portrange(external, internal, buffer, size), result);
      EXPECT_EQ(buffer, text.substr(0, size - 1));
    }
  }
}

TEST(Values, TcpFlags) {
  for (const char *text :
       {"SYN,ACK,FIN,RST SYN", "syn,ack syn", "ALL NONE", "  SYN,,ACK   ,PSH ", "URG PSH",
        "SYN,ACK,FIN,RST,URG,PSH SYN,ACK,FIN,RST,URG,PSH",
        "SYN,ACK,FIN,RST,URG,PSH     SYN,ACK,FIN,RST,URG X"}) {  // the third list is cut off
    EXPECT_EQ(check_tcp_flags(text), 0) << text;
  }
  for (const char *text : {"", " ", "SYN", "SYN ACK FIN", "SYN,SYN ACK", "ACK SYN,SYN",
                           "SYN,ALL ACK", "NONE,SYN ACK", "SYN XYZ", "XYZ SYN", "SYNC ACK", ", SYN",
                           "SYN ,", "SYN\tACK", "SYN,ACK,FIN,RST,URG,PSH    SYN,ACK,FIN,RST,URG X",
                           "SYN,ACK,FIN,RST,URG,PSH   SYN,ACK,FIN,RST,URG,PSH"}) {
    EXPECT_EQ(check_tcp_flags(text), -1) << text;
  }

  std::string table;
  for (const ipt_tcp_flag &flag : flags)
    table += flag.name + (" " + std::to_string(flag.value)) + ", ";
  EXPECT_EQ(table, "SYN 1, ACK 2, FIN 4, RST 8, URG 16, PSH 32, NONE 63, ALL 63, ");
}

// Every protocol's name and number.
constexpr char kProtocols[] =
    "ARGUS 13 AH 51 AX.25 93 ARIS 104 A/N 107 BBN-RCC-MON 10 BNA 49 BR-SAT-MON 76 CBT 7 "
    "CHAOS 16 CFTP 62 CPNX 72 CPHB 73 Compaq-Peer 110 CRTP 126 CRUDP 127 DCN-MEAS 19 DCCP 33 "
    "DDP 37 DSR 48 DGP 86 DDX 116 EGP 8 EMCON 14 ESP 50 EIGRP 88 ETHERIP 97 ENCAP 98 FIRE 125 "
    "FC 133 GGP 3 GRE 47 GMTP 100 HOPOPT 0 HMP 20 HIP 139 ICMP 1 IGMP 2 IPINIP 4 IPv4 4 IGP 9 "
    "IRTP 28 ISO-TP4 29 IDPR 35 IDPR-CMTP 38 IL 40 IPv6 41 IPv6-Route 43 IPv6-Frag 44 IDRP 45 "
    "I-NLSP 52 IPv6-ICMP 58 IPv6-NoNxt 59 IPv6-Opts 60 IPPC 67 IPCV 71 ISO-IP 80 IPTM 84 "
    "IPIP 94 IFMP 101 IPComp 108 IPX-in-IP 111 IATP 117 ISIS-OVER-IPV4 124 IPLT 129 "
    "KRYPTOLAN 65 LEAF-1 25 LEAF-2 26 LARP 91 L2TP 115 MUX 18 MFE-NSP 31 MERIT-INP 32 "
    "MOBILE 55 MTP 92 MICP 95 Mobility-Header 135 MPLS-in-IP 137 manet 138 NVP-II 11 NETBLT 30 "
    "NARP 54 NSFNET-IGP 85 OSPF 89 OSPFIGP 89 PUP 12 PRM 21 PVP 75 PNNI 102 PIM 103 PGM 113 "
    "PTP 123 PIPE 131 QNX 106 RDP 27 RSVP 46 RVD 66 RSVP-E2E-IGNORE 134 ROHC 142 Reserved 255 "
    "ST 5 SDRP 42 SWIPE 53 SKIP 57 SAT-EXPAK 64 SAT-MON 69 SUN-ND 77 SECURE-VMTP 82 "
    "Sprite-RPC 90 SCC-SP 96 SCPS 105 SNP 109 STP 118 SRP 119 SMP 121 SM 122 SSCOPMCE 128 "
    "SPS 130 SCTP 132 Shim6 140 TCP 6 TRUNK-1 23 TRUNK-2 24 TP++ 39 TLSP 56 TTP 84 TCF 87 "
    "UDP 17 UTI 120 UDPLite 136 VISA 70 VMTP 81 VINES 83 VRRP 112 WSN 74 WB-MON 78 WB-EXPAK 79 "
    "WESP 141 XNET 15 XNS-IDP 22 XTP 36 3PC 34 -252 143";

TEST(Values, ProtocolNames) {
  std::istringstream protocols(kProtocols);
  std::string name;
  int number = 0;
  int count = 0;
  for (; protocols >> name >> number; ++count) {
    EXPECT_EQ(wkp_prot_from_name(name.c_str()), number) << name;
    for (char &c : name)
      c = static_cast<char>(std::isupper(c) != 0 ? std::tolower(c) : std::toupper(c));
    EXPECT_EQ(wkp_prot_from_name(name.c_str()), number) << name;
  }
  EXPECT_EQ(count, 143);
  for (const char *none : {"none", "NONE", "nOnE"})
    EXPECT_EQ(wkp_prot_from_name(none), 0);
  for (const char *unknown : {"", "jxta", "yyy", "zzz", "tcpx", "tc", " tcp", "253", "252", "-25",
                              "\xE9gp", "nonesuch", "non"})
    EXPECT_EQ(wkp_prot_from_name(unknown), -1) << unknown;
  EXPECT_EQ(wkp_prot_from_name(nullptr), -1);
}

TEST(Values, CaptivePortalRecords) {
  const char records[] =
      "C0A8010018"
      "ffFFffFF32"
      "12 00000-1"
      "\0\0\0\0\0\0\0\0\0\0"
      "0x1Fzzzz+7"
      "1F";
  const char *texts[] = {"192.168.1.0/18", "255.255.255.255/32", "0.0.0.18/-1",
                         "0.0.0.0/0",      "0.0.0.31/7",         "0.0.0.31/0"};
  for (unsigned i = 0; i < std::size(texts); ++i) {
    char buffer[20];
    EXPECT_EQ(captiveportal_make_addrbuf(records, buffer, sizeof buffer, i),
              static_cast<int>(std::strlen(texts[i])));
    EXPECT_STREQ(buffer, texts[i]);
  }
  char small[9] = "########";
  EXPECT_EQ(captiveportal_make_addrbuf(records, small, 8, 0), 14);
  EXPECT_EQ(std::string(small, 9), std::string("192.168\0", 9));

  const std::string unterminated(10, '7');  // read to its end and no further
  const std::vector<char> exact(unterminated.begin(), unterminated.end());
  EXPECT_EQ(captiveportal_make_addrbuf(exact.data(), nullptr, 0, 0), 18);
}

TEST(Values, ChainNames) {
  EXPECT_STREQ(nm_tai_mangle_prerouting_chain_name, "tai_mangle_prerouting_chain");
  EXPECT_STREQ(nm_tai_filter_sbl_chain_name, "tai_filter_sbl_chain");
  EXPECT_STREQ(nm_tai_filter_input_chain_name, "tai_filter_input_chain");
  EXPECT_STREQ(nm_tai_filter_forward_chain_name, "tai_filter_forward_chain");
  EXPECT_STREQ(nm_tai_nat_prerouting_chain_name, "tai_nat_prerouting_chain");
}

}  // namespace
}  // namespace talvera::test
