// Traceroute's command line, with its reckoning of room, and its results from work files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <vector>

#include "support/system_double.h"
#include "talvera/ipdiag.h"

namespace talvera::test {
namespace {

struct Options {
  const char *host = "10.0.0.1";
  const char *ifname = nullptr;
  int queries = 0, max_hops = 0, wait = 0, tos = 0;
  std::uint16_t port = 0;
  int icmp = 0, packet_len = 0;
  std::uint16_t ipv6 = 0;
};

// The command line in a buffer said to have `size` bytes; "#" if nothing is written.
std::string command_line(const Options &o, std::uint32_t size) {
  char buffer[512];
  std::memset(buffer, '#', sizeof buffer);
  EXPECT_EQ(ipdiag_tr_makeparam(o.host, o.ifname, o.queries, o.max_hops, o.wait, o.tos, o.port,
                                o.icmp, o.packet_len, buffer, o.ipv6, size),
            0);
  const std::string all(buffer, sizeof buffer);
  const std::size_t end = all.find('\0');
  const std::size_t written = end == std::string::npos ? 0 : end + 1;
  EXPECT_EQ(all.find_first_not_of('#', written), std::string::npos);
  return written == 0 ? "#" : buffer;
}

TEST(TracerouteCommand, Pieces) {
  const Options all = {"gw.example", "ppp0", 3, 30, 5, 16, 33434, 1, 1400, 1};
  EXPECT_EQ(command_line(all, 512),
            "traceroute -6 -I -i ppp0 -q 3 -m 30 -w 5 -t 16 -p 33434 gw.example 1400");
  EXPECT_EQ(command_line({.queries = 3, .max_hops = 30, .wait = 5, .icmp = 1}, 512),
            "traceroute -I -q 3 -m 30 -w 5 10.0.0.1");
  EXPECT_EQ(command_line({}, 512), "traceroute 10.0.0.1");
  EXPECT_EQ(command_line({.ifname = "",
                          .queries = -1,
                          .max_hops = -1,
                          .wait = -1,
                          .tos = -1,
                          .icmp = -1,
                          .packet_len = -1,
                          .ipv6 = 0x100},
                         512),
            "traceroute -6 -I 10.0.0.1");
  EXPECT_EQ(command_line({.port = 65535}, 512), "traceroute -p 65535 10.0.0.1");

  char buffer[4] = "###";
  EXPECT_EQ(ipdiag_tr_makeparam(nullptr, "x", 1, 1, 1, 1, 1, 1, 1, buffer, 1, 512), -1);
  EXPECT_STREQ(buffer, "###");
}

TEST(TracerouteCommand, RoomShrinksByAllThatWasWritten) {
  const Options all = {"192.168.1.1", nullptr, 3, 30, 0, 0, 0, 1, 0, 1};
  struct Case {
    Options options;
    std::uint32_t size;
    const char *line;
  };
  const char *const nothing = "#";
  for (const auto &[options, size, line] : {
           Case{all, 0, nothing},
           Case{all, 10, nothing},
           Case{{.host = "h", .packet_len = 1}, 10, nothing},
           Case{{.host = "h"}, 11, "traceroute"},                  // room 1: not for the host
           Case{{.host = "h"}, 12, "traceroute"},                  // room 2
           Case{{.host = "h"}, 13, "traceroute h"},                // room 3
           Case{{.host = "", .ipv6 = 1}, 13, "traceroute "},       // room 3: not for the switch
           Case{{.host = "h", .ipv6 = 1}, 14, "traceroute -6 h"},  // 4, then below 0
           Case{{.host = "0123456789", .icmp = 1}, 26, "traceroute -I"},  // 16, then 3
           Case{{.host = "0123456789", .icmp = 1}, 13 + 22, "traceroute -I 0123456789"},
           // After one switch the room is 9 and after the other -7, which is much.
           Case{all, 32, "traceroute -6 -I -q 3 -m 30 192.168.1.1"},
           // Below 0 it is nothing to the next switch, but much to all the rest.
           Case{{.host = "h", .icmp = 1, .ipv6 = 1}, 22, "traceroute -6 h"},
           Case{{.host = "h", .icmp = 1, .ipv6 = 1}, 26, "traceroute -6 h"},     // 16, then 3
           Case{{.host = "h", .icmp = 1, .ipv6 = 1}, 27, "traceroute -6 -I h"},  // 17, 4
           Case{{.host = "h", .ifname = "eth0"}, 18, "traceroute h"},            // room 8
           Case{{.host = "h", .ifname = "eth0"}, 19, "traceroute -i eth0 h"},    // 9
           Case{{.host = "h", .queries = 1}, 18, "traceroute h"},
           Case{{.host = "h", .queries = 1}, 19, "traceroute -q 1 h"},
           Case{{.host = "h", .max_hops = 1}, 18, "traceroute h"},
           Case{{.host = "h", .max_hops = 1}, 19, "traceroute -m 1 h"},
           Case{{.host = "h", .wait = 1}, 18, "traceroute h"},
           Case{{.host = "h", .wait = 1}, 19, "traceroute -w 1 h"},
           Case{{.host = "h", .tos = 1}, 18, "traceroute h"},
           Case{{.host = "h", .tos = 1}, 19, "traceroute -t 1 h"},
           Case{{.host = "h", .port = 1}, 16, "traceroute h"},
           Case{{.host = "h", .port = 1}, 17, "traceroute -p 1 h"},
           Case{{.host = "h", .packet_len = 1}, 27, "traceroute h"},    // 17, then 5
           Case{{.host = "h", .packet_len = 1}, 28, "traceroute h 1"},  // 6
           // From 2^31 on the switches take the room for negative.
           Case{{.host = "h", .queries = 1, .icmp = 1, .ipv6 = 1}, 0x8000000A, "traceroute -q 1 h"},
           Case{{.host = "h", .icmp = 1}, 0x80000009, "traceroute -I h"},
       }) {
    EXPECT_EQ(command_line(options, size), line) << size;
  }
}

class TracerouteResults : public ::testing::Test {
 protected:
  TracerouteResults() : name("tr-test-" + std::to_string(getpid())) {
    for (const char *kind : {"out", "err", "status"})
      system.redirect("/tmp/" + name + "-" + kind, files / kind);
  }
  // Reads hops from a file of these lines.
  int read_hops(const std::string &content, int max_rows = 4) {
    files.write("out", content);
    std::memset(hops, 0, sizeof hops);
    count = -9;
    const int result = ipdiag_tr_formatout(name.c_str(), hops, max_rows, &count);
    EXPECT_EQ(hops[max_rows < 0 ? 0 : max_rows].host[0], '\0');
    return result;
  }

