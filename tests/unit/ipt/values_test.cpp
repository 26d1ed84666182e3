// User-level values: negation, protocols, ports, TCP flags, protocol names, captive-portal records.
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
  const struct {
    const char *text;
    unsigned bit;
    unsigned mask;  // starts as 0x10
    const char *rest;
  } cases[] = {
      {"tcp", 1, 0x10, "tcp"}, {"!tcp", 1, 0x12, "tcp"},     {"!   tcp", 3, 0x18, "tcp"},
      {"! !x", 0, 0x11, "!x"}, {"!\ttcp", 7, 0x90, "\ttcp"}, {" !tcp", 1, 0x10, " !tcp"},
      {"", 1, 0x10, ""},       {"!", 1, 0x12, ""},           {"!x", 8, 0x10, "x"},
      {"!x", 32, 0x10, "x"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text);
    std::uint8_t mask = 0x10;
    const char *rest = nullptr;
    ipt_parse_neg_val(c.bit, &mask, c.text, &rest);
    EXPECT_STREQ(rest, c.rest);
    EXPECT_EQ(rest + std::strlen(rest), c.text + std::strlen(c.text));
    EXPECT_EQ(mask, c.mask);
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
  const struct {
    const char *text;
    int kind;
    const char *value;
  } cases[] = {
      {"80", 1, "80"},
      {"", 1, ""},
      {"1000-2000", 2, "1000:2000"},
      {"1000 2000", 2, "1000:2000"},
      {"1000-2000 3000", 2, "1000:2000 3000"},
      {"1000-2000-3000", 2, "1000:2000-3000"},
      {"1000 2000-3000", 2, "1000 2000:3000"},
      {"1000 2000 3000", 2, "1000:2000 3000"},
      {"1000-", 2, "1000:"},
      {"1000:2000", 2, "(null)"},
      {"80x", 2, "(null)"},
      {"x80", -1, "(null)"},
      {"-80", -1, "(null)"},
      {" 80", -1, "(null)"},
      {":", -1, "(null)"},
      {"/", -1, "(null)"},
      {"1000000000000000000000000000000-2000000000000000000000000000000000", 2,
       "1000000000000000000000000000000:2000000000000000000000000000000000"},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(ipt_check_port_input(c.text), c.kind) << c.text;
    EXPECT_EQ(taken(ipt_make_port_value(c.text)), c.value) << c.text;
  }
  EXPECT_EQ(ipt_check_port_input(nullptr), -1);
  EXPECT_EQ(ipt_make_port_value(nullptr), nullptr);

  SystemDouble system;
  for (const char *text : {"80", "1-2"}) {
    system.fail("strdup", ENOMEM);
    EXPECT_EQ(ipt_make_port_value(text), nullptr);
  }
}

TEST(Values, PortRanges) {
  const struct {
    const char *external;
    int internal;
    int result;
    const char *text;
  } cases[] = {
      {"80", 8080, 0, "8080"},
      {"80", 80, 0, "80"},
      {"", 7, 0, "7"},
      {"1000:1010", 2000, 0, "2000-2010"},
      {"1000:1010", 990, 0, "990-1000"},
      {"1000:1010", 1000, 0, "held"},  // nothing to translate
      {"1010:1000", 2000, 0, "2000-1990"},
      {"1000:2000:3000", 1, 0, "1-1001"},
      {"1000: 2000", 1, 0, "1-1001"},
      {"1:65535", -1, 0, "-1-65533"},
      {"1:99999999999999999999", 0, 0, "0-2147483646"},
      {"99999999999999999999:2", 0, 0, "0--2147483645"},
      {"1000-1010", 2000, -1, "held"},
      {"x:1", 1, -1, "held"},
      {":1", 1, -1, "held"},
      {"1000:", 2000, -1, "held"},
      {"1000:", 1000, 0, "held"},
      {"1000x:2000", 1, -1, "held"},
      {"1000x2000:3000", 1, -1, "held"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.external);
    char buffer[33] = "held";
    EXPECT_EQ(ipt_calc_portrange(c.external, c.internal, buffer, sizeof buffer), c.result);
    EXPECT_STREQ(buffer, c.text);
  }
  char small[8] = "#######";
  EXPECT_EQ(ipt_calc_portrange("1000:1010", 2000, small, 6), 0);
  EXPECT_EQ(std::string(small, 7), std::string("2000-\0#", 7));
  EXPECT_EQ(ipt_calc_portrange("80", 2000, small, 3), 0);
  EXPECT_EQ(std::string(small, 7), std::string("20\0"
                                               "0-\0#",
                                               7));
}