  const std::string name;
  TempDir files;
  SystemDouble system;
  tr_hop hops[6];
  std::int32_t count = 0;
};

constexpr char kHeader[] = "traceroute to x.example (10.0.0.9), 30 hops max, 38 byte packets\n";

TEST_F(TracerouteResults, HopLines) {
  struct Case {
    const char *line;
    const char *host, *address, *times;
    int status;
  };
  constexpr int kNone = 77;
  for (const auto &[line, host, address, times, status] : {
           Case{" 1  gw (192.168.1.1)  0.512 ms  0.400 ms  0.380 ms\n", "gw", "192.168.1.1",
                "0.512,0.400,0.380", kNone},
           Case{" 1  gw (192.168.1.1)  0.512 ms  0.400 ms  0.380 ms", "gw", "192.168.1.1",
                "0.512,0.400,0.380", kNone},
           Case{" 2  * * *\n", "", "", "", kNone},
           Case{" 3  gw (10.0.0.9)  1.5 ms !H\n", "gw", "10.0.0.9", "1.5", 1},
           Case{" 3  gw (10.0.0.9)  1.5 ms !N\n", "gw", "10.0.0.9", "1.5", 0},
           Case{" 3  gw (10.0.0.9)  1.5 ms !P *\n", "gw", "10.0.0.9", "1.5", 2},
           Case{" 3  gw (10.0.0.9)  1.5 ms !F-1400\n", "gw", "10.0.0.9", "1.5", 4},
           Case{" 3  gw (10.0.0.9)  !S  1.5 ms !X\n", "gw", "10.0.0.9", "1.5", 5},
           Case{" 3  gw (10.0.0.9)  1.5 ms !H 2 ms !N\n", "gw", "10.0.0.9", "1.5,2", 0},
           // Neither a time nor a marker, though near to one.
           Case{" 3  gw (10.0.0.9)  1.5 ms 0.5ms 1.5!H\n", "gw", "10.0.0.9", "1.5", kNone},
           // Another address answers a later probe.
           Case{" 4  a (10.1.1.1)  1 ms 10.1.1.2 (10.1.1.2)  2 ms b (fe80::1) 3 ms\n", "a",
                "10.1.1.1", "1,2,b,3", kNone},
           // A lost probe takes its place among the words.
           Case{" 5  * gw (10.0.0.9)  2.5 ms\n", "", "gw", "2.5", kNone},
           Case{" 5  gw (10.0.0.9) * 2.5 ms *x 3 ms\n", "gw", "10.0.0.9", "2.5,3", kNone},
           // The last word keeps the line's end.
           Case{"6 gw\n", "gw\n", "", "", kNone},
           Case{"6 gw 10.0.0.9\n", "gw", "10.0.0.9\n", "", kNone},
           Case{"6 gw 10.0.0.9 1.25\n", "gw", "10.0.0.9", "1.25\n", kNone},
           Case{"\n", "", "", "", kNone},
           Case{"7\tgw\t(10.0.0.9)\t1 ms\n", "10.0.0.9", "\t1", "", kNone},
       }) {
    files.write("out", std::string(kHeader) + line);
    std::memset(hops, 0, sizeof hops);
    hops[0].status = kNone;
    EXPECT_EQ(ipdiag_tr_formatout(name.c_str(), hops, 4, &count), 0);
    EXPECT_EQ(count, 1) << line;
    EXPECT_STREQ(hops[0].host, host) << line;
    EXPECT_STREQ(hops[0].address, address) << line;
    EXPECT_STREQ(hops[0].times, times) << line;
    EXPECT_EQ(hops[0].status, status) << line;
  }
}

TEST_F(TracerouteResults, RowsKeepWhatALineDoesNotSupply) {
  files.write("out", std::string(kHeader) + " 1  * * *\n() \n 2 a (1.2.3.4) 5 ms\n()");
  std::memset(hops, 0, sizeof hops);
  for (tr_hop &hop : hops) {
    std::strcpy(hop.host, "host");
    std::strcpy(hop.address, "address");
    std::strcpy(hop.times, "9");
    hop.status = 3;
  }
  std::strcpy(hops[3].times, "8,");  // not even its comma goes
  EXPECT_EQ(ipdiag_tr_formatout(name.c_str(), hops, 5, &count), 0);
  EXPECT_EQ(count, 4);
  EXPECT_STREQ(hops[3].times, "8,");
  for (const int row : {0, 4}) {
    EXPECT_STREQ(hops[row].host, "host");
    EXPECT_STREQ(hops[row].address, "address");
    EXPECT_STREQ(hops[row].times, "9");
    EXPECT_EQ(hops[row].status, 3);
  }
  EXPECT_STREQ(hops[2].times, "95");
}

TEST_F(TracerouteResults, FieldsAreCut) {
  const std::string host(300, 'h');
  const std::string address = "2001:0db8:0000:0000:0000:0000:0000:0001";
  // 15 times of 4 characters with their commas take 60; one of 3 does not fit behind, one of 2
  // does.
  std::string times;
  for (int i = 0; i < 12; ++i)
    times += " 1.25 ms";
  const std::string line =
      "1 " + host.substr(0, 256) + " (" + address + ")" + times + " 777 66 5\n";
  EXPECT_EQ(read_hops(std::string(kHeader) + line), 0);
  EXPECT_EQ(hops[0].host, host.substr(0, 256));
  EXPECT_EQ(hops[0].address, address.substr(0, 22));
  EXPECT_EQ(std::strlen(hops[0].times), 62U);
  EXPECT_STREQ(hops[0].times + 55, "1.25,66");
  EXPECT_EQ(hops[1].host[0], '\0');

  EXPECT_EQ(read_hops(std::string(kHeader) + "1 " + host + " 2 3\n"), 0);
  EXPECT_EQ(hops[0].host, host.substr(0, 256));
  EXPECT_EQ(hops[0].status, 0);
}

TEST_F(TracerouteResults, LongLinesGoOnAsAnotherLine) {
  const std::string padding(511 - 5, ' ');
  EXPECT_EQ(read_hops(std::string(kHeader) + "1 a b" + padding + "2 c d 4\n3 e f 5\n"), 0);
  EXPECT_EQ(count, 3);
  EXPECT_STREQ(hops[0].host, "a");
  EXPECT_STREQ(hops[1].host, "c");
  EXPECT_STREQ(hops[2].host, "e");
}

TEST_F(TracerouteResults, FullTable) {
  const std::string one = "1 a (10.0.0.1) 1 ms\n";
  const std::string two = "2 b (10.0.0.9) 2 ms\n";
  EXPECT_EQ(read_hops(kHeader + one + two, 2), 0);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(read_hops(kHeader + one + two, 1), 1);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(read_hops(kHeader + two + one, 1), 0);
  EXPECT_EQ(read_hops(kHeader + one, 1), 1);  // full, though at the end of the file
  EXPECT_EQ(read_hops(kHeader + one, 2), 0);
  EXPECT_EQ(count, 1);
  for (const int none : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(read_hops(kHeader + one, none), -1);
    EXPECT_EQ(count, 0);
  }
}

TEST_F(TracerouteResults, DestinationFromTheHeader) {
  struct Case {
    const char *header;
    const char *destination;
  };
  for (const auto &[header, destination] : {
           Case{"to (10.0.0.9) and (10.0.0.8)\n", "10.0.0.9"},
           Case{"(10.0.0.9)\n", "10.0.0.9"},
           Case{"to (10.0.0.9\n", "10.0.0.9"},
           Case{"to (10.0.0.9 (x)\n", "10.0.0.9 (x"},
           Case{"to (1234567890123456789)\n", "1234567890123456789"},
           Case{"to (12345678901234567890)\n", "1234567890123456789"},
           Case{"to 10.0.0.9\n", ""},
           Case{"to ()\n", ""},
           Case{"\n", ""},
       }) {
    for (const std::string address : {destination, "other"}) {
      files.write("out", header + std::string("1 *\n"));
      std::memset(hops, 0, sizeof hops);
      std::strcpy(hops[0].address, address.c_str());
      EXPECT_EQ(ipdiag_tr_formatout(name.c_str(), hops, 1, &count), address == destination ? 0 : 1)
          << header << address;
    }
  }
}

TEST_F(TracerouteResults, FilesOfNoLinesAndOfAnything) {
  EXPECT_EQ(read_hops(""), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(read_hops(kHeader), 0);
  EXPECT_EQ(count, 0);
  std::string anything;
  for (unsigned i = 0, x = 1; i < 20000; ++i, x = x * 1103515245 + 12345)
    anything += " ()*!\n1Hms,.:\0\xFF"[x >> 16 & 15];
  EXPECT_GE(read_hops(anything, 5), 0);
  EXPECT_EQ(count, 5);
}

TEST_F(TracerouteResults, ResponseTime) {
  struct Case {
    const char *content;
    std::int32_t time;
  };
  for (const auto &[content, time] :
       {Case{"38\n", 38}, Case{"-5", -5}, Case{" 7x\n8\n", 7}, Case{"\n9\n", 0}, Case{"x", 0},
        Case{"", 12345}, Case{"0000000000000018\n", 1}, Case{"2147483648\n", INT32_MAX},
        Case{"999999999999999\n", INT32_MAX}, Case{"-99999999999999\n", INT32_MIN},
        Case{"-2147483648", INT32_MIN}}) {
    files.write("status", content);
    std::int32_t result = 12345;
    EXPECT_EQ(ipdiag_tr_resptime(name.c_str(), &result), 0);
    EXPECT_EQ(result, time) << content;
  }
}

TEST_F(TracerouteResults, KindOfError) {
  const std::string padding(52, '.');
  struct Case {
    std::string content;
    std::int32_t code;
  };
  for (const auto &[content, code] :
       {Case{"traceroute: bad address 'x.example'\n", 0}, Case{"bad address", 0},
        Case{"sendto: Network is unreachable\n", 1}, Case{"\n", 1}, Case{"one\nbad address\n", 1},
        Case{"Bad address\n", 1}, Case{"", 12345}, Case{padding + "bad address\n", 0},
        Case{padding + ".bad address\n", 1}}) {
    files.write("err", content);
    std::int32_t result = 12345;
    EXPECT_EQ(ipdiag_tr_err(name.c_str(), &result), 0);
    EXPECT_EQ(result, code) << content;
  }
}

TEST_F(TracerouteResults, FilesThatCannotBeOpened) {
  const int before = open_descriptors();
  files.write("long", "5\n");
  for (const std::string &missing : {name, std::string(52, 'x'), std::string(300, 'x')}) {
    // What would be opened if the path were cut to 63 characters.
    const std::string cut = "/tmp/" + missing + "-status";
    if (cut.size() > 63) system.redirect(cut.substr(0, 63), files / "long");
    std::int32_t value = 12345;
    EXPECT_EQ(ipdiag_tr_formatout((missing + "xxx").c_str(), hops, 4, &value), -1);
    EXPECT_EQ(ipdiag_tr_resptime(missing.c_str(), &value), -1);
    EXPECT_EQ(ipdiag_tr_err((missing + "xxx").c_str(), &value), -1);
    EXPECT_EQ(value, 12345);
  }
  const std::string longest(51, 'x');
  system.redirect("/tmp/" + longest + "-status", files / "long");
  std::int32_t value = 0;
  EXPECT_EQ(ipdiag_tr_resptime(longest.c_str(), &value), 0);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace talvera::test