TEST(Values, TcpFlags) {
  for (const char *text :
       {"SYN,ACK,FIN,RST SYN", "syn,ack syn", "ALL NONE", "none ALL", "  SYN,,ACK   ,PSH ",
        "SYN,ACK,FIN,RST,URG,PSH SYN,ACK,FIN,RST,URG,PSH",
        "SYN,ACK,FIN,RST,URG,PSH     SYN,ACK,FIN,RST,URG X",  // the third list is cut off
        "URG PSH"}) {
    EXPECT_EQ(check_tcp_flags(text), 0) << text;
  }
  for (const char *text :
       {"", " ", "SYN", "SYN ", "SYN ACK FIN", "SYN,SYN ACK", "ACK SYN,SYN", "SYN,ALL ACK",
        "NONE,SYN ACK", "ALL,NONE ACK", "SYN XYZ", "XYZ SYN", "SYNC ACK", ", SYN", "SYN ,",
        "SYN\tACK", "SYN,ACK SYN X", "SYN,ACK,FIN,RST,URG,PSH    SYN,ACK,FIN,RST,URG X",
        "SYN,ACK,FIN,RST,URG,PSH   SYN,ACK,FIN,RST,URG,PSH"}) {
    EXPECT_EQ(check_tcp_flags(text), -1) << text;
  }
  EXPECT_EQ(check_tcp_flags(nullptr), -1);

  std::string table;
  for (const ipt_tcp_flag &flag : flags)
    table += flag.name + (" " + std::to_string(flag.value)) + ", ";
  EXPECT_EQ(table, "SYN 1, ACK 2, FIN 4, RST 8, URG 16, PSH 32, NONE 63, ALL 63, ");
}

TEST(Values, ProtocolNames) {
  const struct {
    const char *name;
    int number;
  } cases[] = {
      {"tcp", 6},       {"UDP", 17},       {"3pc", 34},       {"-252", 143},  {"ipv4", 4},
      {"IPinIP", 4},    {"ospf", 89},      {"OSPFIGP", 89},   {"iptm", 84},   {"TTP", 84},
      {"NONE", 0},      {"none", 0},       {"hopopt", 0},     {"argus", 13},  {"a/n", 107},
      {"IPLT", 129},    {"kryptolan", 65}, {"reserved", 255}, {"MANET", 138}, {"tp++", 39},
      {"xtp", 36},      {"wesp", 141},     {"ipv6-icmp", 58}, {"shim6", 140}, {"fc", 133},
      {"qnx", 106},     {"", -1},          {"jxta", -1},      {"yyy", -1},    {"zzz", -1},
      {"tcpx", -1},     {"tc", -1},        {" tcp", -1},      {"253", -1},    {"\xE9gp", -1},
      {"nonesuch", -1},
  };
  for (const auto &c : cases)
    EXPECT_EQ(wkp_prot_from_name(c.name), c.number) << c.name;
  EXPECT_EQ(wkp_prot_from_name(nullptr), -1);
}

TEST(Values, CaptivePortalRecords) {
  const char records[] =
      "C0A8010018"
      "0a00000108"
      "ffFFffFF32"
      "12 00000-1"
      "0x1Fzzzz+7"
      "1F";
  const char *texts[] = {"192.168.1.0/18", "10.0.0.1/8", "255.255.255.255/32", "0.0.0.18/-1",
                         "0.0.0.31/7",     "0.0.0.31/0", "0.0.0.0/0",          "0.0.0.0/0"};
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
